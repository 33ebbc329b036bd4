#pragma once

#include <string>
#include <vector>

#include "zukit/platform/foundation/Export.h"

namespace zu {

// Directories that NSSearchPathForDirectoriesInDomains() knows.
enum NSSearchPathDirectory : unsigned long {
  NSLibraryDirectory = 5,
  NSDocumentDirectory = 9,
  NSCachesDirectory = 13,
  NSApplicationSupportDirectory = 14,
};

// Domains that NSSearchPathForDirectoriesInDomains() knows; only the user's is served.
enum NSSearchPathDomainMask : unsigned long {
  NSUserDomainMask = 1,
};

// The user's directories of a kind. On Linux: Documents is ~/Documents, Library and Application
// Support are $XDG_DATA_HOME, Caches is $XDG_CACHE_HOME. With `expandTilde` false a path under
// the home directory starts with "~". Empty for other domains or kinds.
ZU_EXPORT std::vector<std::string> NSSearchPathForDirectoriesInDomains(
    NSSearchPathDirectory directory, unsigned long domainMask, bool expandTilde);

// The user's home directory.
ZU_EXPORT std::string NSHomeDirectory();

// The directory for temporary files, ending with "/".
ZU_EXPORT std::string NSTemporaryDirectory();

}  // namespace zu
