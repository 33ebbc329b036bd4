// Keychain files: the bytes replace an access group's file. Every item the group held before a
// write is found unchanged after it, the new item too, and a file that is not a store is kept
// aside byte for byte. A wrapper made for the group reads it without fault.

#include <filesystem>
#include <string>
#include <vector>

#include "tests/fuzz/FuzzSupport.h"
#include "zukit/platform/foundation/Environment.h"
#include "zukit/platform/foundation/NSPropertyListSerialization.h"
#include "zukit/platform/security/SecItem.h"
#include "zukit/storage/ZuKeychainItemWrapper.h"

namespace {

constexpr const char* kGroup = "cn.com.quorvel.fuzz";

// Every item of the group, each as the bytes of its attributes and secret.
std::vector<std::string> itemsOfGroup() {
  zu::Value result;
  const zu::Dictionary query{{zu::kSecClass, zu::Value(zu::kSecClassGenericPassword)},
                             {zu::kSecAttrAccessGroup, zu::Value(kGroup)},
                             {zu::kSecMatchLimit, zu::Value(zu::kSecMatchLimitAll)},
                             {zu::kSecReturnAttributes, zu::Value(true)},
                             {zu::kSecReturnData, zu::Value(true)}};
  std::vector<std::string> items;
  if (zu::SecItemCopyMatching(query, &result) != zu::errSecSuccess) return items;
  for (const zu::Value& item : *result.asArray())
    items.push_back(zukit::fuzz::canonicalBytes(item));
  return items;
}

// Whether the bytes are a store: a dictionary whose "items" is an array.
bool isStore(const std::string& bytes) {
  const zu::Value file = zu::NSPropertyListSerialization::propertyListWithData(
      zu::Data(bytes.begin(), bytes.end()), 0);
  const zu::Value* items = file.isDictionary() ? file.asDictionary()->find("items") : nullptr;
  return items != nullptr && items->isArray();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  zukit::fuzz::useTemporaryHome();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using zukit::fuzz::check;
  const std::string path = zu::xdgDataHome() + "/zukit/keychain/" + kGroup + ".keychain";
  const std::string aside = path + ".corrupt";
  const std::string input = zukit::fuzz::textOf(data, size);
  zukit::fuzz::replaceFile(path, input);
  const bool store = isStore(input);

  (void)ZuKeychainItemWrapper::initWithIdentifier(zu::Value("UUID"), zu::Value(kGroup));
  const std::vector<std::string> before = itemsOfGroup();
  check(store || before.empty(), "a file that is not a store gave items");

  const zu::Dictionary added{{zu::kSecClass, zu::Value(zu::kSecClassGenericPassword)},
                             {zu::kSecAttrAccessGroup, zu::Value(kGroup)},
                             {zu::kSecAttrAccount, zu::Value("zukit.fuzz.added")},
                             {zu::kSecValueData, zu::Value(zu::Data{1, 2, 3})}};
  const zu::OSStatus status = zu::SecItemAdd(added, nullptr);
  check(status == zu::errSecSuccess || status == zu::errSecDuplicateItem, "the add failed");

  const std::vector<std::string> after = itemsOfGroup();
  check(after.size() == before.size() + (status == zu::errSecSuccess ? 1 : 0),
        "a write changed the number of items");
  for (std::size_t i = 0; i < before.size(); ++i)
    check(after[i] == before[i], "a write changed or lost an item");

  const auto kept = zukit::fuzz::readWholeFile(aside);
  check(store != kept.has_value(), "a file was kept aside when, and only when, not a store");
  check(!kept || *kept == input, "a damaged file was not kept aside as it was");
  std::filesystem::remove(aside);
  return 0;
}
