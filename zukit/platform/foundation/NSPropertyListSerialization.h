#pragma once

#include <optional>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/NSError.h"
#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// Property-list formats.
enum NSPropertyListFormat : unsigned long {
  NSPropertyListOpenStepFormat = 1,
  NSPropertyListXMLFormat_v1_0 = 100,
  NSPropertyListBinaryFormat_v1_0 = 200,
};

// Error codes of property-list reading and writing, in NSCocoaErrorDomain.
inline constexpr NSInteger NSPropertyListReadCorruptError = 3840;
inline constexpr NSInteger NSPropertyListWriteInvalidError = 3851;

// Property lists in the platform's XML (version 1.0) and binary formats. A property list holds
// text (UTF-8), numbers, booleans, data, dates, arrays and dictionaries; NSNull, absent values
// and other objects cannot be written. The binary format is the library's own (see
// BinaryPropertyList) and keeps every value exactly; XML is written and parsed by libplist and
// keeps dates to the whole second, from 1933 to 2069, and text without NUL.
class ZU_EXPORT NSPropertyListSerialization {
 public:
  ZU_RUNTIME_CLASS_NAME(NSPropertyListSerialization, Object)
  // True when every value in `plist` can be written as a property list (in the binary format;
  // XML also refuses text holding NUL and dates beyond 1933 to 2069).
  static bool propertyListIsValid(const Value& plist);
  // The serialised bytes, or none with an error for a value that is not a property list or a
  // format other than XML and binary.
  static std::optional<Data> dataWithPropertyList(const Value& plist, NSPropertyListFormat format,
                                                  unsigned long options,
                                                  NSErrorOut error = nullptr);
  // The value that XML or binary property-list bytes hold; absent, with an error, for bytes that
  // are not a property list (XML holding a NUL byte included). `format`, when given, receives
  // the format read. Keyed-archive UIDs read as dictionaries {"CF$UID": n}. Whatever is read can
  // be written back in the binary format.
  static Value propertyListWithData(const Data& data, unsigned long options,
                                    NSPropertyListFormat* format = nullptr,
                                    NSErrorOut error = nullptr);
};

}  // namespace zu
