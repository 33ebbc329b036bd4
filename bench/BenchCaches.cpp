// The image cache's store and lookup at 100 and 1,000 entries, beside the raw preference write
// it makes (one value set and synchronised in the same, equally full, file) and a plain hash
// map lookup. Stores rewrite the whole index and the preference file; lookups walk the index,
// decoding each entry, so both grow with the number of entries.

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>

#include <benchmark/benchmark.h>

#include "bench/BenchSupport.h"
#include "zukit/platform/foundation/Clock.h"
#include "zukit/platform/foundation/NSUserDefaults.h"
#include "zukit/storage/ZuImageDiskCache.h"

namespace zukit::bench {

namespace {

// Every cached image is this many bytes.
constexpr std::size_t kImageBytes = 1024;
// The second at which the prefilled entries are stored; measured stores use an earlier one,
// so that removing them again leaves the prefilled entries alone. Both lie within the default
// age limit of 1970, so the periodic trim never acts during the run.
constexpr std::int64_t kPrefillSecond = 2000;
constexpr std::int64_t kMeasuredSecond = 1000;

std::string keyOf(std::int64_t index) {
  return "https://example.com/images/" + std::to_string(index) + ".png";
}

const zu::Data& imageBytes() {
  static const zu::Data bytes(kImageBytes, 0x5A);
  return bytes;
}

// Fills the image cache with exactly `count` entries of distinct keys.
void prefill(std::int64_t count) {
  const auto cache = ZuImageDiskCache::cache();
  if (static_cast<std::int64_t>(cache->keys().size()) == count) return;
  cache->removeAllCaches();
  zu::Clock::setTimeForTesting(kPrefillSecond);
  for (std::int64_t i = 0; i < count; ++i)
    cache->setImageData(imageBytes(), zu::Value(keyOf(i)));
}

void BM_ImageCacheStore(benchmark::State& state) {
  prefill(state.range(0));
  const auto cache = ZuImageDiskCache::cache();
  std::int64_t next = 0;
  for (auto _ : state) {
    zu::Clock::setTimeForTesting(kMeasuredSecond);
    cache->setImageData(imageBytes(),
                        zu::Value("https://example.com/new/" + std::to_string(next++)));
    state.PauseTiming();
    // Takes the new entry (the only one before the prefill second) out again.
    cache->removeCachesEalierThanTime(kMeasuredSecond + 1);
    state.ResumeTiming();
  }
  zu::Clock::setTimeForTesting(kPrefillSecond);
}

void BM_UserDefaultsWriteSynchronize(benchmark::State& state) {
  prefill(state.range(0));
  const auto defaults = zu::NSUserDefaults::standardUserDefaults();
  for (auto _ : state) {
    defaults->setObject(zu::Value(imageBytes()), "bench.raw.image");
    defaults->synchronize();
  }
  defaults->removeObjectForKey("bench.raw.image");
  defaults->synchronize();
}

// The newest entry: a lookup walks the whole index to find it.
void BM_ImageCacheLookupNewest(benchmark::State& state) {
  prefill(state.range(0));
  const auto cache = ZuImageDiskCache::cache();
  const zu::Value key(keyOf(state.range(0) - 1));
  for (auto _ : state) {
    auto data = cache->imageDataForKey(key);
    benchmark::DoNotOptimize(data);
  }
}

// The oldest entry: found at the first step of the walk.
void BM_ImageCacheLookupOldest(benchmark::State& state) {
  prefill(state.range(0));
  const auto cache = ZuImageDiskCache::cache();
  const zu::Value key(keyOf(0));
  for (auto _ : state) {
    auto data = cache->imageDataForKey(key);
    benchmark::DoNotOptimize(data);
  }
}

void BM_UnorderedMapLookup(benchmark::State& state) {
  std::unordered_map<std::string, zu::Data> map;
  for (std::int64_t i = 0; i < state.range(0); ++i)
    map.emplace(keyOf(i), imageBytes());
  const std::string key = keyOf(state.range(0) - 1);
  for (auto _ : state) {
    const auto found = map.find(key);
    std::optional<zu::Data> data;
    if (found != map.end()) data = found->second;
    benchmark::DoNotOptimize(data);
  }
}

BENCHMARK(BM_ImageCacheStore)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_UserDefaultsWriteSynchronize)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ImageCacheLookupNewest)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ImageCacheLookupOldest)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_UnorderedMapLookup)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);

const RatioRegistration kStore100("BM_ImageCacheStore/100", "BM_UserDefaultsWriteSynchronize/100");
const RatioRegistration kStore1000("BM_ImageCacheStore/1000",
                                   "BM_UserDefaultsWriteSynchronize/1000");
const RatioRegistration kStoreGrowth("BM_ImageCacheStore/1000", "BM_ImageCacheStore/100");
const RatioRegistration kLookup100("BM_ImageCacheLookupNewest/100", "BM_UnorderedMapLookup/100");
const RatioRegistration kLookup1000("BM_ImageCacheLookupNewest/1000", "BM_UnorderedMapLookup/1000");
const RatioRegistration kLookupOldest1000("BM_ImageCacheLookupOldest/1000",
                                          "BM_UnorderedMapLookup/1000");
const RatioRegistration kLookupGrowth("BM_ImageCacheLookupNewest/1000",
                                      "BM_ImageCacheLookupNewest/100");

}  // namespace

}  // namespace zukit::bench
