#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Probe.h"
#include "tests/support/StderrCapture.h"
#include "tests/support/TestHome.h"
#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/foundation/NSBundle.h"
#include "zukit/platform/foundation/NSPropertyListSerialization.h"
#include "zukit/platform/foundation/NSUserDefaults.h"

namespace {

using zu::NSUserDefaults;
using zu::Value;
using zukit::test::runProbe;

zu::Data bytes(const std::string& text) {
  return {text.begin(), text.end()};
}

void writeFile(const std::string& path, const std::string& content) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

TEST(NSUserDefaults, KeepsValuesInAPropertyListFileWrittenOnSynchronize) {
  const auto defaults = NSUserDefaults::initWithSuiteName(Value("group.example.tests"));
  ASSERT_NE(defaults, nullptr);
  defaults->setObject(Value(zu::Array{"a", "b"}), "strings");
  defaults->setObject(Value(zu::Data{1, 2, 3}), "blob");
  defaults->setInteger(-7, "number");
  EXPECT_FALSE(std::filesystem::exists(defaults->path()))
      << "nothing is written before synchronize";
  ASSERT_TRUE(defaults->synchronize());
  // A binary property list, as the platform writes its preference files.
  const std::string file = zukit::test::readFile(defaults->path());
  EXPECT_EQ(file.substr(0, 8), "bplist00");
  EXPECT_EQ(zu::NSPropertyListSerialization::propertyListWithData(bytes(file), 0),
            Value(zu::Dictionary{{"strings", Value(zu::Array{"a", "b"})},
                                 {"blob", Value(zu::Data{1, 2, 3})},
                                 {"number", Value(-7)}}));
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

TEST(NSUserDefaults, ReadsXmlFilesOfEarlierVersionsAndRewritesThemAsBinary) {
  const std::string path = NSUserDefaults::pathForDomain("xml.suite");
  writeFile(path,
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
            "<key>name</key><string>old</string><key>count</key><integer>3</integer>"
            "</dict></plist>\n");
  const auto defaults = NSUserDefaults::initWithSuiteName(Value("xml.suite"));
  EXPECT_EQ(defaults->stringForKey("name"), "old");
  defaults->setInteger(4, "count");
  ASSERT_TRUE(defaults->synchronize());
  const std::string file = zukit::test::readFile(path);
  EXPECT_EQ(file.substr(0, 8), "bplist00");
  EXPECT_EQ(zu::NSPropertyListSerialization::propertyListWithData(bytes(file), 0),
            Value(zu::Dictionary{{"name", Value("old")}, {"count", Value(4)}}));
}

TEST(NSUserDefaults, DatesKeepTheirFractionOfASecond) {
  const auto defaults = NSUserDefaults::initWithSuiteName(Value("dates.suite"));
  const double now = zu::Date::date().timeIntervalSince1970();
  const Value dates(zu::Array{Value(zu::Date::dateWithTimeIntervalSince1970(now)),
                              Value(zu::Date::dateWithTimeIntervalSince1970(1700000000.123456789)),
                              Value(zu::Date::dateWithTimeIntervalSince1970(4102444800.25))});
  defaults->setObject(dates, "dates");
  ASSERT_TRUE(defaults->synchronize());
  const std::string file = zukit::test::readFile(defaults->path());
  EXPECT_EQ(zu::NSPropertyListSerialization::propertyListWithData(bytes(file), 0),
            Value(zu::Dictionary{{"dates", dates}}));

  // Another process reads the same instant, to the last bit, and this one what it stores.
  char expected[40];
  std::snprintf(expected, sizeof expected, "%.17g\n", now);
  defaults->setObject(Value(zu::Date::dateWithTimeIntervalSince1970(now)), "now");
  ASSERT_TRUE(defaults->synchronize());
  EXPECT_EQ(runProbe({"platform-defaults", "seconds", "dates.suite", "now"}).standardOutput,
            expected);
  ASSERT_EQ(runProbe({"platform-defaults", "date", "dates.suite", "later", "1700000000.5078125"})
                .exitCode,
            0);
  EXPECT_EQ(defaults->objectForKey("later"),
            Value(zu::Date::dateWithTimeIntervalSince1970(1700000000.5078125)));
}

TEST(NSUserDefaults, EachDamagedFileIsKeptAsideUnderANameOfItsOwnAndReported) {
  const std::string path = NSUserDefaults::pathForDomain("damaged.suite");
  const auto defaults = NSUserDefaults::initWithSuiteName(Value("damaged.suite"));
  const zukit::test::StderrCapture console;
  for (const std::string suffix : {".corrupt", ".corrupt-2"}) {
    const std::string garbage = "<plist><dict><key>broken" + suffix;
    writeFile(path, garbage);
    EXPECT_TRUE(defaults->dictionaryRepresentation().empty());
    EXPECT_TRUE(defaults->synchronize()) << "nothing to write: the file stays";
    EXPECT_EQ(zukit::test::readFile(path), garbage);

    defaults->setObject(Value("fresh"), "key");
    ASSERT_TRUE(defaults->synchronize());
    EXPECT_EQ(zukit::test::readFile(path + suffix), garbage);
    EXPECT_EQ(NSUserDefaults::initWithSuiteName(Value("damaged.suite"))->stringForKey("key"),
              "fresh");
    EXPECT_NE(
        console.text().find(zu::format("NSUserDefaults: the preferences file %@ is damaged; it "
                                       "was kept aside as %@%@",
                                       path, path, suffix)),
        std::string::npos)
        << console.text();
  }
}

TEST(NSUserDefaults, AFileThatCannotBeReadIsLeftAloneAndSynchronizeFails) {
  // A directory where the file should be: it opens, but cannot be read.
  const std::string path = NSUserDefaults::pathForDomain("unreadable.suite");
  std::filesystem::create_directories(path + "/inside");
  const zukit::test::StderrCapture console;
  const auto defaults = NSUserDefaults::initWithSuiteName(Value("unreadable.suite"));
  EXPECT_TRUE(defaults->objectForKey("key").isAbsent());
  defaults->setObject(Value("value"), "key");
  EXPECT_FALSE(defaults->synchronize());
  EXPECT_TRUE(std::filesystem::is_directory(path + "/inside"));
  EXPECT_NE(console.text().find(zu::format("NSUserDefaults: the preferences file %@ cannot be "
                                           "read (Is a directory); it is left as it is",
                                           path)),
            std::string::npos)
      << console.text();
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
}

TEST(NSUserDefaults, AReadSeesWhatAnotherProcessSynchronisedWithoutSynchronizingHere) {
  // The standard store of the probe is this process's when both have the same identifier.
  const std::string info = zukit::test::TestHome::current() + "/Info.plist";
  const auto identifier = zu::NSBundle::mainBundle()->bundleIdentifier();
  ASSERT_TRUE(identifier);
  writeFile(info, "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>" +
                      *identifier + "</string></dict></plist>");
  const std::map<std::string, std::string> sameApp{{"ZUKIT_INFO_PLIST", info}};

  for (const std::string suite : {"-", "fresh.suite"}) {
    const auto defaults = NSUserDefaults::initWithSuiteName(suite == "-" ? Value() : Value(suite));
    EXPECT_TRUE(defaults->objectForKey("greeting").isAbsent());
    // A change of this process not yet synchronised stays in force through other writes.
    defaults->setObject(Value("mine"), "pending");
    for (const std::string text : {"first", "second", "third"}) {
      ASSERT_EQ(runProbe({"platform-defaults", "set", suite, "greeting", text}, sameApp).exitCode,
                0);
      EXPECT_EQ(defaults->stringForKey("greeting"), text) << suite;
      EXPECT_EQ(defaults->stringForKey("pending"), "mine") << suite;
    }
    ASSERT_TRUE(defaults->synchronize());
    EXPECT_EQ(runProbe({"platform-defaults", "get", suite, "pending"}, sameApp).standardOutput,
              "mine\n");
    EXPECT_EQ(defaults->stringForKey("greeting"), "third");
  }
}

// Reads skip the file while file events report nothing; these are the changes that give no
// event on the file itself.
TEST(NSUserDefaults, AReadSeesAFilePutInPlaceByMovingDirectories) {
  const auto defaults = NSUserDefaults::initWithSuiteName(Value("moved.suite"));
  defaults->setObject(Value("first"), "greeting");
  ASSERT_TRUE(defaults->synchronize());
  EXPECT_EQ(defaults->stringForKey("greeting"), "first");

  // Another copy of the directory above the preferences, made aside and then moved where the
  // first was.
  const std::filesystem::path preferences = std::filesystem::path(defaults->path()).parent_path();
  const std::filesystem::path above = preferences.parent_path();
  const std::filesystem::path aside = above.string() + ".new";
  std::filesystem::create_directories(aside / preferences.filename());
  const auto plist = zu::NSPropertyListSerialization::dataWithPropertyList(
      Value(zu::Dictionary{{"greeting", Value("second")}}), zu::NSPropertyListBinaryFormat_v1_0, 0);
  ASSERT_TRUE(plist);
  writeFile((aside / preferences.filename() / "moved.suite.plist").string(),
            std::string(plist->begin(), plist->end()));
  std::filesystem::rename(above, above.string() + ".old");
  std::filesystem::rename(aside, above);
  EXPECT_EQ(defaults->stringForKey("greeting"), "second");

  std::filesystem::remove_all(preferences);
  EXPECT_TRUE(defaults->objectForKey("greeting").isAbsent());
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
