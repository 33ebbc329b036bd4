#include "zukit/platform/foundation/AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

namespace zu {

namespace {

int writeAll(int fd, std::span<const std::uint8_t> bytes) {
  std::size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t result = ::write(fd, bytes.data() + written, bytes.size() - written);
    if (result < 0 && errno == EINTR) continue;
    if (result < 0) return errno;
    if (result == 0) return EIO;
    written += static_cast<std::size_t>(result);
  }
  return 0;
}

}  // namespace

int writeFileAtomically(const std::string& path, std::span<const std::uint8_t> bytes, mode_t mode) {
  if (path.empty() || path.back() == '/') return EISDIR;
  const std::size_t slash = path.rfind('/');
  const std::string directory =
      slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
  const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  // A hidden sibling, so that directory listings rarely show it while it exists.
  std::string pattern = directory + "." + name + ".XXXXXX";
  std::vector<char> temporary(pattern.begin(), pattern.end());
  temporary.push_back('\0');
  const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
  if (fd < 0) return errno;
  int result = ::fchmod(fd, mode) == 0 ? 0 : errno;
  if (result == 0) result = writeAll(fd, bytes);
  if (::close(fd) != 0 && result == 0) result = errno;
  if (result == 0 && ::rename(temporary.data(), path.c_str()) != 0) result = errno;
  if (result != 0) ::unlink(temporary.data());
  return result;
}

}  // namespace zu
