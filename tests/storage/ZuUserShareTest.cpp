#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/storage/StoreTestSupport.h"
#include "tests/support/Probe.h"
#include "tests/support/StderrCapture.h"
#include "zukit/core/ZuLogger.h"
#include "zukit/storage/ZuUserShare.h"

namespace {

using zu::Value;

constexpr const char* kGroup = "group.cn.com.quorvel.share";

std::string cachesPath() {
  return zukit::test::containerPath(kGroup) + "/Library/Caches";
}

class ZuUserShareTest : public testing::Test {
 protected:
  void SetUp() override { zukit::test::declareAppGroups(kGroup); }

  std::shared_ptr<ZuUserShare> share = ZuUserShare::share();
};

TEST_F(ZuUserShareTest, EnvTypeIsOneFileHoldingItsDecimalTextAndTheWriteIsLogged) {
  share->setInteger(2, Value("envType"), Value(kGroup));
  const std::string file = cachesPath() + "/Zu_envType.json";
  EXPECT_EQ(zukit::test::readFile(file), "2");
  EXPECT_EQ(share->integerForKey(Value("envType"), Value(kGroup)), 2);
  EXPECT_EQ(share->objectForKey(Value("envType"), Value(kGroup)), "2");
  share->setInteger(-3, Value("envType"), Value(kGroup));
  EXPECT_EQ(zukit::test::readFile(file), "-3");

  const std::vector<std::string> messages = zukit::test::logMessages();
  const std::string url = "file://" + file;
  EXPECT_EQ(std::count(messages.begin(), messages.end(),
                       "数据写入共享文件成功，url : " + url + ", key : envType, value : 2"),
            1);
  EXPECT_EQ(std::count(messages.begin(), messages.end(),
                       "数据写入共享文件成功，url : " + url + ", key : envType, value : -3"),
            1);
  // The replacement went through a temporary file that is gone again.
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(cachesPath())) {
    names.push_back(entry.path().filename().string());
  }
  EXPECT_EQ(names, std::vector<std::string>{"Zu_envType.json"});
}

TEST_F(ZuUserShareTest, ValuesAreStoredAsTheirDescriptionAndReadAsIntegersByTheirLeadingDigits) {
  const Value domain(kGroup);
  const auto stored = [this, &domain](const Value& value, const char* key) {
    share->setObject(value, Value(key), domain);
    return zukit::test::readFile(cachesPath() + "/Zu_" + key + ".json");
  };
  EXPECT_EQ(stored(Value("abc"), "text"), "abc");
  EXPECT_EQ(share->objectForKey(Value("text"), domain), "abc");
  EXPECT_EQ(share->integerForKey(Value("text"), domain), 0);
  EXPECT_EQ(stored(Value(), "absent"), "(null)");
  EXPECT_EQ(share->integerForKey(Value("absent"), domain), 0);
  EXPECT_EQ(stored(Value::null(), "null"), "<null>");
  EXPECT_EQ(stored(Value(3.5), "real"), "3.5");
  EXPECT_EQ(stored(Value(""), "empty"), "");
  EXPECT_EQ(share->objectForKey(Value("empty"), domain), "");
  EXPECT_EQ(stored(Value(zu::Array{Value(1), Value("two words")}), "list"),
            "(\n    1,\n    \"two words\"\n)");
  EXPECT_EQ(stored(Value("12abc"), "mixed"), "12abc");
  EXPECT_EQ(share->integerForKey(Value("mixed"), domain), 12);
  stored(Value("  -7 apples"), "signed");
  EXPECT_EQ(share->integerForKey(Value("signed"), domain), -7);
  stored(Value("99999999999999999999"), "huge");
  EXPECT_EQ(share->integerForKey(Value("huge"), domain), std::numeric_limits<zu::NSInteger>::max());
  stored(Value("中文键值"), "中文");
  EXPECT_EQ(share->objectForKey(Value("中文"), domain), "中文键值");
  EXPECT_FALSE(share->objectForKey(Value("never-written"), domain));
  EXPECT_EQ(share->integerForKey(Value("never-written"), domain), 0);
}

TEST_F(ZuUserShareTest, MissingKeysAndDomainsWriteAndLogNothing) {
  const std::size_t before = zukit::test::logMessages().size();
  const std::string notUtf8 = "key\xff";
  for (const Value& bad : {Value(), Value::null(), Value(""), Value(5), Value(notUtf8)}) {
    share->setObject(Value("v"), bad, Value(kGroup));
    share->setObject(Value("v"), Value("key"), bad);
    share->setInteger(1, bad, Value(kGroup));
    EXPECT_FALSE(share->objectForKey(bad, Value(kGroup)));
    EXPECT_FALSE(share->objectForKey(Value("key"), bad));
    EXPECT_EQ(share->integerForKey(Value("key"), bad), 0);
  }
  EXPECT_EQ(zukit::test::logMessages().size(), before);
  EXPECT_FALSE(std::filesystem::exists(cachesPath() + "/Zu_key.json"));
}

