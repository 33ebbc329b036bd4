#include "zukit/platform/foundation/SystemInfo.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <climits>

namespace zu {

UtsName uname() {
  struct utsname record {};
  if (::uname(&record) != 0) return {};
  return UtsName{record.sysname, record.nodename, record.release, record.version, record.machine};
}

std::string executablePath() {
  char path[PATH_MAX];
  const ssize_t length = ::readlink("/proc/self/exe", path, sizeof path - 1);
  if (length <= 0) return {};
  return std::string(path, static_cast<std::size_t>(length));
}

}  // namespace zu
