// The image disk cache: entries, lookups, removal by age, trims and concurrent stores.

#include <atomic>
#include <chrono>
#include <cmath>
#include <fstream>
#include <limits>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/storage/DiskCacheTestSupport.h"
#include "tests/support/MainLoop.h"
#include "tests/support/StderrCapture.h"
#include "zukit/core/ZuLogger.h"
#include "zukit/platform/foundation/NSPropertyListSerialization.h"
#include "zukit/platform/foundation/NSUserDefaults.h"
#include "zukit/storage/ZuImageDiskCache.h"

namespace {

using zu::Value;
using zukit::test::bytesOf;
using zukit::test::ClockScope;
using zukit::test::DecodedEntry;
using zukit::test::decodedIndex;
using zukit::test::entryOf;
using zukit::test::persistedIndex;

constexpr const char* kIndexKey = "ZuImageDiskCacheKeys";

// One call of a membership callback.
struct Report {
  bool contained;
  std::string key;
  std::optional<zu::Data> data;
};

class ZuImageDiskCacheTest : public ::testing::Test {
 protected:
  void SetUp() override {
    cache = ZuImageDiskCache::cache();
    cache->removeAllCaches();
  }
  void TearDown() override {
    cache->setAgeLimit(ZuDiskCache::kDefaultAgeLimit);
    cache->setAutoTrimInterval(ZuDiskCache::kDefaultAutoTrimInterval);
    cache->removeAllCaches();
  }

  // Every callback of one containsImageDataForKey() call, gathered before it returns.
  std::vector<Report> reportsFor(const Value& key) const {
    std::vector<Report> reports;
    cache->containsImageDataForKey(key, [&reports](bool contained, const Value& reported,
                                                   const std::optional<zu::Data>& data) {
      reports.push_back(Report{contained, reported.description(), data});
    });
    return reports;
  }

