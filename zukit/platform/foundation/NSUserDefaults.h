#pragma once

#include <memory>
#include <optional>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

class PreferenceDomain;

// A preferences store: the app's standard domain (named by the bundle identifier) or a named
// suite, each a binary property-list file $XDG_CONFIG_HOME/zukit/preferences/<domain>.plist
// (XML files of earlier versions are read too). Stores of one domain share their values within
// the process; changes reach the file on synchronize(). Reads see what other processes
// synchronised: the file is read again whenever it was replaced. A damaged file reads as empty
// and is kept aside at the next synchronize (see PreferenceDomain). Safe from any thread.
class ZU_EXPORT NSUserDefaults final : public Object {
 public:
  ZU_RUNTIME_CLASS(NSUserDefaults, Object)
  // The app's standard store.
  static std::shared_ptr<NSUserDefaults> standardUserDefaults();
  // The store of the suite `suiteName`; an absent, NSNull or empty name gives the standard
  // store. None for a name that cannot name a domain: one holding "/", starting with ".",
  // longer than 200 bytes, "NSGlobalDomain", or the app's own bundle identifier.
  static std::shared_ptr<NSUserDefaults> initWithSuiteName(const Value& suiteName);
  // The file that holds `domain`.
  static std::string pathForDomain(const std::string& domain);

  explicit NSUserDefaults(std::shared_ptr<PreferenceDomain> domain);

  // The value under `key`, or absent.
  Value objectForKey(const std::string& key) const;
  // Sets the value under `key`; an absent value removes the key. A value that is not a property
  // list (NSNull, an object, or a collection holding one) is refused with a console line.
  void setObject(const Value& value, const std::string& key);
  // Removes the key.
  void removeObjectForKey(const std::string& key);
  // The value as an integer: numbers and numeric text convert, anything else (or nothing) is 0.
  NSInteger integerForKey(const std::string& key) const;
  // Stores an integer.
  void setInteger(NSInteger value, const std::string& key);
  // The value as a real; 0 when missing.
  double doubleForKey(const std::string& key) const;
  // Stores a real.
  void setDouble(double value, const std::string& key);
  // The value as a boolean; NO when missing.
  bool boolForKey(const std::string& key) const;
  // Stores a boolean.
  void setBool(bool value, const std::string& key);
  // Text under `key` (numbers as their text), or none.
  std::optional<std::string> stringForKey(const std::string& key) const;
  // Array under `key`, or none.
  std::optional<Array> arrayForKey(const std::string& key) const;
  // Bytes under `key` (text as its UTF-8 bytes), or none.
  std::optional<Data> dataForKey(const std::string& key) const;
  // Dictionary under `key`, or none.
  std::optional<Dictionary> dictionaryForKey(const std::string& key) const;
  // Every value of the domain.
  Dictionary dictionaryRepresentation() const;
  // Writes the changes to the file and reads other processes' changes; false when the file
  // could not be written.
  bool synchronize();

  // The file behind this store.
  const std::string& path() const;

 private:
  std::shared_ptr<PreferenceDomain> _domain;
};

}  // namespace zu
