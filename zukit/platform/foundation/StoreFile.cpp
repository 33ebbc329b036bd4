#include "zukit/platform/foundation/StoreFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "zukit/platform/foundation/NSLog.h"

namespace zu {

namespace {

// The innermost collector of this thread.
thread_local StoreFile::Reports* innermostReports = nullptr;

// Names tried for a file kept aside before giving up.
constexpr int kMostAsideNames = 10000;

StoreFile::Signature signatureOf(const struct stat& status) {
  return StoreFile::Signature{
      status.st_dev, status.st_ino, status.st_size,
      static_cast<long long>(status.st_mtim.tv_sec) * 1000000000LL + status.st_mtim.tv_nsec};
}

}  // namespace

StoreFile::Reports::Reports() : _outer(innermostReports) {
  innermostReports = this;
}

StoreFile::Reports::~Reports() {
  innermostReports = _outer;
}

StoreFile StoreFile::read(const std::string& path) {
  StoreFile file;
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    file.error = errno;
    file.state = errno == ENOENT || errno == ENOTDIR ? State::Missing : State::Unreadable;
    return file;
  }
  struct stat status {};
  if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
    file.error = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    file.state = State::Unreadable;
    ::close(fd);
    return file;
  }
  std::uint8_t buffer[65536];
  for (;;) {
    const ssize_t got = ::read(fd, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      file.error = errno;
      file.state = State::Unreadable;
      file.bytes.clear();
      ::close(fd);
      return file;
    }
    if (got == 0) break;
    file.bytes.insert(file.bytes.end(), buffer, buffer + got);
  }
  ::close(fd);
  file.state = State::Read;
  file.signature = signatureOf(status);
  return file;
}

std::optional<StoreFile::Signature> StoreFile::signatureAt(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  return signatureOf(status);
}

std::optional<std::string> StoreFile::keepAside(const std::string& path) {
  for (int i = 1; i <= kMostAsideNames; ++i) {
    const std::string aside = path + ".corrupt" + (i == 1 ? "" : "-" + std::to_string(i));
    struct stat status {};
    if (::lstat(aside.c_str(), &status) == 0) continue;
    if (errno != ENOENT) return std::nullopt;
    if (std::rename(path.c_str(), aside.c_str()) != 0) return std::nullopt;
    return aside;
  }
  errno = EEXIST;
  return std::nullopt;
}

void StoreFile::report(const std::string& message) {
  NSLog("%@", message);
  if (innermostReports != nullptr) innermostReports->_messages.push_back(message);
}

}  // namespace zu
