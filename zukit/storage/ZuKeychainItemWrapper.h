#pragma once

#include <memory>
#include <optional>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"

// Keeps one generic-password keychain item in step with an in-memory map. The wrapper loads the
// item that matches its identifier (and access group) when made; each change through
// setObject() is written back at once, adding the item the first time and updating it after.
// The secret under kSecValueData is any property-list value, stored as XML property-list bytes
// and handed back decoded. The wrapper's own messages go to the console (NSLog) only; a keychain
// file that a write finds it cannot read (and keeps aside, or leaves alone) is also logged at
// level 5. Meant for one thread at a time; two wrappers of one item do not see each other's
// unsaved state.
class ZU_EXPORT ZuKeychainItemWrapper : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(ZuKeychainItemWrapper, zu::Object)
  // A wrapper for the item with generic attribute `identifier`, in `accessGroup` when that is
  // present; loaded from the keychain or filled with defaults. None for an absent identifier.
  static std::shared_ptr<ZuKeychainItemWrapper> initWithIdentifier(const zu::Value& identifier,
                                                                   const zu::Value& accessGroup);

  // Sets the entry under `key` and writes the item, unless `value` is absent or equal to the
  // current entry.
  void setObject(const zu::Value& value, const std::string& key);
  // The entry under `key` in memory; absent when there is none.
  zu::Value objectForKey(const std::string& key) const;
  // Deletes the stored item (when the map was made) and restores the default entries in memory.
  void resetKeychainItem();
  // The item in keychain form: the payload serialised as an XML property list.
  zu::Dictionary dictionaryToSecItemFormat(const zu::Dictionary& dictToConvert);
  // The item in caller form: fetches and decodes the payload of the item `dictToConvert`
  // describes.
  zu::Dictionary secItemFormatToDictionary(const zu::Dictionary& dictToConvert);
  // Adds the item, or updates it when the query finds it.
  void writeToKeychain();

  // The item as the caller sees it; none until loaded or reset.
  const std::optional<zu::Dictionary>& keychainItemData() const { return _keychainItemData; }
  void setKeychainItemData(std::optional<zu::Dictionary> data) {
    _keychainItemData = std::move(data);
  }
  // The search query that finds this wrapper's item.
  const std::optional<zu::Dictionary>& genericPasswordQuery() const {
    return _genericPasswordQuery;
  }
  void setGenericPasswordQuery(std::optional<zu::Dictionary> query) {
    _genericPasswordQuery = std::move(query);
  }

  // Made by initWithIdentifier() only.
  class Passkey {
    friend class ZuKeychainItemWrapper;
    Passkey() = default;
  };
  explicit ZuKeychainItemWrapper(Passkey /*unused*/) {}

 private:
  std::optional<zu::Dictionary> _keychainItemData;
  std::optional<zu::Dictionary> _genericPasswordQuery;
  zu::Value _identifier;
};
