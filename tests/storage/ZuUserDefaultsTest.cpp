#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/storage/StoreTestSupport.h"
#include "tests/support/Probe.h"
#include "zukit/platform/foundation/NSBundle.h"
#include "zukit/platform/foundation/NSPropertyListSerialization.h"
#include "zukit/platform/foundation/NSUserDefaults.h"
#include "zukit/storage/ZuUserDefaults.h"

namespace {

using zu::Value;

// What the preference file of `domain` holds now.
Value fileContents(const std::string& domain) {
  const std::string text = zukit::test::readFile(zu::NSUserDefaults::pathForDomain(domain));
  if (text.empty()) return {};
  return zu::NSPropertyListSerialization::propertyListWithData(zu::Data(text.begin(), text.end()),
                                                               0);
}

TEST(ZuUserDefaultsTest, TheSharedInstanceKeepsTheFirstNameForEveryLaterCall) {
  const auto first = ZuUserDefaults::defaultsWithName(Value("SuiteA"));
  const auto second = ZuUserDefaults::defaultsWithName(Value("SuiteB"));
  ASSERT_EQ(first, second);
  EXPECT_EQ(second->name(), Value("SuiteA"));
  first->setObject(Value("one"), "first");
  second->setInteger(2, "second");
  // Each write reached the file at once.
  EXPECT_EQ(fileContents("SuiteA"),
            Value(zu::Dictionary{{"first", Value("one")}, {"second", Value(2)}}));
  EXPECT_FALSE(std::filesystem::exists(zu::NSUserDefaults::pathForDomain("SuiteB")));
  EXPECT_EQ(second->objectForKey("first"), Value("one"));
  EXPECT_EQ(first->integerForKey("second"), 2);

  // A second suite needs an instance of its own.
  const auto other = ZuUserDefaults::initWithName(Value("SuiteB"));
  EXPECT_NE(other, first);
  other->setObject(Value("b"), "only-b");
  EXPECT_EQ(fileContents("SuiteB"), Value(zu::Dictionary{{"only-b", Value("b")}}));
  EXPECT_TRUE(first->objectForKey("only-b").isAbsent());
}

TEST(ZuUserDefaultsTest, ValuesIntegersAndRemovalsBehaveAsInTheStore) {
  const auto defaults = ZuUserDefaults::initWithName(Value("Values"));
  defaults->setInteger(-42, "count");
  EXPECT_EQ(defaults->integerForKey("count"), -42);
  EXPECT_EQ(defaults->integerForKey("unknown"), 0);
  EXPECT_TRUE(defaults->objectForKey("unknown").isAbsent());
  const Value nested(zu::Dictionary{{"list", Value(zu::Array{Value(1.5), Value(true)})},
                                    {"bytes", Value(zu::Data{9, 8})}});
  defaults->setObject(nested, "nested");
  EXPECT_EQ(ZuUserDefaults::initWithName(Value("Values"))->objectForKey("nested"), nested);
  defaults->setObject(Value("12 monkeys"), "text");
  EXPECT_EQ(defaults->integerForKey("text"), 12);
  defaults->setObject(Value(), "count");
  EXPECT_TRUE(defaults->objectForKey("count").isAbsent());
  EXPECT_EQ(defaults->integerForKey("count"), 0);
  EXPECT_TRUE(fileContents("Values").asDictionary()->find("count") == nullptr);

  // NSNull is not a property list: the store refuses it with a console line and keeps the old
  // value.
  zukit::test::StderrCapture console;
  defaults->setObject(Value::null(), "text");
  EXPECT_EQ(defaults->objectForKey("text"), Value("12 monkeys"));
  const auto lines = zukit::test::consoleMessages(console.text());
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0],
            "Attempt to set a non-property-list object <null> as a preferences value for key text");
}

