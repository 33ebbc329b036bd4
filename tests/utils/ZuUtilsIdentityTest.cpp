#include <fstream>
#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "tests/storage/StoreTestSupport.h"
#include "tests/support/Probe.h"
#include "zukit/platform/security/SecItem.h"
#include "zukit/storage/ZuKeychainItemWrapper.h"
#include "zukit/storage/ZuUserShare.h"
#include "zukit/utils/ZuUtils.h"

namespace {

using zu::Value;

const std::regex kUUIDText("[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}");

std::shared_ptr<ZuKeychainItemWrapper> uuidSlot() {
  return ZuKeychainItemWrapper::initWithIdentifier(Value("UUID"), Value("cn.com.quorvel.ZuSDK"));
}

// Starts each test with an empty UUID slot, whatever earlier tests in this process stored.
class ZuUtilsIdentityTest : public testing::Test {
 protected:
  void SetUp() override {
    zu::SecItemDelete(zu::Dictionary{{zu::kSecClass, Value(zu::kSecClassGenericPassword)},
                                     {zu::kSecAttrAccessGroup, Value("cn.com.quorvel.ZuSDK")},
                                     {zu::kSecAttrGeneric, Value("UUID")}});
  }
};

TEST_F(ZuUtilsIdentityTest, SystemBundleAndDeviceIdentity) {
  const std::string osRelease = zukit::test::readFile("/etc/os-release");
  std::smatch match;
  if (std::regex_search(osRelease, match, std::regex(R"re(VERSION_ID="?([^"\n]*))re"))) {
    EXPECT_EQ(ZuUtils::getOSVersion(), match[1].str());
  } else {
    EXPECT_FALSE(ZuUtils::getOSVersion().empty());
  }
  EXPECT_EQ(ZuUtils::getAppBundleId(), "org.zukit.zukit-tests");
  const auto uuid = ZuUtils::getUUID();
  ASSERT_TRUE(uuid);
  EXPECT_TRUE(std::regex_match(*uuid, kUUIDText));
  EXPECT_EQ(ZuUtils::getUUID(), uuid);

  // A host with an Info.plist names itself.
  const std::string plist = zukit::test::TestHome::current() + "/Info.plist";
  {
    std::ofstream file(plist);
    file << "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key>"
            "<string>cn.com.quorvel.Host</string></dict></plist>";
  }
  const auto host = zukit::test::runProbe({"identity"}, {{"ZUKIT_INFO_PLIST", plist}});
  EXPECT_EQ(host.standardOutput.substr(0, host.standardOutput.find('\n')),
            "bundle: cn.com.quorvel.Host");
}

TEST_F(ZuUtilsIdentityTest, TheKeychainSlotIsWrittenOnceAndNeverOverwritten) {
  // Before anything is saved the slot reads as the wrapper's default, an empty map.
  EXPECT_EQ(ZuUtils::getUUIDWithKeychain(), Value(zu::Dictionary{}));
  ZuUtils::saveUUIDWithKeyChain();
  const Value saved = ZuUtils::getUUIDWithKeychain();
  EXPECT_EQ(saved, Value(*ZuUtils::getUUID()));

  // A second save finds the value and keeps it, even when it is not this device's identifier.
  uuidSlot()->setObject(Value("FIRST-WRITTEN"), zu::kSecValueData);
  ZuUtils::saveUUIDWithKeyChain();
  EXPECT_EQ(ZuUtils::getUUIDWithKeychain(), Value("FIRST-WRITTEN"));

  Value item;
  const zu::Dictionary query{{zu::kSecClass, Value(zu::kSecClassGenericPassword)},
                             {zu::kSecAttrAccessGroup, Value("cn.com.quorvel.ZuSDK")},
                             {zu::kSecMatchLimit, Value(zu::kSecMatchLimitAll)},
                             {zu::kSecReturnAttributes, Value(true)}};
  ASSERT_EQ(zu::SecItemCopyMatching(query, &item), zu::errSecSuccess);
  EXPECT_EQ(item.count(), 1U);
}

TEST_F(ZuUtilsIdentityTest, EmptyPayloadsAreFilledAndEveryOtherValueIsKept) {
  const std::string uuid = *ZuUtils::getUUID();
  const struct {
    Value stored;
    bool filled;
  } cases[] = {
      {Value(""), true},
      {Value(zu::Array{}), true},
      {Value(zu::Dictionary{{"k", Value("v")}}), false},
      {Value(zu::Array{Value(0)}), false},
      {Value(0), false},
      {Value(false), false},
      {Value(zu::Data{}), false},
      {Value(" "), false},
  };
  for (const auto& testCase : cases) {
    uuidSlot()->resetKeychainItem();
    uuidSlot()->setObject(testCase.stored, zu::kSecValueData);
    ASSERT_EQ(ZuUtils::getUUIDWithKeychain(), testCase.stored) << testCase.stored.description();
    ZuUtils::saveUUIDWithKeyChain();
    EXPECT_EQ(ZuUtils::getUUIDWithKeychain(), testCase.filled ? Value(uuid) : testCase.stored)
        << testCase.stored.description();
  }
}

TEST_F(ZuUtilsIdentityTest, TheVendorUUIDSavedByOneLaunchIsReadByTheNext) {
  const auto first = zukit::test::runProbe({"identity", "save"});
  ASSERT_EQ(first.exitCode, 0) << first.standardError;
  const auto second = zukit::test::runProbe({"identity"});
  const std::string uuid = *ZuUtils::getUUID();
  EXPECT_EQ(first.standardOutput,
            "bundle: org.zukit.zukit-probe\nvendor: " + uuid + "\nkeychain: " + uuid + "\n");
  EXPECT_EQ(second.standardOutput,
            "bundle: org.zukit.zukit-probe\nvendor: " + uuid + "\nkeychain: " + uuid + "\n");
  EXPECT_EQ(ZuUtils::getUUIDWithKeychain(), Value(uuid));
}

TEST_F(ZuUtilsIdentityTest, TheEnvironmentComesFromTheGroupsSharedStore) {
  constexpr const char* kGroup = "group.cn.com.quorvel.env";
  zukit::test::declareAppGroups(kGroup);
  EXPECT_EQ(ZuUtils::getEnvironmentWithGroupIdentifier(Value(kGroup)), 0);
  ZuUserShare::share()->setInteger(2, Value("envType"), Value(kGroup));
  EXPECT_EQ(ZuUtils::getEnvironmentWithGroupIdentifier(Value(kGroup)), 2);
  ZuUserShare::share()->setObject(Value("1 (test)"), Value("envType"), Value(kGroup));
  EXPECT_EQ(ZuUtils::getEnvironmentWithGroupIdentifier(Value(kGroup)), 1);
  ZuUserShare::share()->setObject(Value("test"), Value("envType"), Value(kGroup));
  EXPECT_EQ(ZuUtils::getEnvironmentWithGroupIdentifier(Value(kGroup)), 0);
  for (const Value& missing : {Value(), Value::null(), Value(""), Value("group.elsewhere")}) {
    EXPECT_EQ(ZuUtils::getEnvironmentWithGroupIdentifier(missing), 0);
  }
}

}  // namespace
