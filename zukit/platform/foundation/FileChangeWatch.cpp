#include "zukit/platform/foundation/FileChangeWatch.h"

#include <pthread.h>
#include <sys/epoll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NoDestructor.h"

namespace zu {

namespace {

// What happens to a name in a watched file's own directory that may change the file.
constexpr std::uint32_t kNameEvents =
    IN_CREATE | IN_MODIFY | IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_ATTRIB;
// What happens to a directory itself that may put another file at the watched path. The
// kernel adds IN_IGNORED, IN_UNMOUNT and IN_Q_OVERFLOW on its own.
constexpr std::uint32_t kSelfEvents = IN_MOVE_SELF | IN_DELETE_SELF;

// Room for many events at once: the kernel hands out only whole events.
constexpr std::size_t kEventBufferSize = 8192;

struct Watched {
  std::string directory;
  std::string name;
  // True while the directory and every directory above it are watched.
  bool watching = false;
  bool changed = true;
};

// The process's one inotify instance and what its events mean for the watched paths.
class EventReader {
 public:
  EventReader() { pthread_atfork(&beforeFork, &afterForkInParent, &afterForkInChild); }

  static EventReader& shared() {
    static NoDestructor<EventReader> reader;
    return *reader;
  }

  std::uint64_t add(const std::string& path) {
    Watched watched;
    const std::size_t slash = path.rfind('/');
    watched.directory = slash == std::string::npos ? "." : path.substr(0, slash == 0 ? 1 : slash);
    watched.name = slash == std::string::npos ? path : path.substr(slash + 1);
    MutexLock lock(_mutex);
    const std::uint64_t id = _nextId++;
    _watched.emplace(id, std::move(watched));
    return id;
  }

  void remove(std::uint64_t id) {
    MutexLock lock(_mutex);
    _watched.erase(id);
    for (auto& [descriptor, ids] : _byDirectory)
      std::erase(ids, id);
  }

  bool mayHaveChanged(std::uint64_t id) {
    MutexLock lock(_mutex);
    drainLocked();
    const auto found = _watched.find(id);
    if (found == _watched.end()) return true;
    Watched& watched = found->second;
    if (!watched.watching) {
      watchLocked(id, watched);
      watched.changed = false;
      return true;
    }
    const bool changed = watched.changed;
    watched.changed = false;
    return changed;
  }

 private:
  // Starts watching the directory of `watched` and every directory above it. A change made
  // after this returns is an event; one made before is seen by the caller's own look at the
  // file, which follows.
  void watchLocked(std::uint64_t id, Watched& watched) ZU_REQUIRES(_mutex) {
    if (_descriptor < 0 && !openLocked()) return;
    const int own = watchDirectoryLocked(watched.directory, kNameEvents | kSelfEvents);
    if (own < 0) return;
    for (std::string above = watched.directory; above.size() > 1;) {
      const std::size_t slash = above.rfind('/');
      if (slash == std::string::npos) break;
      above.resize(slash == 0 ? 1 : slash);
      if (watchDirectoryLocked(above, kSelfEvents) < 0) return;
    }
    std::vector<std::uint64_t>& ids = _byDirectory[own];
    if (std::find(ids.begin(), ids.end(), id) == ids.end()) ids.push_back(id);
    watched.watching = true;
  }

  // The watch descriptor of `directory`, with `mask` added to what it already reports; -1
  // when it cannot be watched.
  int watchDirectoryLocked(const std::string& directory, std::uint32_t mask) ZU_REQUIRES(_mutex) {
    auto& known = _directories[directory];
    if ((known.mask & mask) == mask && known.descriptor >= 0) return known.descriptor;
    const int descriptor =
        inotify_add_watch(_descriptor, directory.c_str(), mask | IN_MASK_ADD | IN_ONLYDIR);
    if (descriptor < 0) {
      _directories.erase(directory);
      return -1;
    }
    known.descriptor = descriptor;
    known.mask |= mask;
    return descriptor;
  }

  // Opens the inotify instance and the epoll instance that tells whether it holds events.
  bool openLocked() ZU_REQUIRES(_mutex) {
    _descriptor = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    _readiness = epoll_create1(EPOLL_CLOEXEC);
    epoll_event interest{};
    interest.events = EPOLLIN;
    if (_descriptor < 0 || _readiness < 0 ||
        epoll_ctl(_readiness, EPOLL_CTL_ADD, _descriptor, &interest) != 0) {
      resetLocked();
      return false;
    }
    return true;
  }

