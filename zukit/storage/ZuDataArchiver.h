#pragma once

#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"

// Saves one object graph (property-list values and NSNull) to a file in the keyed-archive
// format and reads it back. Class methods only; safe from any thread.
class ZU_EXPORT ZuDataArchiver : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(ZuDataArchiver, zu::Object)
  ZuDataArchiver() = delete;

  // Archives `data` into the file at `path`, written whole and atomically. NO, leaving the file
  // untouched, when `data` is absent, holds something that cannot be archived (an object, text
  // that is not UTF-8), or the file cannot be written (its directory is not created).
  static bool setData(const zu::Value& data, const std::string& path);
  // The object archived in the file at `path`; absent when there is no file, or it does not hold
  // a readable keyed archive.
  static zu::Value getDataForPath(const std::string& path);
};
