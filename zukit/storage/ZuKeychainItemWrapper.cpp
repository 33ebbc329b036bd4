#include "zukit/storage/ZuKeychainItemWrapper.h"

#include "zukit/platform/foundation/NSLog.h"
#include "zukit/platform/foundation/NSPropertyListSerialization.h"
#include "zukit/platform/security/SecItem.h"
#include "zukit/storage/ZuStoreDamageLog.h"

std::shared_ptr<ZuKeychainItemWrapper> ZuKeychainItemWrapper::initWithIdentifier(
    const zu::Value& identifier, const zu::Value& accessGroup) {
  // A map cannot hold an absent value, so there is no wrapper without an identifier.
  if (identifier.isAbsent()) return nullptr;
  auto wrapper = std::make_shared<ZuKeychainItemWrapper>(Passkey());
  zu::Dictionary query{{zu::kSecClass, zu::Value(zu::kSecClassGenericPassword)}};
  wrapper->_identifier = identifier;
  query.setObject(identifier, zu::kSecAttrGeneric);
  if (!accessGroup.isAbsent()) query.setObject(accessGroup, zu::kSecAttrAccessGroup);
  query.setObject(zu::Value(zu::kSecMatchLimitOne), zu::kSecMatchLimit);
  query.setObject(zu::Value(true), zu::kSecReturnAttributes);
  wrapper->_genericPasswordQuery = query;

  zu::Value outDictionary;
  const zu::Dictionary tempQuery = query;
  if (zu::SecItemCopyMatching(tempQuery, &outDictionary) != zu::errSecSuccess) {
    wrapper->resetKeychainItem();
    wrapper->_keychainItemData->setObject(identifier, zu::kSecAttrGeneric);
    if (!accessGroup.isAbsent()) {
      wrapper->_keychainItemData->setObject(accessGroup, zu::kSecAttrAccessGroup);
    }
  } else {
    const zu::Dictionary* attributes = outDictionary.asDictionary();
    wrapper->_keychainItemData =
        wrapper->secItemFormatToDictionary(attributes != nullptr ? *attributes : zu::Dictionary());
  }
  return wrapper;
}

void ZuKeychainItemWrapper::setObject(const zu::Value& value, const std::string& key) {
  if (value.isAbsent()) return;
  if (!_keychainItemData) _keychainItemData.emplace();
  const zu::Value* current = _keychainItemData->find(key);
  if (current != nullptr && !current->isAbsent() && *current == value) return;
  _keychainItemData->setObject(value, key);
  writeToKeychain();
}

zu::Value ZuKeychainItemWrapper::objectForKey(const std::string& key) const {
  return _keychainItemData ? _keychainItemData->objectForKey(key) : zu::Value();
}

void ZuKeychainItemWrapper::resetKeychainItem() {
  const ZuStoreDamageLog damage("-[ZuKeychainItemWrapper resetKeychainItem]");
  if (!_keychainItemData) {
    _keychainItemData.emplace();
  } else {
    const zu::Dictionary tempDictionary = dictionaryToSecItemFormat(*_keychainItemData);
    zu::SecItemDelete(tempDictionary);
  }
  _keychainItemData->setObject(zu::Value(""), zu::kSecAttrAccount);
  _keychainItemData->setObject(zu::Value(""), zu::kSecAttrService);
  _keychainItemData->setObject(zu::Value(""), zu::kSecAttrLabel);
  _keychainItemData->setObject(zu::Value(""), zu::kSecAttrDescription);
  _keychainItemData->setObject(zu::Value(zu::Dictionary()), zu::kSecValueData);
}

zu::Dictionary ZuKeychainItemWrapper::dictionaryToSecItemFormat(
    const zu::Dictionary& dictToConvert) {
  zu::Dictionary returnDictionary = dictToConvert;
  returnDictionary.setObject(zu::Value(zu::kSecClassGenericPassword), zu::kSecClass);
  std::shared_ptr<zu::NSError> error;
  const std::optional<zu::Data> data = zu::NSPropertyListSerialization::dataWithPropertyList(
      dictToConvert.objectForKey(zu::kSecValueData), zu::NSPropertyListXMLFormat_v1_0, 0, &error);
  if (error) zu::NSLog("dictionaryToSecItemFormat: Error! %@", error);
  if (data) returnDictionary.setObject(zu::Value(*data), zu::kSecValueData);
  return returnDictionary;
}

zu::Dictionary ZuKeychainItemWrapper::secItemFormatToDictionary(
    const zu::Dictionary& dictToConvert) {
  zu::Dictionary returnDictionary = dictToConvert;
  returnDictionary.setObject(zu::Value(true), zu::kSecReturnData);
  returnDictionary.setObject(zu::Value(zu::kSecClassGenericPassword), zu::kSecClass);
  zu::Value passwordData;
  if (zu::SecItemCopyMatching(returnDictionary, &passwordData) == zu::errSecSuccess) {
    returnDictionary.removeObjectForKey(zu::kSecReturnData);
    const zu::Data* bytes = passwordData.asData();
    zu::Value payload = bytes != nullptr
                            ? zu::NSPropertyListSerialization::propertyListWithData(*bytes, 0)
                            : zu::Value();
    if (!payload.isAbsent()) returnDictionary.setObject(std::move(payload), zu::kSecValueData);
  } else {
    zu::NSLog("secItemFormatToDictionary: format error.");
  }
  return returnDictionary;
}

void ZuKeychainItemWrapper::writeToKeychain() {
  const ZuStoreDamageLog damage("-[ZuKeychainItemWrapper writeToKeychain]");
  zu::Value attributes;
  const zu::Dictionary query = _genericPasswordQuery.value_or(zu::Dictionary());
  const zu::Dictionary item = _keychainItemData.value_or(zu::Dictionary());
  if (zu::SecItemCopyMatching(query, &attributes) != zu::errSecSuccess) {
    zu::SecItemAdd(dictionaryToSecItemFormat(item), nullptr);
    return;
  }
  const zu::Dictionary* found = attributes.asDictionary();
  zu::Dictionary updateItem = found != nullptr ? *found : zu::Dictionary();
  updateItem.setObject(query.objectForKey(zu::kSecClass), zu::kSecClass);
  zu::Dictionary tempCheck = dictionaryToSecItemFormat(item);
  tempCheck.removeObjectForKey(zu::kSecClass);
  zu::SecItemUpdate(updateItem, tempCheck);
}
