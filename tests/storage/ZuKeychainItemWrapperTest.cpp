#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/storage/StoreTestSupport.h"
#include "tests/support/Probe.h"
#include "zukit/platform/foundation/AtomicFile.h"
#include "zukit/platform/foundation/NSPropertyListSerialization.h"
#include "zukit/platform/security/SecItem.h"
#include "zukit/storage/ZuKeychainItemWrapper.h"

namespace {

using zu::Dictionary;
using zu::Value;

// Every stored item of `group`, with its attributes and secret.
std::vector<Dictionary> storedItems(const std::string& group) {
  Value result;
  const Dictionary query{{zu::kSecClass, Value(zu::kSecClassGenericPassword)},
                         {zu::kSecAttrAccessGroup, Value(group)},
                         {zu::kSecMatchLimit, Value(zu::kSecMatchLimitAll)},
                         {zu::kSecReturnAttributes, Value(true)},
                         {zu::kSecReturnData, Value(true)}};
  std::vector<Dictionary> items;
  if (zu::SecItemCopyMatching(query, &result) != zu::errSecSuccess) return items;
  for (const Value& item : *result.asArray())
    items.push_back(*item.asDictionary());
  return items;
}

std::string text(const Value& bytes) {
  const zu::Data* data = bytes.asData();
  return data != nullptr ? std::string(data->begin(), data->end()) : std::string();
}

// Each test keeps to an access group of its own.
class ZuKeychainItemWrapperTest : public testing::Test {
 protected:
  const std::string kGroup = zukit::test::uniqueName("cn.com.quorvel.");
};

TEST_F(ZuKeychainItemWrapperTest, AFreshWrapperHoldsDefaultsAndWritesNothingUntilAChange) {
  const auto wrapper = ZuKeychainItemWrapper::initWithIdentifier(Value("token"), Value(kGroup));
  ASSERT_TRUE(wrapper);
  EXPECT_EQ(wrapper->objectForKey(zu::kSecAttrAccount), Value(""));
  EXPECT_EQ(wrapper->objectForKey(zu::kSecAttrService), Value(""));
  EXPECT_EQ(wrapper->objectForKey(zu::kSecAttrLabel), Value(""));
  EXPECT_EQ(wrapper->objectForKey(zu::kSecAttrDescription), Value(""));
  EXPECT_EQ(wrapper->objectForKey(zu::kSecValueData), Value(Dictionary{}));
  EXPECT_EQ(wrapper->objectForKey(zu::kSecAttrGeneric), Value("token"));
  EXPECT_EQ(wrapper->objectForKey(zu::kSecAttrAccessGroup), Value(kGroup));
  const Dictionary expectedQuery{{zu::kSecClass, Value(zu::kSecClassGenericPassword)},
                                 {zu::kSecAttrGeneric, Value("token")},
                                 {zu::kSecAttrAccessGroup, Value(kGroup)},
                                 {zu::kSecMatchLimit, Value(zu::kSecMatchLimitOne)},
                                 {zu::kSecReturnAttributes, Value(true)}};
  EXPECT_EQ(wrapper->genericPasswordQuery(), expectedQuery);

  // An absent value, or one equal to what the map holds, changes nothing.
  wrapper->setObject(Value(), zu::kSecValueData);
  wrapper->setObject(Value(""), zu::kSecAttrAccount);
  wrapper->setObject(Value(Dictionary{}), zu::kSecValueData);
  EXPECT_TRUE(storedItems(kGroup).empty());
  EXPECT_FALSE(
      std::filesystem::exists(zukit::test::keychainDirectory() + "/" + kGroup + ".keychain"));
  EXPECT_FALSE(ZuKeychainItemWrapper::initWithIdentifier(Value(), Value(kGroup)));
}

TEST_F(ZuKeychainItemWrapperTest, AStringPayloadIsStoredAsAnXmlPropertyListAndReadBack) {
  const auto writer = ZuKeychainItemWrapper::initWithIdentifier(Value("token"), Value(kGroup));
  writer->setObject(Value("s3cret"), zu::kSecValueData);
  std::vector<Dictionary> items = storedItems(kGroup);
  ASSERT_EQ(items.size(), 1U);
  EXPECT_EQ(text(items[0].objectForKey(zu::kSecValueData)),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
            "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
            "<plist version=\"1.0\">\n<string>s3cret</string>\n</plist>\n");
  EXPECT_EQ(items[0].objectForKey(zu::kSecAttrGeneric), Value("token"));
  EXPECT_EQ(items[0].objectForKey(zu::kSecAttrLabel), Value(""));

  const auto reader = ZuKeychainItemWrapper::initWithIdentifier(Value("token"), Value(kGroup));
  EXPECT_EQ(reader->objectForKey(zu::kSecValueData), Value("s3cret"));
  EXPECT_TRUE(reader->objectForKey(zu::kSecReturnData).isAbsent());
  EXPECT_EQ(reader->objectForKey(zu::kSecClass), Value(zu::kSecClassGenericPassword));

  // A later change updates the one item; structured payloads keep their shape.
  const Value structured(
      Dictionary{{"user", Value("zu")}, {"ids", Value(zu::Array{Value(1), Value(2)})}});
  reader->setObject(structured, zu::kSecValueData);
  reader->setObject(Value("visible label"), zu::kSecAttrLabel);
  items = storedItems(kGroup);
  ASSERT_EQ(items.size(), 1U);
  EXPECT_EQ(items[0].objectForKey(zu::kSecAttrLabel), Value("visible label"));
  const auto third = ZuKeychainItemWrapper::initWithIdentifier(Value("token"), Value(kGroup));
  EXPECT_EQ(third->objectForKey(zu::kSecValueData), structured);
  EXPECT_EQ(third->objectForKey(zu::kSecAttrLabel), Value("visible label"));
}

TEST_F(ZuKeychainItemWrapperTest, ResetDeletesTheStoredItemAndRestoresTheDefaults) {
  ZuKeychainItemWrapper::initWithIdentifier(Value("token"), Value(kGroup))
      ->setObject(Value("old"), zu::kSecValueData);
  const auto loaded = ZuKeychainItemWrapper::initWithIdentifier(Value("token"), Value(kGroup));
  ASSERT_EQ(loaded->objectForKey(zu::kSecValueData), Value("old"));
  loaded->resetKeychainItem();
  EXPECT_TRUE(storedItems(kGroup).empty());
  EXPECT_EQ(loaded->objectForKey(zu::kSecValueData), Value(Dictionary{}));
  EXPECT_EQ(loaded->objectForKey(zu::kSecAttrGeneric), Value("token"));
  loaded->setObject(Value("new"), zu::kSecValueData);
  ASSERT_EQ(storedItems(kGroup).size(), 1U);
  EXPECT_EQ(ZuKeychainItemWrapper::initWithIdentifier(Value("token"), Value(kGroup))
                ->objectForKey(zu::kSecValueData),
            Value("new"));
}

TEST_F(ZuKeychainItemWrapperTest, AWrapperWithoutAccessGroupFindsTheItemInAnyGroup) {
  ZuKeychainItemWrapper::initWithIdentifier(Value("anywhere"), Value(kGroup))
      ->setObject(Value("found"), zu::kSecValueData);
  const auto wrapper = ZuKeychainItemWrapper::initWithIdentifier(Value("anywhere"), Value());
  EXPECT_EQ(wrapper->objectForKey(zu::kSecValueData), Value("found"));
  EXPECT_EQ(wrapper->objectForKey(zu::kSecAttrAccessGroup), Value(kGroup));

  // Items of other identifiers in the same group collide: account and service are "" for all.
  const auto second = ZuKeychainItemWrapper::initWithIdentifier(Value("second"), Value(kGroup));
  second->setObject(Value("lost"), zu::kSecValueData);
  EXPECT_EQ(storedItems(kGroup).size(), 1U);
  EXPECT_EQ(ZuKeychainItemWrapper::initWithIdentifier(Value("second"), Value(kGroup))
                ->objectForKey(zu::kSecValueData),
            Value(Dictionary{}));
}

TEST_F(ZuKeychainItemWrapperTest, APayloadThatIsNotAPropertyListIsReportedAndNotStored) {
  const auto wrapper = ZuKeychainItemWrapper::initWithIdentifier(Value("token"), Value(kGroup));
  zukit::test::StderrCapture console;
  wrapper->setObject(Value(zu::Array{Value("fine"), Value::null()}), zu::kSecValueData);
  const std::vector<std::string> lines = zukit::test::consoleMessages(console.text());
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0],
            "dictionaryToSecItemFormat: Error! Error Domain=NSCocoaErrorDomain Code=3851 "
            "\"Property list invalid for format: 100 (property lists cannot contain objects of "
            "this type)\" UserInfo={NSLocalizedDescription=Property list invalid for format: 100 "
            "(property lists cannot contain objects of this type)}");
  // The map keeps the value; the keychain refuses an item whose secret is not bytes.
  EXPECT_EQ(wrapper->objectForKey(zu::kSecValueData).count(), 2U);
  EXPECT_TRUE(storedItems(kGroup).empty());
}

