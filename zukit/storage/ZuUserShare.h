#pragma once

#include <memory>
#include <optional>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"

// Small values shared by the programs of one app group: each value is a text file of its own,
// Library/Caches/Zu_<key>.json in the group's container, holding the value's description ("%@";
// "(null)" for no value) in UTF-8. The domain of every call is the app-group identifier. Keys
// are not escaped: a "/" in a key adds directories, which are not created, so such writes fail.
// Text arguments count as missing when absent, NSNull, empty, or not UTF-8. No lock is taken:
// any thread may call, and writes replace the file atomically, so readers in any process see
// the old or the new text whole.
class ZU_EXPORT ZuUserShare : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(ZuUserShare, zu::Object)
  // The shared instance.
  static std::shared_ptr<ZuUserShare> share();

  // Writes the description of `value` for `key`; logs the outcome (the file URL, key and text
  // at level 10010 on success, the key and text at level 5 on failure). A missing key or domain
  // writes and logs nothing.
  void setObject(const zu::Value& value, const zu::Value& key, const zu::Value& domain);
  // The text stored for `key`; none for a missing key or domain, a missing file, or bytes that
  // are not UTF-8.
  std::optional<std::string> objectForKey(const zu::Value& key, const zu::Value& domain);
  // Stores the integer as decimal text, through setObject().
  void setInteger(zu::NSInteger value, const zu::Value& key, const zu::Value& domain);
  // The stored text's integer: optional leading blanks and sign, then decimal digits up to the
  // first other character; 0 without digits or without a stored text.
  zu::NSInteger integerForKey(const zu::Value& key, const zu::Value& domain);
};
