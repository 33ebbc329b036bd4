#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "tests/storage/StoreTestSupport.h"
#include "tests/support/Probe.h"
#include "zukit/platform/foundation/BinaryPropertyList.h"
#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/foundation/NSBundle.h"
#include "zukit/platform/security/SecItem.h"

namespace {

using zu::Dictionary;
using zu::Value;

zu::Data bytes(const std::string& text) {
  return {text.begin(), text.end()};
}

Dictionary genericPassword(Dictionary attributes) {
  attributes.setObject(Value(zu::kSecClassGenericPassword), zu::kSecClass);
  return attributes;
}

std::string groupFile(const std::string& group) {
  return zukit::test::keychainDirectory() + "/" + group + ".keychain";
}

mode_t modeOf(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return 0;
  return status.st_mode & 07777;
}

Value findOne(const Dictionary& match) {
  Dictionary query = genericPassword(match);
  query.setObject(Value(true), zu::kSecReturnAttributes);
  query.setObject(Value(true), zu::kSecReturnData);
  Value result;
  if (zu::SecItemCopyMatching(query, &result) != zu::errSecSuccess) return {};
  return result;
}

std::size_t countAll(const Dictionary& match) {
  Dictionary query = genericPassword(match);
  query.setObject(Value(zu::kSecMatchLimitAll), zu::kSecMatchLimit);
  query.setObject(Value(true), zu::kSecReturnAttributes);
  Value result;
  if (zu::SecItemCopyMatching(query, &result) != zu::errSecSuccess) return 0;
  return result.count();
}

TEST(SecItemTest, AddFindUpdateAndDeleteOneItemInItsGroupFile) {
  const Dictionary item = genericPassword({{zu::kSecAttrAccessGroup, Value("group.alpha")},
                                           {zu::kSecAttrAccount, Value("alice")},
                                           {zu::kSecAttrService, Value("mail")},
                                           {zu::kSecAttrLabel, Value("Mail password")},
                                           {zu::kSecValueData, Value(bytes("pw-1"))}});
  ASSERT_EQ(zu::SecItemAdd(item, nullptr), zu::errSecSuccess);
  EXPECT_EQ(modeOf(groupFile("group.alpha")), 0600U);
  EXPECT_EQ(modeOf(zukit::test::keychainDirectory()), 0700U);

  const Value found = findOne({{zu::kSecAttrAccount, Value("alice")}});
  ASSERT_TRUE(found.isDictionary());
  const Dictionary& attributes = *found.asDictionary();
  EXPECT_EQ(attributes.objectForKey(zu::kSecClass), Value("genp"));
  EXPECT_EQ(attributes.objectForKey(zu::kSecAttrAccount), Value("alice"));
  EXPECT_EQ(attributes.objectForKey(zu::kSecAttrService), Value("mail"));
  EXPECT_EQ(attributes.objectForKey(zu::kSecAttrLabel), Value("Mail password"));
  EXPECT_EQ(attributes.objectForKey(zu::kSecAttrAccessGroup), Value("group.alpha"));
  EXPECT_EQ(attributes.objectForKey(zu::kSecValueData), Value(bytes("pw-1")));
  ASSERT_TRUE(attributes.objectForKey(zu::kSecAttrCreationDate).isDate());
  const double now = zu::Date::date().timeIntervalSince1970();
  EXPECT_NEAR(attributes.objectForKey(zu::kSecAttrCreationDate).asDate()->timeIntervalSince1970(),
              now, 5.0);

  // Data alone comes back as bytes; nothing asked gives success with no result.
  Value data;
  ASSERT_EQ(zu::SecItemCopyMatching(genericPassword({{zu::kSecAttrService, Value("mail")},
                                                     {zu::kSecReturnData, Value(true)}}),
                                    &data),
            zu::errSecSuccess);
  EXPECT_EQ(data, Value(bytes("pw-1")));
  Value nothing("untouched");
  EXPECT_EQ(
      zu::SecItemCopyMatching(genericPassword({{zu::kSecAttrService, Value("mail")}}), &nothing),
      zu::errSecSuccess);
  EXPECT_TRUE(nothing.isAbsent());

  ASSERT_EQ(zu::SecItemUpdate(genericPassword({{zu::kSecAttrAccount, Value("alice")}}),
                              Dictionary{{zu::kSecValueData, Value(bytes("pw-2"))},
                                         {zu::kSecAttrLabel, Value("renamed")}}),
            zu::errSecSuccess);
  const Value updated = findOne({{zu::kSecAttrAccount, Value("alice")}});
  EXPECT_EQ(updated.asDictionary()->objectForKey(zu::kSecValueData), Value(bytes("pw-2")));
  EXPECT_EQ(updated.asDictionary()->objectForKey(zu::kSecAttrLabel), Value("renamed"));
  EXPECT_EQ(updated.asDictionary()->objectForKey(zu::kSecAttrService), Value("mail"));

  EXPECT_EQ(zu::SecItemUpdate(genericPassword({{zu::kSecAttrAccount, Value("bob")}}),
                              Dictionary{{zu::kSecValueData, Value(bytes("x"))}}),
            zu::errSecItemNotFound);
  ASSERT_EQ(zu::SecItemDelete(genericPassword({{zu::kSecAttrAccount, Value("alice")}})),
            zu::errSecSuccess);
  EXPECT_TRUE(findOne({{zu::kSecAttrAccount, Value("alice")}}).isAbsent());
  EXPECT_EQ(zu::SecItemDelete(genericPassword({{zu::kSecAttrAccount, Value("alice")}})),
            zu::errSecItemNotFound);
}

TEST(SecItemTest, DuplicatesAreJudgedByGroupAccountAndService) {
  const auto add = [](const char* group, const char* account, const char* service,
                      const char* generic) {
    Dictionary attributes = genericPassword(
        {{zu::kSecAttrAccessGroup, Value(group)}, {zu::kSecAttrGeneric, Value(generic)}});
    if (account != nullptr) attributes.setObject(Value(account), zu::kSecAttrAccount);
    if (service != nullptr) attributes.setObject(Value(service), zu::kSecAttrService);
    return zu::SecItemAdd(attributes, nullptr);
  };
  EXPECT_EQ(add("g1", "a", "s", "one"), zu::errSecSuccess);
  EXPECT_EQ(add("g1", "a", "s", "two"), zu::errSecDuplicateItem);
  EXPECT_EQ(add("g2", "a", "s", "two"), zu::errSecSuccess);
  EXPECT_EQ(add("g1", "a", "other", "two"), zu::errSecSuccess);
  // Without account and service both are "", so items told apart by the generic attribute alone
  // are duplicates.
  EXPECT_EQ(add("g3", nullptr, nullptr, "first"), zu::errSecSuccess);
  EXPECT_EQ(add("g3", nullptr, nullptr, "second"), zu::errSecDuplicateItem);
  EXPECT_EQ(findOne({{zu::kSecAttrAccessGroup, Value("g3")}})
                .asDictionary()
                ->objectForKey(zu::kSecAttrAccount),
            Value(""));

  // An update that would make two items duplicates changes nothing.
  EXPECT_EQ(zu::SecItemUpdate(genericPassword({{zu::kSecAttrAccessGroup, Value("g1")},
                                               {zu::kSecAttrService, Value("other")}}),
                              Dictionary{{zu::kSecAttrService, Value("s")}}),
            zu::errSecDuplicateItem);
  EXPECT_EQ(
      countAll({{zu::kSecAttrAccessGroup, Value("g1")}, {zu::kSecAttrService, Value("other")}}),
      1U);

  // Moving an item to another group goes through the same rule.
  EXPECT_EQ(zu::SecItemUpdate(genericPassword({{zu::kSecAttrAccessGroup, Value("g1")},
                                               {zu::kSecAttrService, Value("s")}}),
                              Dictionary{{zu::kSecAttrAccessGroup, Value("g2")}}),
            zu::errSecDuplicateItem);
  ASSERT_EQ(zu::SecItemUpdate(genericPassword({{zu::kSecAttrAccessGroup, Value("g1")},
                                               {zu::kSecAttrService, Value("other")}}),
                              Dictionary{{zu::kSecAttrAccessGroup, Value("g4")}}),
            zu::errSecSuccess);
  EXPECT_EQ(countAll({{zu::kSecAttrAccessGroup, Value("g1")}}), 1U);
  EXPECT_EQ(findOne({{zu::kSecAttrAccessGroup, Value("g4")}})
                .asDictionary()
                ->objectForKey(zu::kSecAttrGeneric),
            Value("two"));
}

TEST(SecItemTest, DefaultGroupAndSearchesAcrossGroupsWithLimits) {
  const Value shared(zukit::test::uniqueName("shared-"));
  ASSERT_EQ(zu::SecItemAdd(genericPassword({{zu::kSecAttrAccount, Value("default")},
                                            {zu::kSecAttrGeneric, shared}}),
                           nullptr),
            zu::errSecSuccess);
  const std::string defaultGroup = *zu::NSBundle::mainBundle()->bundleIdentifier();
  EXPECT_TRUE(std::filesystem::exists(groupFile(defaultGroup)));
  for (const char* group : {"g-a", "g-b"}) {
    ASSERT_EQ(zu::SecItemAdd(genericPassword({{zu::kSecAttrAccessGroup, Value(group)},
                                              {zu::kSecAttrGeneric, shared}}),
                             nullptr),
              zu::errSecSuccess);
  }
  const Value one =
      findOne({{zu::kSecAttrGeneric, shared}, {zu::kSecAttrAccount, Value("default")}});
  EXPECT_EQ(one.asDictionary()->objectForKey(zu::kSecAttrAccessGroup), Value(defaultGroup));

  EXPECT_EQ(countAll({{zu::kSecAttrGeneric, shared}}), 3U);
  Value two;
  ASSERT_EQ(zu::SecItemCopyMatching(genericPassword({{zu::kSecAttrGeneric, shared},
                                                     {zu::kSecMatchLimit, Value(2)},
                                                     {zu::kSecReturnData, Value(true)}}),
                                    &two),
            zu::errSecSuccess);
  ASSERT_TRUE(two.isArray());
  EXPECT_EQ(two.count(), 2U);
  EXPECT_EQ(two.asArray()->front(), Value(zu::Data()));

  EXPECT_EQ(zu::SecItemDelete(genericPassword({{zu::kSecAttrGeneric, shared}})), zu::errSecSuccess);
  EXPECT_EQ(countAll({{zu::kSecAttrGeneric, shared}}), 0U);
}

TEST(SecItemTest, MalformedRequestsAreRefusedWithoutTouchingTheStore) {
  const Dictionary good = genericPassword(
      {{zu::kSecAttrAccessGroup, Value("g.malformed")}, {zu::kSecAttrAccount, Value("a")}});
  const auto with = [&good](const char* key, const Value& value) {
    Dictionary changed = good;
    changed.setObject(value, key);
    return changed;
  };
  Dictionary noClass = good;
  noClass.removeObjectForKey(zu::kSecClass);
  EXPECT_EQ(zu::SecItemAdd(noClass, nullptr), zu::errSecParam);
  EXPECT_EQ(zu::SecItemAdd(with(zu::kSecClass, Value(5)), nullptr), zu::errSecParam);
  EXPECT_EQ(zu::SecItemAdd(with(zu::kSecClass, Value("inet")), nullptr), zu::errSecUnimplemented);
  EXPECT_EQ(zu::SecItemAdd(with("bogus", Value(1)), nullptr), zu::errSecParam);
  EXPECT_EQ(zu::SecItemAdd(with(zu::kSecAttrAccount, Value::null()), nullptr), zu::errSecParam);
  EXPECT_EQ(zu::SecItemAdd(with(zu::kSecAttrAccount, Value(std::string("\xff\xfe"))), nullptr),
            zu::errSecParam);
  EXPECT_EQ(zu::SecItemAdd(with(zu::kSecAttrAccessGroup, Value("a/b")), nullptr), zu::errSecParam);
  EXPECT_EQ(zu::SecItemAdd(with(zu::kSecAttrAccessGroup, Value("..")), nullptr), zu::errSecParam);
  EXPECT_EQ(zu::SecItemAdd(with(zu::kSecAttrAccessGroup, Value("")), nullptr), zu::errSecParam);
  EXPECT_EQ(zu::SecItemAdd(with(zu::kSecAttrAccessGroup, Value::null()), nullptr), zu::errSecParam);
  EXPECT_EQ(zu::SecItemAdd(with(zu::kSecValueData, Value("text, not bytes")), nullptr),
            zu::errSecParam);
  EXPECT_EQ(zu::SecItemAdd(with(zu::kSecMatchLimit, Value(zu::kSecMatchLimitOne)), nullptr),
            zu::errSecParam);
  EXPECT_EQ(zu::SecItemCopyMatching(with(zu::kSecMatchLimit, Value("many")), nullptr),
            zu::errSecParam);
  EXPECT_EQ(zu::SecItemCopyMatching(with(zu::kSecMatchLimit, Value(0)), nullptr), zu::errSecParam);
  EXPECT_EQ(zu::SecItemCopyMatching(with(zu::kSecReturnData, Value("yes")), nullptr),
            zu::errSecParam);
  EXPECT_EQ(zu::SecItemUpdate(good, Dictionary{{zu::kSecClass, Value("genp")}}), zu::errSecParam);
  EXPECT_EQ(zu::SecItemUpdate(good, Dictionary{{zu::kSecReturnData, Value(true)}}),
            zu::errSecParam);
  EXPECT_EQ(zu::SecItemDelete(noClass), zu::errSecParam);
  EXPECT_FALSE(std::filesystem::exists(groupFile("g.malformed")));
  EXPECT_FALSE(std::filesystem::exists(groupFile("a")));
}

void writeFile(const std::string& path, const std::string& content) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

TEST(SecItemTest, EachDamagedGroupFileIsKeptAsideUnderANameOfItsOwnAndReported) {
  const std::string path = groupFile("g.corrupt-test");
  const Dictionary inGroup{{zu::kSecAttrAccessGroup, Value("g.corrupt-test")}};
  const zukit::test::StderrCapture console;
  for (const std::string suffix : {".corrupt", ".corrupt-2", ".corrupt-3"}) {
    const std::string garbage = "bplist00 this is not a store " + suffix + "\xff\x01";
    writeFile(path, garbage);
    EXPECT_TRUE(findOne(inGroup).isAbsent());
    EXPECT_EQ(zu::SecItemDelete(genericPassword(inGroup)), zu::errSecItemNotFound);
    EXPECT_EQ(zukit::test::readFile(path), garbage) << "reads and finds leave the file alone";

    Dictionary item = genericPassword(inGroup);
    item.setObject(Value(bytes("fresh")), zu::kSecValueData);
    ASSERT_EQ(zu::SecItemAdd(item, nullptr), zu::errSecSuccess);
    EXPECT_EQ(zukit::test::readFile(path + suffix), garbage) << suffix;
    EXPECT_EQ(findOne(inGroup).asDictionary()->objectForKey(zu::kSecValueData),
              Value(bytes("fresh")));
    const std::string line = zu::format(
        "SecItem: the keychain file %@ is not a keychain; it was kept aside as %@%@ and the "
        "group starts anew",
        path, path, suffix);
    EXPECT_NE(console.text().find(line), std::string::npos) << console.text();
  }
}

TEST(SecItemTest, AGroupFileWithLatin1AttributeKeysKeepsEveryItemThroughEveryWrite) {
  const std::string group = "g.latin1";
  auto stored = [&group](const std::string& account) {
    return Value(Dictionary{
        {"attributes", Value(Dictionary{{zu::kSecClass, Value(zu::kSecClassGenericPassword)},
                                        {zu::kSecAttrAccessGroup, Value(group)},
                                        {zu::kSecAttrAccount, Value(account)},
                                        {zu::kSecAttrService, Value("")},
                                        {"XtX", Value("kept")}})},
        {"data", Value(bytes("secret " + account))}});
  };
  const auto written = zu::BinaryPropertyList::write(
      Value(Dictionary{{"items", Value(zu::Array{stored("a"), stored("b")})}}));
  ASSERT_TRUE(written);
  // Another writer stored the key as Latin-1 bytes in an ASCII string: "\xE9t\xE9".
  std::string file(written->begin(), written->end());
  for (std::size_t at = file.find("XtX"); at != std::string::npos; at = file.find("XtX")) {
    file.replace(at, 3, "\xE9t\xE9");
  }
  writeFile(groupFile(group), file);

  const Dictionary inGroup{{zu::kSecAttrAccessGroup, Value(group)}};
  auto expectBoth = [&](const char* step) {
    for (const std::string account : {"a", "b"}) {
      Dictionary match = inGroup;
      match.setObject(Value(account), zu::kSecAttrAccount);
      const Value found = findOne(match);
      ASSERT_TRUE(found.isDictionary()) << step << ": " << account;
      EXPECT_EQ(found.asDictionary()->objectForKey("\xC3\xA9t\xC3\xA9"), Value("kept")) << step;
      EXPECT_EQ(found.asDictionary()->objectForKey(zu::kSecValueData),
                Value(bytes("secret " + account)))
          << step;
    }
  };
  expectBoth("as found");
  Dictionary third = genericPassword(inGroup);
  third.setObject(Value("c"), zu::kSecAttrAccount);
  ASSERT_EQ(zu::SecItemAdd(third, nullptr), zu::errSecSuccess);
  expectBoth("after an add");
  Dictionary accountB = genericPassword(inGroup);
  accountB.setObject(Value("b"), zu::kSecAttrAccount);
  ASSERT_EQ(zu::SecItemUpdate(accountB, {{zu::kSecAttrLabel, Value("changed")}}),
            zu::errSecSuccess);
  expectBoth("after an update");
  Dictionary accountC = genericPassword(inGroup);
  accountC.setObject(Value("c"), zu::kSecAttrAccount);
  ASSERT_EQ(zu::SecItemDelete(accountC), zu::errSecSuccess);
  expectBoth("after a delete");
  EXPECT_FALSE(std::filesystem::exists(groupFile(group) + ".corrupt"));
  EXPECT_EQ(countAll(inGroup), 2U);
}

TEST(SecItemTest, EntriesTheStoreDoesNotKnowAreWrittenBackAsTheyWere) {
  const std::string group = "g.foreign";
  const Value odd(Dictionary{{"note", Value("not an item")}});
  const auto written = zu::BinaryPropertyList::write(Value(
      Dictionary{{"version", Value(7)}, {"items", Value(zu::Array{odd, Value("loose text")})}}));
  ASSERT_TRUE(written);
  writeFile(groupFile(group), std::string(written->begin(), written->end()));
  Dictionary item = genericPassword({{zu::kSecAttrAccessGroup, Value(group)}});
  ASSERT_EQ(zu::SecItemAdd(item, nullptr), zu::errSecSuccess);
  const std::string after = zukit::test::readFile(groupFile(group));
  const Value file = *zu::BinaryPropertyList::read(zu::Data(after.begin(), after.end()));
  EXPECT_EQ(file.asDictionary()->objectForKey("version"), Value(7));
  const Value items = file.asDictionary()->objectForKey("items");
  const zu::Array& entries = *items.asArray();
  ASSERT_EQ(entries.size(), 3U);
  EXPECT_EQ(entries[1], odd);
  EXPECT_EQ(entries[2], Value("loose text"));
  EXPECT_EQ(countAll({{zu::kSecAttrAccessGroup, Value(group)}}), 1U);
}

TEST(SecItemTest, AGroupFileThatCannotBeReadIsLeftAloneAndChangesAreRefused) {
  // A directory where the file should be: it opens, but cannot be read.
  const std::string path = groupFile("g.unreadable");
  std::filesystem::create_directories(path + "/inside");
  const zukit::test::StderrCapture console;
  Dictionary item = genericPassword({{zu::kSecAttrAccessGroup, Value("g.unreadable")}});
  EXPECT_EQ(zu::SecItemAdd(item, nullptr), zu::errSecIO);
  EXPECT_TRUE(std::filesystem::is_directory(path + "/inside"));
  EXPECT_FALSE(std::filesystem::exists(path + ".corrupt"));
  EXPECT_NE(console.text().find("SecItem: the keychain file " + path +
                                " cannot be read (Is a directory); it is left as it is"),
            std::string::npos)
      << console.text();
}

TEST(SecItemTest, AGroupChangedByAnotherProcessIsReadAgainAndKeptByTheNextWriteHere) {
  const Dictionary group{{zu::kSecAttrAccessGroup, Value("g.shared")}};
  Dictionary mine = genericPassword(group);
  mine.setObject(Value("here-0"), zu::kSecAttrAccount);
  ASSERT_EQ(zu::SecItemAdd(mine, nullptr), zu::errSecSuccess);
  EXPECT_EQ(countAll(group), 1U);

  // Another process adds to the group this one has just read and written.
  const auto added = zukit::test::runProbe({"keychain-add-many", "g.shared", "there", "2"});
  ASSERT_EQ(added.standardOutput, "failed: 0\n") << added.standardError;
  EXPECT_EQ(countAll(group), 3U);
  EXPECT_TRUE(findOne({{zu::kSecAttrAccessGroup, Value("g.shared")},
                       {zu::kSecAttrAccount, Value("there-1")}})
                  .isDictionary());
  // Its items are duplicates here too, and the next write here keeps them.
  Dictionary theirs = genericPassword(group);
  theirs.setObject(Value("there-0"), zu::kSecAttrAccount);
  EXPECT_EQ(zu::SecItemAdd(theirs, nullptr), zu::errSecDuplicateItem);
  mine.setObject(Value("here-1"), zu::kSecAttrAccount);
  ASSERT_EQ(zu::SecItemAdd(mine, nullptr), zu::errSecSuccess);
  EXPECT_EQ(countAll(group), 4U);

  // A file replaced behind the store's back by one that is no keychain reads as empty.
  {
    std::ofstream out(groupFile("g.shared"), std::ios::binary | std::ios::trunc);
    out << "not a keychain";
  }
  EXPECT_EQ(countAll(group), 0U);
}

TEST(SecItemTest, ConcurrentWritersInTwoProcessesAndThisOneLoseNothing) {
  constexpr int kPerWriter = 60;
  auto first = std::async(std::launch::async, [] {
    return zukit::test::runProbe(
        {"keychain-add-many", "g.race", "first", std::to_string(kPerWriter)});
  });
  auto second = std::async(std::launch::async, [] {
    return zukit::test::runProbe(
        {"keychain-add-many", "g.race", "second", std::to_string(kPerWriter)});
  });
  int failedHere = 0;
  for (int i = 0; i < kPerWriter; ++i) {
    const Dictionary attributes =
        genericPassword({{zu::kSecAttrAccessGroup, Value("g.race")},
                         {zu::kSecAttrAccount, Value("third-" + std::to_string(i))}});
    if (zu::SecItemAdd(attributes, nullptr) != zu::errSecSuccess) ++failedHere;
  }
  const auto firstResult = first.get();
  const auto secondResult = second.get();
  EXPECT_EQ(firstResult.exitCode, 0) << firstResult.standardError;
  EXPECT_EQ(firstResult.standardOutput, "failed: 0\n");
  EXPECT_EQ(secondResult.standardOutput, "failed: 0\n");
  EXPECT_EQ(failedHere, 0);

  Value all;
  ASSERT_EQ(
      zu::SecItemCopyMatching(genericPassword({{zu::kSecAttrAccessGroup, Value("g.race")},
                                               {zu::kSecMatchLimit, Value(zu::kSecMatchLimitAll)},
                                               {zu::kSecReturnAttributes, Value(true)}}),
                              &all),
      zu::errSecSuccess);
  std::set<std::string> accounts;
  for (const Value& item : *all.asArray()) {
    accounts.insert(*item.asDictionary()->objectForKey(zu::kSecAttrAccount).asString());
  }
  EXPECT_EQ(accounts.size(), 3U * kPerWriter);
  EXPECT_TRUE(accounts.count("first-59") == 1 && accounts.count("second-0") == 1 &&
              accounts.count("third-30") == 1);
}

}  // namespace
