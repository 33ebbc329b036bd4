// Inputs that fuzzing found to crash the library, replayed through the entry point each one
// reached. Each test runs in a process of its own, so a crash fails only that test.

#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/storage/StoreTestSupport.h"
#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/foundation/NSUserDefaults.h"
#include "zukit/platform/security/SecItem.h"
#include "zukit/storage/ZuDataArchiver.h"
#include "zukit/storage/ZuKeychainItemWrapper.h"
#include "zukit/storage/ZuUserDefaults.h"
#include "zukit/utils/ZuUtils.h"

namespace {

using zu::Value;

std::string fixture(const std::string& name) {
  return zukit::test::readFile(std::string(ZUKIT_FIXTURES_DIR) + "/fuzz-crashes/" + name);
}

// Puts `bytes` at `path`, making its directory.
void place(const std::string& path, const std::string& bytes) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

TEST(FuzzRegression, AFractionOfThirtyFiveOrMoreDigitsGivesNoDateInsteadOfDividingByZero) {
  const std::string input = fixture("date-icu-fpe-58b");
  const std::size_t nul = input.find('\0');
  ASSERT_NE(nul, std::string::npos);
  const std::string pattern = input.substr(0, nul);
  const std::string text = input.substr(nul + 1);
  ASSERT_EQ(pattern, "SSS");
  EXPECT_EQ(ZuUtils::dateFromString(Value(text), Value(pattern)), std::nullopt);
  // A fraction of ordinary length still parses.
  EXPECT_TRUE(
      ZuUtils::dateFromString(Value("2024-01-02 03:04:05.678"), Value("yyyy-MM-dd HH:mm:ss.SSS")));
}

TEST(FuzzRegression, ABinaryPreferenceFileWhoseTopStringHoldsNulReadsAsAnEmptySuite) {
  place(zu::NSUserDefaults::pathForDomain("fuzz.binary.suite"),
        fixture("prefs_plist-libplist-assert-197b"));
  const auto defaults = ZuUserDefaults::initWithName(Value("fuzz.binary.suite"));
  EXPECT_TRUE(defaults->objectForKey("array").isAbsent());
  EXPECT_EQ(defaults->integerForKey("int"), 0);
}

TEST(FuzzRegression, AnXmlPreferenceFileHoldingNulBytesReadsAsAnEmptySuite) {
  place(zu::NSUserDefaults::pathForDomain("fuzz.xml.suite"),
        fixture("prefs_plist-libplist-assert-xml-1222b"));
  const auto defaults = ZuUserDefaults::initWithName(Value("fuzz.xml.suite"));
  EXPECT_TRUE(defaults->objectForKey("ZuImageDiskCacheKeys").isAbsent());
}

TEST(FuzzRegression, AKeychainFileHoldingNulBytesGivesAFreshWrapper) {
  const std::string group = "cn.com.quorvel.fuzz";
  place(zukit::test::keychainDirectory() + "/" + group + ".keychain",
        fixture("keychain-libplist-assert-151b"));
  const auto wrapper = ZuKeychainItemWrapper::initWithIdentifier(Value("UUID"), Value(group));
  ASSERT_TRUE(wrapper);
  EXPECT_EQ(wrapper->objectForKey(zu::kSecAttrAccount), Value(""));
  EXPECT_EQ(wrapper->objectForKey(zu::kSecValueData), Value(zu::Dictionary()));
}

TEST(FuzzRegression, AnArchiveWhoseStringHoldsNulIsReadWithoutAborting) {
  const std::string path = zukit::test::TestHome::current() + "/archives/nul.archive";
  place(path, fixture("archive-libplist-assert-485b"));
  // It reads, but one of its arrays holds a class entry as an element: no value.
  EXPECT_TRUE(ZuDataArchiver::getDataForPath(path).isAbsent());
}

TEST(FuzzRegression, ADateBeyondTheCalendarIsDescribedBySecondsWithoutOverflow) {
  const std::string path = zukit::test::TestHome::current() + "/archives/far.archive";
  place(path, fixture("archive-date-description-ub-313b"));
  const Value root = ZuDataArchiver::getDataForPath(path);
  ASSERT_TRUE(root.isDictionary()) << root.description();
  const Value far = root.asDictionary()->objectForKey("b");
  ASSERT_TRUE(far.isDate());
  EXPECT_EQ(zu::format("%@", far),
            "2.230525362716675e+284 seconds since 1970-01-01 00:00:00 +0000");
  EXPECT_EQ(zu::format("%@", root.asDictionary()->objectForKey("a")), "1");
}

}  // namespace