  // Takes in every event waiting.
  void drainLocked() ZU_REQUIRES(_mutex) {
    if (_descriptor < 0) return;
    // Asking epoll is about half the cost of an empty read of the inotify instance, and just as
    // current: the kernel marks the instance ready while it queues the event, inside the
    // writer's own system call.
    epoll_event ready{};
    if (epoll_wait(_readiness, &ready, 1, 0) == 0) return;
    std::array<char, kEventBufferSize>& buffer = _events;
    for (;;) {
      const ssize_t got = ::read(_descriptor, buffer.data(), buffer.size());
      if (got < 0 && errno == EINTR) continue;
      if (got < 0 && errno == EAGAIN) return;
      if (got <= 0) {
        resetLocked();
        return;
      }
      for (ssize_t offset = 0; offset < got;) {
        inotify_event event{};
        std::memcpy(&event, buffer.data() + offset, sizeof event);
        const char* name = buffer.data() + offset + sizeof event;
        offset += static_cast<ssize_t>(sizeof event + event.len);
        if ((event.mask & (kSelfEvents | IN_IGNORED | IN_UNMOUNT | IN_Q_OVERFLOW)) != 0) {
          // A directory on the way moved or went, or events were lost: start again.
          resetLocked();
          return;
        }
        if (event.len == 0) continue;
        const auto ids = _byDirectory.find(event.wd);
        if (ids == _byDirectory.end()) continue;
        const std::string_view changedName(name, ::strnlen(name, event.len));
        for (const std::uint64_t id : ids->second) {
          const auto found = _watched.find(id);
          if (found != _watched.end() && found->second.name == changedName)
            found->second.changed = true;
        }
      }
    }
  }

  // Forgets every watch: each watched path reads as changed and is watched again at its next
  // question.
  void resetLocked() ZU_REQUIRES(_mutex) {
    if (_descriptor >= 0) ::close(_descriptor);
    if (_readiness >= 0) ::close(_readiness);
    _descriptor = -1;
    _readiness = -1;
    _directories.clear();
    _byDirectory.clear();
    for (auto& [id, watched] : _watched) {
      watched.watching = false;
      watched.changed = true;
    }
  }

  // A fork keeps the mutex held across it, so that the child gets the state whole.
  static void beforeFork() ZU_NO_THREAD_SAFETY_ANALYSIS { shared()._mutex.lock(); }
  static void afterForkInParent() ZU_NO_THREAD_SAFETY_ANALYSIS { shared()._mutex.unlock(); }
  // A forked child shares the parent's instance: reading from it would take the parent's
  // events, so the child starts its own.
  static void afterForkInChild() ZU_NO_THREAD_SAFETY_ANALYSIS {
    EventReader& reader = shared();
    reader.resetLocked();
    reader._mutex.unlock();
  }

  struct Directory {
    int descriptor = -1;
    std::uint32_t mask = 0;
  };

  Mutex _mutex;
  // Where events are read to; kept, since clearing it for every question would cost more than
  // the read.
  alignas(inotify_event) std::array<char, kEventBufferSize> _events ZU_GUARDED_BY(_mutex){};
  // The inotify instance, and an epoll instance watching it; -1 while closed.
  int _descriptor ZU_GUARDED_BY(_mutex) = -1;
  int _readiness ZU_GUARDED_BY(_mutex) = -1;
  std::uint64_t _nextId ZU_GUARDED_BY(_mutex) = 1;
  std::unordered_map<std::uint64_t, Watched> _watched ZU_GUARDED_BY(_mutex);
  std::unordered_map<std::string, Directory> _directories ZU_GUARDED_BY(_mutex);
  // The watched paths of each directory watched for its names.
  std::unordered_map<int, std::vector<std::uint64_t>> _byDirectory ZU_GUARDED_BY(_mutex);
};

}  // namespace

FileChangeWatch::FileChangeWatch(const std::string& path) : _id(EventReader::shared().add(path)) {}

FileChangeWatch::~FileChangeWatch() {
  EventReader::shared().remove(_id);
}

bool FileChangeWatch::mayHaveChanged() {
  return EventReader::shared().mayHaveChanged(_id);
}

}  // namespace zu
