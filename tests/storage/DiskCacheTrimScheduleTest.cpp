// What a new cache starts with: its age limit and trim interval, and when its first trim comes.
// Each test needs caches that are made by the test itself, in a fresh process (as CTest runs
// each test).

#include <chrono>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/storage/DiskCacheTestSupport.h"
#include "tests/support/MainLoop.h"
#include "zukit/platform/foundation/NSUserDefaults.h"
#include "zukit/storage/ZuImageDiskCache.h"
#include "zukit/storage/ZuVideoDiskCache.h"

namespace {

using zukit::test::ClockScope;
using zukit::test::entryOf;

TEST(DiskCacheTrimSchedule, NewCachesKeepEntriesThreeDaysAndTrimEveryMinute) {
  for (const ZuDiskCache* cache : std::vector<const ZuDiskCache*>{
           ZuImageDiskCache::cache().get(), ZuVideoDiskCache::cache().get()}) {
    EXPECT_EQ(cache->ageLimit(), 259200.0);
    EXPECT_EQ(cache->autoTrimInterval(), 60.0);
  }
}

TEST(DiskCacheTrimSchedule, TheFirstTrimComesOneIntervalAfterTheCacheIsMade) {
  // An index left by an earlier launch, whose only entry is older than the age limit.
  ClockScope clock(1'000'000);
  const std::string entry = entryOf("old", 1'000'000 - 259200 - 1);
  const auto defaults = zu::NSUserDefaults::standardUserDefaults();
  defaults->setObject(zu::Value(zu::Array{zu::Value(entry)}), "ZuImageDiskCacheKeys");
  defaults->setObject(zu::Value(zukit::test::bytesOf("old")), entry);
  ASSERT_TRUE(defaults->synchronize());

  // A short interval in place of the minute, so that the test waits a fraction of a second.
  constexpr double kInterval = 0.4;
  ZuDiskCache::setInitialAutoTrimIntervalForTesting(kInterval);
  const auto made = std::chrono::steady_clock::now();
  const auto cache = ZuImageDiskCache::cache();
  ZuDiskCache::setInitialAutoTrimIntervalForTesting(ZuDiskCache::kDefaultAutoTrimInterval);
  EXPECT_EQ(cache->keys(), std::vector<std::string>{entry}) << "trimmed when made";

  ASSERT_TRUE(
      zukit::test::waitUntil([&cache] { return cache->keys().empty(); }, std::chrono::seconds(60)));
  const double waited =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - made).count();
  EXPECT_GE(waited, kInterval) << "trimmed before its interval had passed";
  EXPECT_FALSE(cache->_imageDataForKey(entry).has_value());
}

}  // namespace
