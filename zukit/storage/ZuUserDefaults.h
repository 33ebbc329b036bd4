#pragma once

#include <memory>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"

// Preference values in a named suite, or in the app's standard preferences when the name is
// unusable (absent, NSNull or empty). Each call opens the store anew and a write is flushed to
// its file at once. A name that cannot name a suite (one holding "/", for instance) gives no
// store: writes do nothing and reads give no value (0 for integers). Keys and values are passed
// on untested; a value that is not a property list is refused by the store with a console line.
// Reads see what other processes synchronised. A preference file that a write finds damaged is
// kept aside by the store, and logged at level 5 here. Safe from any thread as far as the
// preferences store is.
class ZU_EXPORT ZuUserDefaults : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(ZuUserDefaults, zu::Object)
  // The one shared instance, made with the name of the very first call; later names are
  // ignored. Make a second suite's instance with initWithName().
  static std::shared_ptr<ZuUserDefaults> defaultsWithName(const zu::Value& name);
  // A new instance for the suite `name`, kept as passed.
  static std::shared_ptr<ZuUserDefaults> initWithName(const zu::Value& name);

  // Stores `value` (absent: removes the key) and flushes.
  void setObject(const zu::Value& value, const std::string& key);
  // The stored value, or absent.
  zu::Value objectForKey(const std::string& key);
  // Stores an integer and flushes.
  void setInteger(zu::NSInteger value, const std::string& key);
  // The stored integer; 0 when nothing is stored.
  zu::NSInteger integerForKey(const std::string& key);

  // The suite name given when made.
  const zu::Value& name() const { return _name; }

  // Made by the class methods only.
  class Passkey {
    friend class ZuUserDefaults;
    Passkey() = default;
  };
  ZuUserDefaults(Passkey /*unused*/, zu::Value name) : _name(std::move(name)) {}

 private:
  const zu::Value _name;
};
