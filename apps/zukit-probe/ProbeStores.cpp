// Probe commands for the stores: keychain items, the shared app-group store, the vendor
// identifier, app-group containers and named preferences, each used by a fresh process.

#include <cstdlib>
#include <string>
#include <vector>

#include "apps/zukit-probe/ProbeCommand.h"
#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/security/SecItem.h"
#include "zukit/storage/ZuKeychainItemWrapper.h"
#include "zukit/storage/ZuUserDefaults.h"
#include "zukit/storage/ZuUserShare.h"
#include "zukit/utils/ZuUtils.h"

namespace zukit::probe {

namespace {

// "-" stands for an absent argument.
zu::Value optionalText(const std::string& text) {
  return text == "-" ? zu::Value() : zu::Value(text);
}

// keychain IDENTIFIER GROUP [get] [set VALUE]...: a wrapper of the item, whose payload is read
// ("value: <description>") or set, step by step.
int runKeychain(const std::vector<std::string>& arguments) {
  if (arguments.size() < 2) return 2;
  const auto wrapper = ZuKeychainItemWrapper::initWithIdentifier(zu::Value(arguments[0]),
                                                                 optionalText(arguments[1]));
  for (std::size_t i = 2; i < arguments.size(); ++i) {
    if (arguments[i] == "get") {
      printLine(zu::format("value: %@", wrapper->objectForKey(zu::kSecValueData)));
    } else if (arguments[i] == "set" && i + 1 < arguments.size()) {
      wrapper->setObject(zu::Value(arguments[++i]), zu::kSecValueData);
    } else {
      printLine("unknown keychain step: " + arguments[i]);
      return 2;
    }
  }
  return 0;
}

// keychain-add-many GROUP PREFIX COUNT: adds COUNT items with accounts PREFIX-0...; prints
// "failed: N" with the number of adds that did not succeed.
int runKeychainAddMany(const std::vector<std::string>& arguments) {
  if (arguments.size() != 3) return 2;
  const long count = std::strtol(arguments[2].c_str(), nullptr, 10);
  int failed = 0;
  for (long i = 0; i < count; ++i) {
    const zu::Dictionary attributes{
        {zu::kSecClass, zu::Value(zu::kSecClassGenericPassword)},
        {zu::kSecAttrAccessGroup, zu::Value(arguments[0])},
        {zu::kSecAttrAccount, zu::Value(arguments[1] + "-" + std::to_string(i))},
        {zu::kSecValueData, zu::Value(zu::Data{static_cast<std::uint8_t>(i & 0xFF)})}};
    if (zu::SecItemAdd(attributes, nullptr) != zu::errSecSuccess) ++failed;
  }
  printLine("failed: " + std::to_string(failed));
  return 0;
}

// share set KEY DOMAIN VALUE | share get KEY DOMAIN | share integer KEY DOMAIN
int runShare(const std::vector<std::string>& arguments) {
  if (arguments.size() < 3) return 2;
  const auto share = ZuUserShare::share();
  const zu::Value key = optionalText(arguments[1]);
  const zu::Value domain = optionalText(arguments[2]);
  if (arguments[0] == "set" && arguments.size() == 4) {
    share->setObject(optionalText(arguments[3]), key, domain);
    flushLog();
  } else if (arguments[0] == "get") {
    const auto text = share->objectForKey(key, domain);
    printLine(text ? "text: " + *text : std::string("no text"));
  } else if (arguments[0] == "integer") {
    printLine("integer: " + std::to_string(share->integerForKey(key, domain)));
  } else {
    return 2;
  }
  return 0;
}

// identity [save]: prints the bundle identifier and the vendor identifier, then (after saving
// it, with "save") the keychain copy.
int runIdentity(const std::vector<std::string>& arguments) {
  printLine("bundle: " + ZuUtils::getAppBundleId().value_or("none"));
  printLine("vendor: " + ZuUtils::getUUID().value_or("none"));
  if (!arguments.empty() && arguments[0] == "save") ZuUtils::saveUUIDWithKeyChain();
  printLine(zu::format("keychain: %@", ZuUtils::getUUIDWithKeychain()));
  return 0;
}

// container GROUP: prints the container URL of the app group, or "none".
int runContainer(const std::vector<std::string>& arguments) {
  if (arguments.size() != 1) return 2;
  const auto url =
      zu::NSFileManager::defaultManager()->containerURLForSecurityApplicationGroupIdentifier(
          zu::Value(arguments[0]));
  printLine(url ? url->absoluteString() : std::string("none"));
  return 0;
}

// defaults NAME set KEY VALUE | defaults NAME get KEY: the shared named-defaults instance.
int runDefaults(const std::vector<std::string>& arguments) {
  if (arguments.size() < 3) return 2;
  const auto defaults = ZuUserDefaults::defaultsWithName(optionalText(arguments[0]));
  if (arguments[1] == "set" && arguments.size() == 4) {
    defaults->setObject(zu::Value(arguments[3]), arguments[2]);
  } else if (arguments[1] == "get") {
    printLine(zu::format("value: %@", defaults->objectForKey(arguments[2])));
  } else {
    return 2;
  }
  return 0;
}

const ProbeRegistration kKeychain("keychain", "IDENTIFIER GROUP|- [get] [set VALUE]...",
                                  &runKeychain);
const ProbeRegistration kKeychainAddMany("keychain-add-many", "GROUP PREFIX COUNT",
                                         &runKeychainAddMany);
const ProbeRegistration kShare("share",
                               "set KEY DOMAIN VALUE | get KEY DOMAIN | integer KEY DOMAIN",
                               &runShare);
const ProbeRegistration kIdentity("identity", "[save]", &runIdentity);
const ProbeRegistration kContainer("container", "GROUP", &runContainer);
const ProbeRegistration kDefaults("defaults", "NAME|- set KEY VALUE | NAME|- get KEY",
                                  &runDefaults);

}  // namespace

}  // namespace zukit::probe