TEST_F(ZuKeychainItemWrapperTest, AnItemWhosePayloadCannotBeFetchedKeepsReturnDataSet) {
  // A store file written elsewhere, whose item carries an attribute this store does not take in
  // queries: the item is found, but the search for its payload is refused.
  const Dictionary attributes{
      {zu::kSecClass, Value("genp")},           {zu::kSecAttrAccount, Value("")},
      {zu::kSecAttrService, Value("")},         {zu::kSecAttrGeneric, Value("token")},
      {zu::kSecAttrAccessGroup, Value(kGroup)}, {"tomb", Value(0)}};
  const std::string payload = "<plist version=\"1.0\"><string>hidden</string></plist>";
  const Value file(
      Dictionary{{"items", Value(zu::Array{Value(Dictionary{
                               {"attributes", Value(attributes)},
                               {"data", Value(zu::Data(payload.begin(), payload.end()))}})})}});
  std::filesystem::create_directories(zukit::test::keychainDirectory());
  const auto bytes = zu::NSPropertyListSerialization::dataWithPropertyList(
      file, zu::NSPropertyListBinaryFormat_v1_0, 0);
  ASSERT_EQ(zu::writeFileAtomically(zukit::test::keychainDirectory() + "/" + kGroup + ".keychain",
                                    *bytes, 0600),
            0);

  zukit::test::StderrCapture console;
  const auto wrapper = ZuKeychainItemWrapper::initWithIdentifier(Value("token"), Value(kGroup));
  EXPECT_EQ(zukit::test::consoleMessages(console.text()),
            std::vector<std::string>{"secItemFormatToDictionary: format error."});
  EXPECT_EQ(wrapper->objectForKey(zu::kSecReturnData), Value(true));
  EXPECT_TRUE(wrapper->objectForKey(zu::kSecValueData).isAbsent());
  EXPECT_EQ(wrapper->objectForKey("tomb"), Value(0));
  // A change cannot be written back through such a map; the stored payload stays.
  wrapper->setObject(Value("replacement"), zu::kSecValueData);
  ASSERT_EQ(storedItems(kGroup).size(), 1U);
  EXPECT_EQ(text(storedItems(kGroup)[0].objectForKey(zu::kSecValueData)), payload);
}