  std::shared_ptr<ZuImageDiskCache> cache;
};

TEST_F(ZuImageDiskCacheTest, EntriesAreBase64OfKeySeparatorAndSecondAndReachTheFile) {
  const ClockScope clock(1600000000);
  cache->setImageData(bytesOf("png-1"), Value("k1"));
  const std::string entry = "azFfXyNadSNfXzE2MDAwMDAwMDA=";
  EXPECT_EQ(cache->keys(), std::vector<std::string>{entry});
  EXPECT_EQ(ZuDiskCache::componentsOfEntry(entry), (std::vector<std::string>{"k1", "1600000000"}));
  EXPECT_EQ(persistedIndex(kIndexKey), std::vector<std::string>{entry});
  EXPECT_EQ(cache->imageDataForKey(Value("k1")), bytesOf("png-1"));

  // Synchronised: the preference file itself holds the index and the bytes under the entry.
  const auto defaults = zu::NSUserDefaults::standardUserDefaults();
  const std::string text = zukit::test::readFile(defaults->path());
  const Value file =
      zu::NSPropertyListSerialization::propertyListWithData(zu::Data(text.begin(), text.end()), 0);
  ASSERT_TRUE(file.isDictionary()) << text;
  EXPECT_EQ(file.asDictionary()->objectForKey(kIndexKey), Value(zu::Array{Value(entry)}));
  EXPECT_EQ(file.asDictionary()->objectForKey(entry), Value(bytesOf("png-1")));
}

TEST_F(ZuImageDiskCacheTest, AKeyStoredInTwoSecondsIsFoundByItsOldestEntryUntilThatExpires) {
  ClockScope clock(100);
  cache->setImageData(bytesOf("first"), Value("k"));
  ClockScope::set(200);
  cache->setImageData(bytesOf("second"), Value("k"));
  // Within one second the entry is the same: indexed once, its bytes replaced.
  cache->setImageData(bytesOf("second, again"), Value("k"));
  EXPECT_EQ(decodedIndex(*cache), (std::vector<DecodedEntry>{{"k", 100}, {"k", 200}}));
  EXPECT_EQ(cache->imageDataForKey(Value("k")), bytesOf("first"));
  EXPECT_EQ(cache->_imageDataForKey(entryOf("k", 200)), bytesOf("second, again"));

  // The comparison is strict: an entry of second 100 survives the limit 100.
  cache->removeCachesEalierThanTime(100);
  EXPECT_EQ(decodedIndex(*cache).size(), 2U);
  cache->removeCachesEalierThanTime(101);
  EXPECT_EQ(decodedIndex(*cache), (std::vector<DecodedEntry>{{"k", 200}}));
  EXPECT_EQ(persistedIndex(kIndexKey), std::vector<std::string>{entryOf("k", 200)});
  EXPECT_FALSE(cache->_imageDataForKey(entryOf("k", 100)).has_value());
  EXPECT_EQ(cache->imageDataForKey(Value("k")), bytesOf("second, again"));

  cache->removeCachesEalierThanTime(201);
  EXPECT_TRUE(cache->keys().empty());
  EXPECT_EQ(persistedIndex(kIndexKey), std::vector<std::string>{});
  EXPECT_FALSE(cache->imageDataForKey(Value("k")).has_value());
  EXPECT_FALSE(cache->containsImageDataForKey(Value("k")));
}

TEST_F(ZuImageDiskCacheTest, ARemovalPassSkipsTheEntryThatSlidesIntoTheFreedSlot) {
  ClockScope clock(100);
  cache->setImageData(bytesOf("a"), Value("A"));
  ClockScope::set(101);
  cache->setImageData(bytesOf("b"), Value("B"));
  ClockScope::set(300);
  cache->setImageData(bytesOf("c"), Value("C"));

  cache->removeCachesEalierThanTime(200);
  EXPECT_EQ(decodedIndex(*cache), (std::vector<DecodedEntry>{{"B", 101}, {"C", 300}}));
  EXPECT_EQ(persistedIndex(kIndexKey),
            (std::vector<std::string>{entryOf("B", 101), entryOf("C", 300)}));
  EXPECT_FALSE(cache->imageDataForKey(Value("A")).has_value());
  EXPECT_EQ(cache->imageDataForKey(Value("B")), bytesOf("b"));

  cache->removeCachesEalierThanTime(200);
  EXPECT_EQ(decodedIndex(*cache), (std::vector<DecodedEntry>{{"C", 300}}));
  EXPECT_FALSE(cache->imageDataForKey(Value("B")).has_value());
}

TEST_F(ZuImageDiskCacheTest, AbsentBytesAreIndexedButNotReportedAsStored) {
  const ClockScope clock(500);
  cache->setImageData(std::nullopt, Value("empty"));
  EXPECT_TRUE(cache->containsImageDataForKey(Value("empty")));
  EXPECT_FALSE(cache->imageDataForKey(Value("empty")).has_value());
  auto reports = reportsFor(Value("empty"));
  ASSERT_EQ(reports.size(), 1U);
  EXPECT_FALSE(reports[0].contained);
  EXPECT_EQ(reports[0].key, "empty");
  EXPECT_FALSE(reports[0].data.has_value());

  // Bytes then no bytes in the same second: the bytes are cleared.
  cache->setImageData(bytesOf("x"), Value("cleared"));
  reports = reportsFor(Value("cleared"));
  ASSERT_EQ(reports.size(), 1U);
  EXPECT_TRUE(reports[0].contained);
  EXPECT_EQ(reports[0].data, bytesOf("x"));
  cache->setImageData(std::nullopt, Value("cleared"));
  EXPECT_FALSE(cache->imageDataForKey(Value("cleared")).has_value());
  EXPECT_EQ(cache->keys().size(), 2U);

  // A key that was never stored: one report (NO, key, none); no callback is fine too.
  reports = reportsFor(Value("missing"));
  ASSERT_EQ(reports.size(), 1U);
  EXPECT_FALSE(reports[0].contained);
  EXPECT_EQ(reports[0].key, "missing");
  cache->containsImageDataForKey(Value("empty"), ZuImageDiskCache::ContainsBlock());
}

TEST_F(ZuImageDiskCacheTest, BadKeysStoreNothingAndSeparatorKeysAreNeverFound) {
  const ClockScope clock(700);
  for (const Value& bad : {Value(), Value::null(), Value(""), Value(42)}) {
    cache->setImageData(bytesOf("bytes"), bad);
    EXPECT_TRUE(cache->keys().empty()) << bad.description();
    EXPECT_FALSE(cache->imageDataForKey(bad).has_value());
    EXPECT_FALSE(cache->containsImageDataForKey(bad));
    EXPECT_TRUE(reportsFor(bad).empty());
  }
  // Bytes that are not UTF-8 make no entry, so such a key is stored nowhere and never found.
  const Value notText(std::string("\xff\xfe"));
  cache->setImageData(bytesOf("bytes"), notText);
  EXPECT_TRUE(cache->keys().empty());
  EXPECT_FALSE(cache->containsImageDataForKey(notText));
  const auto reports = reportsFor(notText);
  ASSERT_EQ(reports.size(), 1U);
  EXPECT_FALSE(reports[0].contained);
  EXPECT_FALSE(persistedIndex(kIndexKey).has_value());

  // Stored, but read back as "a": never found again, not even as "a".
  cache->setImageData(bytesOf("hidden"), Value("a__#Zu#__b"));
  EXPECT_EQ(cache->keys(), std::vector<std::string>{entryOf("a__#Zu#__b", 700)});
  EXPECT_EQ(decodedIndex(*cache), (std::vector<DecodedEntry>{{"a", 0}}));
  EXPECT_FALSE(cache->imageDataForKey(Value("a__#Zu#__b")).has_value());
  EXPECT_FALSE(cache->containsImageDataForKey(Value("a__#Zu#__b")));
  // The second read from "b__#Zu#__700" has no leading digits: the entry counts as second 0.
  EXPECT_EQ(cache->imageDataForKey(Value("a")), bytesOf("hidden"));

  // "/" and other text are ordinary in keys; matching is exact and case-sensitive.
  cache->setImageData(bytesOf("slash"), Value("https://host/a/b.png?x=1"));
  cache->setImageData(bytesOf("图"), Value("图片"));
  EXPECT_EQ(cache->imageDataForKey(Value("https://host/a/b.png?x=1")), bytesOf("slash"));
  EXPECT_EQ(cache->imageDataForKey(Value("图片")), bytesOf("图"));
  EXPECT_FALSE(cache->imageDataForKey(Value("HTTPS://host/a/b.png?x=1")).has_value());
  EXPECT_FALSE(cache->imageDataForKey(Value("https://host/a/b.png")).has_value());
}

TEST_F(ZuImageDiskCacheTest, ADamagedPreferenceFileIsKeptAsideByAStoreAndLoggedAtLevelFive) {
  const std::string path = zu::NSUserDefaults::standardUserDefaults()->path();
  ZuLogger::configLogLevel(ZuLogLevelAll);
  const zukit::test::StderrCapture console;
  {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << "bplist00 damaged";
  }
  cache->setImageData(bytesOf("png"), Value("https://example.com/a.png"));
  EXPECT_EQ(cache->imageDataForKey(Value("https://example.com/a.png")), bytesOf("png"));
  EXPECT_EQ(zukit::test::readFile(path + ".corrupt"), "bplist00 damaged");
  EXPECT_NE(console.text().find("[ZuImageDiskCache setImageData:forKey:]\nNSUserDefaults: the "
                                "preferences file " +
                                path + " is damaged; it was kept aside as " + path + ".corrupt"),
            std::string::npos)
      << console.text();
}

TEST_F(ZuImageDiskCacheTest, TrimToAgeEmptiesForNoAgeAndStopsAtItsLimits) {
  ClockScope clock(100);
  cache->setImageData(bytesOf("old"), Value("old"));
  const std::string entry = entryOf("old", 100);

  // The clock must read more than the age; NaN never does.
  cache->trimToAge(100);
  cache->trimToAge(std::numeric_limits<double>::quiet_NaN());
  cache->trimToAge(std::numeric_limits<double>::infinity());
  EXPECT_EQ(cache->keys(), std::vector<std::string>{entry});
  ClockScope::set(1000);
  cache->trimToAge(899);  // limit 101: second 100 goes
  EXPECT_TRUE(cache->keys().empty());

  // Limits of 2^31 - 1 and above stop the trim: 2038-01-19 03:14:07 UTC plus the age.
  ClockScope::set(100);
  cache->setImageData(bytesOf("old"), Value("old"));
  ClockScope::set(2147483647LL + 259200);
  cache->trimToAge(259200);
  EXPECT_EQ(cache->keys(), std::vector<std::string>{entry});
  ClockScope::set(2147483646LL + 259200);
  cache->trimToAge(259200);
  EXPECT_TRUE(cache->keys().empty());
  // An age that does not fit a whole limit is truncated toward zero: 1000 - 0.5 gives 999.
  ClockScope::set(100);
  cache->setImageData(bytesOf("old"), Value("old"));
  ClockScope::set(1000);
  cache->trimToAge(900.5);  // limit 99: second 100 stays
  EXPECT_EQ(cache->keys(), std::vector<std::string>{entry});

  // An age of 0 or less removes everything at once, bytes and index key included.
  for (const double none : {0.0, -1.0}) {
    ClockScope::set(100);
    cache->setImageData(bytesOf("old"), Value("old"));
    ClockScope::set(150);
    cache->setImageData(bytesOf("new"), Value("new"));
    ASSERT_EQ(cache->keys().size(), 2U);
    cache->trimToAge(none);
    EXPECT_TRUE(cache->keys().empty()) << none;
    EXPECT_FALSE(persistedIndex(kIndexKey).has_value()) << none;
    EXPECT_FALSE(cache->_imageDataForKey(entry).has_value()) << none;
    EXPECT_FALSE(cache->_imageDataForKey(entryOf("new", 150)).has_value()) << none;
  }
  // The cache stays usable: the lock was given back.
  cache->setImageData(bytesOf("after"), Value("after"));
  EXPECT_EQ(cache->imageDataForKey(Value("after")), bytesOf("after"));
}

// Trims every 50 ms. A cache made by this fixture arms its first trim that soon; one made
// earlier in the process switches at its next arming.
class ZuImageDiskCachePeriodicTest : public ZuImageDiskCacheTest {
 protected:
  void SetUp() override {
    ZuDiskCache::setInitialAutoTrimIntervalForTesting(0.05);
    ZuImageDiskCacheTest::SetUp();
    cache->setAutoTrimInterval(0.05);
  }
  void TearDown() override {
    ZuDiskCache::setInitialAutoTrimIntervalForTesting(ZuDiskCache::kDefaultAutoTrimInterval);
    ZuImageDiskCacheTest::TearDown();
  }
};

TEST_F(ZuImageDiskCachePeriodicTest, ThePeriodicTrimRemovesExpiredEntriesOnItsOwn) {
  ClockScope clock(1000);
  cache->setImageData(bytesOf("a"), Value("a"));
  cache->setImageData(bytesOf("b"), Value("b"));
  cache->setAgeLimit(10);
  // Nothing is older than 10 seconds yet.
  ClockScope::set(1010);
  cache->setImageData(bytesOf("c"), Value("c"));
  ClockScope::set(1011);
  // The trims remove a, then b (skipped by the pass that removed a); c stays.
  EXPECT_TRUE(zukit::test::waitUntil([this] { return cache->keys().size() == 1; },
                                     std::chrono::seconds(120)));
  EXPECT_EQ(decodedIndex(*cache), (std::vector<DecodedEntry>{{"c", 1010}}));
  EXPECT_TRUE(zukit::test::waitUntil(
      [] { return persistedIndex(kIndexKey) == std::vector<std::string>{entryOf("c", 1010)}; }));
  EXPECT_FALSE(cache->_imageDataForKey(entryOf("a", 1000)).has_value());
}

TEST_F(ZuImageDiskCachePeriodicTest, StoresFromFourThreadsWhileTrimsRunEvery50Milliseconds) {
  cache->setAgeLimit(1000);
  constexpr int kThreads = 4;
  constexpr int kStoresPerThread = 25;
  constexpr std::size_t kTotal = std::size_t{kThreads} * kStoresPerThread;
  const auto storeAll = [this](const std::string& prefix) {
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([this, t, &prefix] {
        for (int i = 0; i < kStoresPerThread; ++i) {
          const std::string key = prefix + std::to_string(t) + "-" + std::to_string(i);
          cache->setImageData(bytesOf(key), Value(key));
          // Lookups walk the index while others change it.
          EXPECT_EQ(cache->imageDataForKey(Value(key)), bytesOf(key));
        }
      });
    }
    for (std::thread& thread : threads)
      thread.join();
  };

  ClockScope clock(10000);
  storeAll("old-");
  ASSERT_EQ(cache->keys().size(), kTotal);
  // From now on the first batch is older than the age limit, and the trims take it out while
  // the second batch goes in.
  ClockScope::set(20000);
  storeAll("new-");
  ASSERT_TRUE(zukit::test::waitUntil([this] { return cache->keys().size() == kTotal; },
                                     std::chrono::seconds(120)));

  // No store was lost and none was doubled.
  std::set<std::string> keys;
  for (const auto& [key, second] : decodedIndex(*cache)) {
    EXPECT_EQ(second, 20000) << key;
    EXPECT_TRUE(keys.insert(key).second) << key;
    EXPECT_EQ(cache->imageDataForKey(Value(key)), bytesOf(key));
  }
  EXPECT_EQ(keys.size(), kTotal);
  EXPECT_FALSE(cache->_imageDataForKey(entryOf("old-0-0", 10000)).has_value());
  // The next trims write the settled index back.
  EXPECT_TRUE(
      zukit::test::waitUntil([this] { return persistedIndex(kIndexKey) == cache->keys(); }));
}

}  // namespace