TEST(ZuUserDefaultsTest, UnusableNamesUseTheStandardStoreAndImpossibleOnesNoStore) {
  const auto standard = zu::NSUserDefaults::standardUserDefaults();
  for (const Value& name : {Value(), Value::null(), Value("")}) {
    const auto defaults = ZuUserDefaults::initWithName(name);
    defaults->setObject(Value(name.description()), "written-" + name.description());
    EXPECT_EQ(standard->objectForKey("written-" + name.description()), Value(name.description()));
  }
  const std::string bundle = *zu::NSBundle::mainBundle()->bundleIdentifier();
  EXPECT_EQ(fileContents(bundle).asDictionary()->objectForKey("written-<null>"), Value("<null>"));

  // A "/" cannot name a suite: nothing is written anywhere and nothing is read.
  const auto impossible = ZuUserDefaults::initWithName(Value("a/b"));
  impossible->setObject(Value("x"), "key");
  impossible->setInteger(5, "number");
  EXPECT_TRUE(impossible->objectForKey("key").isAbsent());
  EXPECT_EQ(impossible->integerForKey("number"), 0);
  EXPECT_FALSE(
      std::filesystem::exists(zukit::test::TestHome::current() + "/.config/zukit/preferences/a"));
  EXPECT_TRUE(standard->objectForKey("key").isAbsent());
}

TEST(ZuUserDefaultsTest, ADamagedPreferenceFileIsKeptAsideAndLoggedAtLevelFive) {
  const std::string path = zu::NSUserDefaults::pathForDomain("Damaged");
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  const std::string damaged = "<?xml version=\"1.0\"?><plist><dict><key>half";
  std::ofstream(path, std::ios::binary) << damaged;
  ZuLogger::configLogLevel(ZuLogLevelAll);
  const zukit::test::StderrCapture console;
  const auto defaults = ZuUserDefaults::initWithName(Value("Damaged"));
  EXPECT_TRUE(defaults->objectForKey("half").isAbsent());
  EXPECT_EQ(defaults->integerForKey("half"), 0);
  defaults->setInteger(7, "repaired");
  EXPECT_EQ(fileContents("Damaged"), Value(zu::Dictionary{{"repaired", Value(7)}}));
  EXPECT_EQ(zukit::test::readFile(path + ".corrupt"), damaged);
  const std::string report = "NSUserDefaults: the preferences file " + path +
                             " is damaged; it was kept aside as " + path + ".corrupt";
  EXPECT_EQ(zukit::test::logMessages(), std::vector<std::string>{report});
  EXPECT_NE(console.text().find("[Zu][Error] ********************\n[ZuUserDefaults "
                                "setInteger:forKey:]\n" +
                                report),
            std::string::npos)
      << console.text();
}

TEST(ZuUserDefaultsTest, ASuiteWrittenByOneProcessIsReadByAnother) {
  const auto written = zukit::test::runProbe({"defaults", "Shared", "set", "greeting", "你好"});
  ASSERT_EQ(written.exitCode, 0) << written.standardError;
  const auto shared = ZuUserDefaults::initWithName(Value("Shared"));
  EXPECT_EQ(shared->objectForKey("greeting"), Value("你好"));
  shared->setObject(Value("back"), "reply");
  EXPECT_EQ(zukit::test::runProbe({"defaults", "Shared", "get", "reply"}).standardOutput,
            "value: back\n");
  // What the other process writes later is read here at once, this process writing nothing.
  ASSERT_EQ(zukit::test::runProbe({"defaults", "Shared", "set", "greeting", "again"}).exitCode, 0);
  EXPECT_EQ(shared->objectForKey("greeting"), Value("again"));
  ASSERT_EQ(
      zukit::test::runProbe({"platform-defaults", "date", "Shared", "when", "1700000000.0000001"})
          .exitCode,
      0);
  EXPECT_EQ(shared->objectForKey("when"),
            Value(zu::Date::dateWithTimeIntervalSince1970(1700000000.0000001)));
}

}  // namespace
