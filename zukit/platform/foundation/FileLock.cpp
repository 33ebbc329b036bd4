#include "zukit/platform/foundation/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

namespace zu {

FileLock::FileLock(const std::string& lockPath)
    : _fd(::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
  if (_fd < 0) return;
  while (::flock(_fd, LOCK_EX) != 0) {
    if (errno == EINTR) continue;
    ::close(_fd);
    _fd = -1;
    return;
  }
}

FileLock::~FileLock() {
  if (_fd >= 0) ::close(_fd);
}

FileLock::FileLock(FileLock&& other) noexcept : _fd(other._fd) {
  other._fd = -1;
}

}  // namespace zu
