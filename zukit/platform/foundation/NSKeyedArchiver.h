#pragma once

#include <optional>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// Error code of archives that cannot be written, in NSCocoaErrorDomain.
inline constexpr NSInteger NSPropertyListWriteStreamError = 3851;

// Writes object graphs in the platform's keyed-archive format: a binary property list with
// "$archiver" "NSKeyedArchiver", "$version" 100000, "$objects" (the first "$null") and "$top"
// {"root": UID}. Text, numbers and data are stored inline; dates, arrays, dictionaries and NSNull
// as objects with a "$class" entry naming NSDate ("NS.time"), NSArray ("NS.objects"),
// NSDictionary ("NS.keys", "NS.objects") or NSNull. Equal texts and each class are stored once.
// The same graph always gives the same bytes. Stateless and safe from any thread.
class ZU_EXPORT NSKeyedArchiver {
 public:
  ZU_RUNTIME_CLASS_NAME(NSKeyedArchiver, Object)
  // The archive of the graph rooted at `rootObject` (an absent root archives as nil). None, with
  // an error, for a graph that holds an object, an absent element, text that is not UTF-8, or
  // nesting deeper than 512 levels.
  static std::optional<Data> archivedDataWithRootObject(const Value& rootObject,
                                                        NSErrorOut error = nullptr);
  // Archives the graph into the file at `path`, written whole and atomically (a temporary file
  // replaces the target, mode 0644; directories are not created). False when the graph cannot
  // be archived or the file cannot be written; the file is then left as it was.
  static bool archiveRootObject(const Value& rootObject, const std::string& path);
};

}  // namespace zu
