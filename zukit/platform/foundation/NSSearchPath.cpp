#include "zukit/platform/foundation/NSSearchPath.h"

#include "zukit/platform/foundation/Environment.h"

namespace zu {

std::vector<std::string> NSSearchPathForDirectoriesInDomains(NSSearchPathDirectory directory,
                                                             unsigned long domainMask,
                                                             bool expandTilde) {
  if ((domainMask & NSUserDomainMask) == 0) return {};
  std::string path;
  switch (directory) {
    case NSDocumentDirectory:
      path = homeDirectory() + "/Documents";
      break;
    case NSLibraryDirectory:
    case NSApplicationSupportDirectory:
      path = xdgDataHome();
      break;
    case NSCachesDirectory:
      path = xdgCacheHome();
      break;
    default:
      return {};
  }
  const std::string home = homeDirectory();
  if (!expandTilde && home != "/" && path.compare(0, home.size(), home) == 0 &&
      (path.size() == home.size() || path[home.size()] == '/')) {
    path = "~" + path.substr(home.size());
  }
  return {path};
}

std::string NSHomeDirectory() {
  return homeDirectory();
}

std::string NSTemporaryDirectory() {
  return temporaryDirectory();
}

}  // namespace zu
