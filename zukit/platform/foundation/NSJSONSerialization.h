#pragma once

#include <optional>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// Options of JSON writing.
enum NSJSONWritingOptions : unsigned long {
  NSJSONWritingPrettyPrinted = 1UL << 0,
  NSJSONWritingSortedKeys = 1UL << 1,
  NSJSONWritingFragmentsAllowed = 1UL << 2,
  NSJSONWritingWithoutEscapingSlashes = 1UL << 3,
};

// Options of JSON reading.
enum NSJSONReadingOptions : unsigned long {
  NSJSONReadingMutableContainers = 1UL << 0,
  NSJSONReadingMutableLeaves = 1UL << 1,
  NSJSONReadingFragmentsAllowed = 1UL << 2,
};

// JSON text in the platform's dialect: pretty printing indents by two blanks and writes
// "key" : value; "/" is escaped as "\/" unless asked otherwise; NSNull is null. Reading keeps
// the document's key order (nlohmann-json does the parsing).
class ZU_EXPORT NSJSONSerialization {
 public:
  ZU_RUNTIME_CLASS_NAME(NSJSONSerialization, Object)
  // True when `object` can be written: an array or dictionary (at any depth) of text, finite
  // numbers, booleans, NSNull, arrays and dictionaries.
  static bool isValidJSONObject(const Value& object);
  // The UTF-8 JSON text of `object`, or none with an error when it cannot be written. A top
  // level that is not an array or dictionary needs NSJSONWritingFragmentsAllowed.
  static std::optional<Data> dataWithJSONObject(const Value& object, unsigned long options,
                                                NSErrorOut error = nullptr);
  // The value that JSON bytes hold (integers as integers, other numbers as reals, null as
  // NSNull); absent, with an error, for bytes that are not JSON. A top level that is not an
  // array or dictionary needs NSJSONReadingFragmentsAllowed.
  static Value JSONObjectWithData(const Data& data, unsigned long options,
                                  NSErrorOut error = nullptr);
};

}  // namespace zu
