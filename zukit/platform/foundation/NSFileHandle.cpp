#include "zukit/platform/foundation/NSFileHandle.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace zu {

std::shared_ptr<NSFileHandle> NSFileHandle::fileHandleForWritingAtPath(const std::string& path) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
  return fd < 0 ? nullptr : std::make_shared<NSFileHandle>(fd);
}

std::shared_ptr<NSFileHandle> NSFileHandle::fileHandleForReadingAtPath(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  return fd < 0 ? nullptr : std::make_shared<NSFileHandle>(fd);
}

NSFileHandle::NSFileHandle(int fileDescriptor) : _fd(fileDescriptor) {}

NSFileHandle::~NSFileHandle() {
  closeFile();
}

bool NSFileHandle::writeData(std::string_view bytes) {
  if (_fd < 0) return false;
  std::size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t result = ::write(_fd, bytes.data() + written, bytes.size() - written);
    if (result < 0 && errno == EINTR) continue;
    if (result <= 0) return false;
    written += static_cast<std::size_t>(result);
  }
  return true;
}

std::optional<Data> NSFileHandle::readDataToEndOfFile() {
  if (_fd < 0) return std::nullopt;
  Data bytes;
  std::uint8_t buffer[65536];
  for (;;) {
    const ssize_t got = ::read(_fd, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return std::nullopt;
    if (got == 0) return bytes;
    bytes.insert(bytes.end(), buffer, buffer + got);
  }
}

unsigned long long NSFileHandle::seekToEndOfFile() {
  if (_fd < 0) return 0;
  const off_t offset = ::lseek(_fd, 0, SEEK_END);
  return offset < 0 ? 0 : static_cast<unsigned long long>(offset);
}

void NSFileHandle::closeFile() {
  if (_fd >= 0) ::close(_fd);
  _fd = -1;
}

}  // namespace zu