TEST_F(ZuKeychainItemWrapperTest, AKeychainFileKeptAsideByAWriteIsLoggedAtLevelFive) {
  const std::string path = zukit::test::keychainDirectory() + "/" + kGroup + ".keychain";
  std::filesystem::create_directories(zukit::test::keychainDirectory());
  std::ofstream(path, std::ios::binary) << "not a keychain";
  ZuLogger::configLogLevel(ZuLogLevelAll);
  const zukit::test::StderrCapture console;
  const auto wrapper = ZuKeychainItemWrapper::initWithIdentifier(Value("token"), Value(kGroup));
  EXPECT_EQ(wrapper->objectForKey(zu::kSecAttrAccount), Value(""));
  EXPECT_TRUE(zukit::test::logMessages().empty()) << "reading alone reports nothing";
  wrapper->setObject(Value("secret"), zu::kSecValueData);

  const std::string report = "SecItem: the keychain file " + path +
                             " is not a keychain; it was kept aside as " + path +
                             ".corrupt and the group starts anew";
  EXPECT_EQ(zukit::test::logMessages(), std::vector<std::string>{report});
  EXPECT_NE(console.text().find("[Zu][Error] ********************\n[ZuKeychainItemWrapper "
                                "writeToKeychain]\n" +
                                report),
            std::string::npos)
      << console.text();
  EXPECT_EQ(zukit::test::readFile(path + ".corrupt"), "not a keychain");
  EXPECT_EQ(ZuKeychainItemWrapper::initWithIdentifier(Value("token"), Value(kGroup))
                ->objectForKey(zu::kSecValueData),
            Value("secret"));
}

TEST_F(ZuKeychainItemWrapperTest, AnItemAddedByOneProcessIsReadAndUpdatedByAnother) {
  const auto added = zukit::test::runProbe({"keychain", "shared", kGroup, "set", "from probe"});
  ASSERT_EQ(added.exitCode, 0) << added.standardError;
  const auto here = ZuKeychainItemWrapper::initWithIdentifier(Value("shared"), Value(kGroup));
  EXPECT_EQ(here->objectForKey(zu::kSecValueData), Value("from probe"));
  here->setObject(Value("from test"), zu::kSecValueData);
  const auto updated = zukit::test::runProbe(
      {"keychain", "shared", kGroup, "get", "set", "from probe again", "get"});
  EXPECT_EQ(updated.standardOutput, "value: from test\nvalue: from probe again\n");
  EXPECT_EQ(ZuKeychainItemWrapper::initWithIdentifier(Value("shared"), Value(kGroup))
                ->objectForKey(zu::kSecValueData),
            Value("from probe again"));
  EXPECT_EQ(storedItems(kGroup).size(), 1U);
}

}  // namespace
