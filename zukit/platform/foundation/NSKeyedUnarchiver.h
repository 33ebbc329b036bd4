#pragma once

#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// Error code of archives that cannot be read, in NSCocoaErrorDomain.
inline constexpr NSInteger NSCoderReadCorruptError = 4864;

// Reads keyed archives, binary or XML: what NSKeyedArchiver writes, plus the platform's mutable
// classes (NSMutableArray, NSMutableDictionary, NSMutableString "NS.string", NSMutableData
// "NS.data"). Anything else gives no value: bytes that are not a property list, a property list
// that is not a keyed archive, an unknown class, a reference out of range, a reference cycle,
// nesting deeper than 512 levels, or shared references that would expand to more than 262,144
// values and more than sixteen per reference in the archive. Stateless and safe from any thread.
class ZU_EXPORT NSKeyedUnarchiver {
 public:
  ZU_RUNTIME_CLASS_NAME(NSKeyedUnarchiver, Object)
  // The root object of the archive; absent for an archive of nil and for unreadable input
  // (then with an error).
  static Value unarchiveObjectWithData(const Data& data, NSErrorOut error = nullptr);
  // The root object of the archive in the file at `path`; absent when there is no readable file
  // or it does not hold a keyed archive.
  static Value unarchiveObjectWithFile(const std::string& path);
};

}  // namespace zu
