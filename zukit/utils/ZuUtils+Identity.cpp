// Device and app identity: the system version, the bundle identifier, the vendor UUID and its
// copy in the keychain, and the server environment of an app group.

#include "zukit/platform/foundation/NSBundle.h"
#include "zukit/platform/security/SecItem.h"
#include "zukit/platform/ui/UIDevice.h"
#include "zukit/storage/ZuKeychainItemWrapper.h"
#include "zukit/storage/ZuUserShare.h"
#include "zukit/utils/ZuUtils.h"

namespace {

constexpr const char* kUUIDIdentifier = "UUID";
constexpr const char* kUUIDAccessGroup = "cn.com.quorvel.ZuSDK";

std::shared_ptr<ZuKeychainItemWrapper> uuidWrapper() {
  return ZuKeychainItemWrapper::initWithIdentifier(zu::Value(kUUIDIdentifier),
                                                   zu::Value(kUUIDAccessGroup));
}

// A map or list with an element, a text with a character, or any other present object (NSNull
// included) counts as a value; absent, an empty map, list or text does not.
bool holdsValue(const zu::Value& value) {
  if (value.isDictionary() || value.isArray() || value.isString()) return value.count() > 0;
  return !value.isAbsent();
}

}  // namespace

std::string ZuUtils::getOSVersion() {
  return zu::UIDevice::currentDevice()->systemVersion();
}

std::optional<std::string> ZuUtils::getAppBundleId() {
  const zu::Value identifier =
      zu::NSBundle::mainBundle()->objectForInfoDictionaryKey("CFBundleIdentifier");
  const std::string* text = identifier.asString();
  return text != nullptr ? std::optional<std::string>(*text) : std::nullopt;
}

std::optional<std::string> ZuUtils::getUUID() {
  return zu::UIDevice::currentDevice()->identifierForVendor();
}

void ZuUtils::saveUUIDWithKeyChain() {
  const std::shared_ptr<ZuKeychainItemWrapper> wrapper = uuidWrapper();
  if (holdsValue(wrapper->objectForKey(zu::kSecValueData))) return;
  const std::optional<std::string> uuid = getUUID();
  wrapper->setObject(uuid ? zu::Value(*uuid) : zu::Value(), zu::kSecValueData);
}

zu::Value ZuUtils::getUUIDWithKeychain() {
  return uuidWrapper()->objectForKey(zu::kSecValueData);
}

zu::NSInteger ZuUtils::getEnvironmentWithGroupIdentifier(const zu::Value& identifier) {
  return ZuUserShare::share()->integerForKey(zu::Value("envType"), identifier);
}