TEST_F(ZuUserShareTest, WritesThatCannotHappenAreLoggedAsFailures) {
  // A group the program does not belong to has no container.
  share->setInteger(2, Value("envType"), Value("group.not.declared"));
  EXPECT_FALSE(share->objectForKey(Value("envType"), Value("group.not.declared")));
  // A "/" in the key asks for a directory that is not there...
  share->setObject(Value("nested"), Value("dir/name"), Value(kGroup));
  // ...and is used once it exists.
  std::filesystem::create_directories(cachesPath() + "/Zu_dir");
  share->setObject(Value("nested"), Value("dir/name"), Value(kGroup));
  EXPECT_EQ(zukit::test::readFile(cachesPath() + "/Zu_dir/name.json"), "nested");
  EXPECT_EQ(share->objectForKey(Value("dir/name"), Value(kGroup)), "nested");
  // Text that is not UTF-8 cannot be written as UTF-8, and such a file does not read back.
  share->setObject(Value(std::string("bad \xff bytes")), Value("bytes"), Value(kGroup));
  EXPECT_FALSE(std::filesystem::exists(cachesPath() + "/Zu_bytes.json"));
  {
    std::ofstream file(cachesPath() + "/Zu_raw.json", std::ios::binary);
    file << "\xfe\xff";
  }
  EXPECT_FALSE(share->objectForKey(Value("raw"), Value(kGroup)));

  const std::vector<std::string> messages = zukit::test::logMessages();
  const auto count = [&messages](const std::string& text) {
    return std::count(messages.begin(), messages.end(), text);
  };
  EXPECT_EQ(count("数据写入共享文件失败，key : envType, value : 2"), 1);
  EXPECT_EQ(count("数据写入共享文件失败，key : dir/name, value : nested"), 1);
  EXPECT_EQ(count("数据写入共享文件成功，url : file://" + cachesPath() +
                  "/Zu_dir/name.json, key : dir/name, value : nested"),
            1);
  EXPECT_EQ(count("数据写入共享文件失败，key : bytes, value : bad \xff bytes"), 1);
}

TEST_F(ZuUserShareTest, WritesAreLoggedAtTheDataLevelAndFailuresAtTheErrorLevel) {
  const std::string asterisks(20, '*');
  ZuLogger::configLogLevel(ZuLogLevelData);
  const zukit::test::StderrCapture console;
  share->setInteger(7, Value("levels"), Value(kGroup));
  share->setInteger(7, Value("levels"), Value("group.not.declared"));
  ZuLogger::configLogLevel(0);
  const std::string text = console.text();
  EXPECT_NE(text.find(" [Zu][Data] " + asterisks + "\n数据写入共享文件成功，url : file://" +
                      cachesPath() + "/Zu_levels.json, key : levels, value : 7\n"),
            std::string::npos)
      << text;
  // An error banner also names the function, without its first character.
  EXPECT_NE(text.find(" [Zu][Error] " + asterisks +
                      "\n[ZuUserShare setObject:forKey:domain:]\n数据写入共享文件失败，key : "
                      "levels, value : 7\n"),
            std::string::npos)
      << text;
}

TEST_F(ZuUserShareTest, AMissingCachesDirectoryMakesTheWriteFail) {
  const std::string group = "group.cn.com.quorvel.blocked";
  zukit::test::declareAppGroups(group);
  std::filesystem::create_directories(zukit::test::containerPath(group) + "/Library");
  {
    std::ofstream blocker(zukit::test::containerPath(group) + "/Library/Caches");
    blocker << "a file where the directory should be";
  }
  share->setObject(Value("v"), Value("key"), Value(group));
  EXPECT_FALSE(share->objectForKey(Value("key"), Value(group)));
  const std::vector<std::string> messages = zukit::test::logMessages();
  EXPECT_EQ(
      std::count(messages.begin(), messages.end(), "数据写入共享文件失败，key : key, value : v"),
      1);
}

TEST_F(ZuUserShareTest, ProgramsOfTheGroupReadWhatOthersWrote) {
  const std::map<std::string, std::string> environment{{"ZUKIT_APP_GROUPS", kGroup}};
  const auto written = zukit::test::runProbe({"share", "set", "envType", kGroup, "1"}, environment);
  ASSERT_EQ(written.exitCode, 0) << written.standardError;
  EXPECT_EQ(share->integerForKey(Value("envType"), Value(kGroup)), 1);
  share->setObject(Value("from the test"), Value("note"), Value(kGroup));
  EXPECT_EQ(zukit::test::runProbe({"share", "get", "note", kGroup}, environment).standardOutput,
            "text: from the test\n");
  EXPECT_EQ(
      zukit::test::runProbe({"share", "integer", "envType", kGroup}, environment).standardOutput,
      "integer: 1\n");
  // A program outside the group sees nothing.
  EXPECT_EQ(zukit::test::runProbe({"share", "get", "note", kGroup}, {{"ZUKIT_APP_GROUPS", ""}})
                .standardOutput,
            "no text\n");
}

}  // namespace
