#include "zukit/platform/foundation/PreferenceDomain.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <unordered_map>

#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/foundation/NSPropertyListSerialization.h"
#include "zukit/platform/foundation/NoDestructor.h"

namespace zu {

namespace {

struct Registry {
  Mutex mutex;
  std::unordered_map<std::string, std::shared_ptr<PreferenceDomain>> domains ZU_GUARDED_BY(mutex);
};

// Holds an exclusive flock on "<file>.lock" for a scope, so that processes merge in turn.
class FileLock {
 public:
  explicit FileLock(const std::string& path)
      : _fd(::open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
    if (_fd >= 0) {
      while (::flock(_fd, LOCK_EX) != 0 && errno == EINTR) {
      }
    }
  }
  ~FileLock() {
    if (_fd >= 0) ::close(_fd);
  }
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

 private:
  int _fd;
};

bool writeAtomically(const std::string& path, const Data& bytes) {
  static std::atomic<unsigned> counter{0};
  const std::string temporary =
      path + ".tmp." + std::to_string(getpid()) + "." + std::to_string(counter.fetch_add(1));
  const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (fd < 0) return false;
  std::size_t written = 0;
  bool ok = true;
  while (written < bytes.size()) {
    const ssize_t result = ::write(fd, bytes.data() + written, bytes.size() - written);
    if (result < 0 && errno == EINTR) continue;
    if (result <= 0) {
      ok = false;
      break;
    }
    written += static_cast<std::size_t>(result);
  }
  ok = ::close(fd) == 0 && ok;
  if (ok) ok = ::rename(temporary.c_str(), path.c_str()) == 0;
  if (!ok) ::unlink(temporary.c_str());
  return ok;
}

}  // namespace

std::shared_ptr<PreferenceDomain> PreferenceDomain::domainAtPath(const std::string& path) {
  static NoDestructor<Registry> registry;
  MutexLock lock(registry->mutex);
  auto& domain = registry->domains[path];
  if (!domain) domain = std::make_shared<PreferenceDomain>(path);
  return domain;
}

PreferenceDomain::PreferenceDomain(std::string path) : _path(std::move(path)) {}

std::optional<PreferenceDomain::FileSignature> PreferenceDomain::signatureLocked() const {
  struct stat status {};
  if (::stat(_path.c_str(), &status) != 0) return std::nullopt;
  return FileSignature{
      status.st_dev, status.st_ino, status.st_size,
      static_cast<long long>(status.st_mtim.tv_sec) * 1000000000LL + status.st_mtim.tv_nsec};
}

// The file's dictionary; a missing, unreadable or corrupt file reads as empty.
Dictionary PreferenceDomain::readFileLocked() const {
  const auto bytes = NSFileManager::defaultManager()->contentsAtPath(_path);
  if (!bytes || bytes->empty()) return {};
  const Value plist = NSPropertyListSerialization::propertyListWithData(*bytes, 0);
  const Dictionary* dictionary = plist.asDictionary();
  return dictionary != nullptr ? *dictionary : Dictionary();
}

void PreferenceDomain::loadIfNeededLocked() {
  if (_loaded) return;
  _signature = signatureLocked();
  _values = readFileLocked();
  _loaded = true;
}

Value PreferenceDomain::objectForKey(const std::string& key) {
  MutexLock lock(_mutex);
  loadIfNeededLocked();
  return _values.objectForKey(key);
}

void PreferenceDomain::setObject(Value value, const std::string& key) {
  MutexLock lock(_mutex);
  loadIfNeededLocked();
  _values.setObject(value, key);
  _pending.push_back(Change{key, std::move(value)});
}

Dictionary PreferenceDomain::dictionaryRepresentation() {
  MutexLock lock(_mutex);
  loadIfNeededLocked();
  return _values;
}

bool PreferenceDomain::synchronize() {
  MutexLock lock(_mutex);
  loadIfNeededLocked();
  if (_pending.empty()) {
    const auto signature = signatureLocked();
    if (signature != _signature) {
      _values = readFileLocked();
      _signature = signature;
    }
    return true;
  }
  std::error_code ignored;
  std::filesystem::create_directories(std::filesystem::path(_path).parent_path(), ignored);
  const FileLock fileLock(_path);
  const auto signature = signatureLocked();
  Dictionary merged = signature == _signature ? _values : readFileLocked();
  if (signature != _signature) {
    for (Change& change : _pending)
      merged.setObject(change.value, change.key);
  }
  const auto bytes = NSPropertyListSerialization::dataWithPropertyList(
      Value(merged), NSPropertyListXMLFormat_v1_0, 0);
  if (!bytes || !writeAtomically(_path, *bytes)) return false;
  _values = std::move(merged);
  _pending.clear();
  _signature = signatureLocked();
  return true;
}

}  // namespace zu
