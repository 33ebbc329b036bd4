#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Probe.h"
#include "tests/support/StderrCapture.h"
#include "zukit/platform/foundation/NSUserDefaults.h"

namespace {

using zu::NSUserDefaults;
using zu::Value;
using zukit::test::runProbe;

TEST(NSUserDefaults, KeepsValuesInAPropertyListFileWrittenOnSynchronize) {
  const auto defaults = NSUserDefaults::initWithSuiteName(Value("group.example.tests"));
  ASSERT_NE(defaults, nullptr);
  defaults->setObject(Value(zu::Array{"a", "b"}), "strings");
  defaults->setObject(Value(zu::Data{1, 2, 3}), "blob");
  defaults->setInteger(-7, "number");
  EXPECT_FALSE(std::filesystem::exists(defaults->path()))
      << "nothing is written before synchronize";
  ASSERT_TRUE(defaults->synchronize());
  const std::string file = zukit::test::readFile(defaults->path());
  EXPECT_NE(file.find("<key>strings</key>"), std::string::npos);
  EXPECT_NE(file.find("<integer>-7</integer>"), std::string::npos);
  EXPECT_EQ(defaults->arrayForKey("strings"), (zu::Array{"a", "b"}));
  EXPECT_EQ(defaults->dataForKey("blob"), (zu::Data{1, 2, 3}));

  defaults->setObject(Value(), "number");
  EXPECT_EQ(defaults->integerForKey("number"), 0) << "an absent value removes the key";
  EXPECT_EQ(defaults->integerForKey("never"), 0);
  defaults->setObject(Value("12abc"), "text");
  EXPECT_EQ(defaults->integerForKey("text"), 12);
  EXPECT_EQ(defaults->stringForKey("text"), "12abc");

  // Another store of the same suite in this process sees the same values at once.
  EXPECT_EQ(NSUserDefaults::initWithSuiteName(Value("group.example.tests"))->stringForKey("text"),
            "12abc");
}

TEST(NSUserDefaults, RefusesValuesThatAreNotPropertyListsAndNamesThatCannotBeDomains) {
  const zukit::test::StderrCapture capture;
  const auto defaults = NSUserDefaults::standardUserDefaults();
  defaults->setObject(Value::null(), "null");
  defaults->setObject(Value(zu::Array{1, Value::null()}), "nested");
  EXPECT_TRUE(defaults->objectForKey("null").isAbsent());
  EXPECT_TRUE(defaults->objectForKey("nested").isAbsent());
  EXPECT_NE(capture.text().find("Attempt to set a non-property-list object <null> as a preferences "
                                "value for key null"),
            std::string::npos);
  for (const Value& name :
       {Value("a/b"), Value(".hidden"), Value("NSGlobalDomain"), Value(std::string(300, 'x'))}) {
    EXPECT_EQ(NSUserDefaults::initWithSuiteName(name), nullptr) << name.description();
  }
  for (const Value& name : {Value(), Value::null(), Value("")}) {
    EXPECT_EQ(NSUserDefaults::initWithSuiteName(name)->path(), defaults->path());
  }
}

TEST(NSUserDefaults, ReadsACorruptFileAsEmptyAndReplacesItOnTheNextWrite) {
  const std::string path = NSUserDefaults::pathForDomain("corrupt.suite");
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path) << "<plist><dict><key>broken";
  const auto defaults = NSUserDefaults::initWithSuiteName(Value("corrupt.suite"));
  EXPECT_TRUE(defaults->dictionaryRepresentation().empty());
  defaults->setObject(Value("fresh"), "key");
  ASSERT_TRUE(defaults->synchronize());
  EXPECT_NE(zukit::test::readFile(path).find("<string>fresh</string>"), std::string::npos);
}

TEST(NSUserDefaults, AnotherProcessSeesWhatOneSynchronised) {
  const auto written = runProbe({"platform-defaults", "set", "shared.suite", "greeting", "你好"});
  ASSERT_EQ(written.exitCode, 0) << written.standardError;
  const auto defaults = NSUserDefaults::initWithSuiteName(Value("shared.suite"));
  EXPECT_EQ(defaults->stringForKey("greeting"), "你好");

  defaults->setObject(Value("from the test"), "reply");
  ASSERT_TRUE(defaults->synchronize());
  const auto read = runProbe({"platform-defaults", "get", "shared.suite", "reply"});
  EXPECT_EQ(read.standardOutput, "from the test\n");

  // A value another process synchronised later shows up here after synchronize().
  runProbe({"platform-defaults", "set", "shared.suite", "greeting", "again"});
  EXPECT_EQ(defaults->stringForKey("greeting"), "你好");
  ASSERT_TRUE(defaults->synchronize());
  EXPECT_EQ(defaults->stringForKey("greeting"), "again");
}

TEST(NSUserDefaults, TwoProcessesWritingAtOnceLoseNothing) {
  std::vector<std::thread> runs;
  runs.reserve(2);
  std::vector<int> codes(2, -1);
  for (int i = 0; i < 2; ++i) {
    runs.emplace_back([i, &codes] {
      codes[static_cast<std::size_t>(i)] =
          runProbe({"platform-defaults", "count", "race.suite", "40", i == 0 ? "left" : "right"})
              .exitCode;
    });
  }
  for (std::thread& run : runs)
    run.join();
  EXPECT_EQ(codes, (std::vector<int>{0, 0}));
  const auto defaults = NSUserDefaults::initWithSuiteName(Value("race.suite"));
  ASSERT_TRUE(defaults->synchronize());
  for (int i = 0; i < 40; ++i) {
    EXPECT_EQ(defaults->integerForKey("left" + std::to_string(i)), i);
    EXPECT_EQ(defaults->integerForKey("right" + std::to_string(i)), i);
  }
}

}  // namespace
