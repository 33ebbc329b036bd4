// The image cache's store and lookup at 100, 1,000 and 10,000 entries, beside the raw preference
// write it makes (one value set and synchronised in the same, equally full, file) and a plain
// hash map lookup. A store rewrites the preference file once, with the bytes and the index
// together, so it grows as that file does; lookups go through the index's map from key to first
// entry, so they do not grow with the number of entries.

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>

#include <benchmark/benchmark.h>

#include "bench/BenchSupport.h"
#include "zukit/platform/foundation/Clock.h"
#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/foundation/NSUserDefaults.h"
#include "zukit/storage/ZuImageDiskCache.h"
#include "zukit/utils/ZuUtils.h"

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

// Fills the image cache with exactly `count` entries of distinct keys, as `count` stores at the
// prefill second would leave it, written to the preferences in one go (storing them one by one
// would rewrite an ever larger file `count` times).
void prefill(std::int64_t count) {
  const auto cache = ZuImageDiskCache::cache();
  if (static_cast<std::int64_t>(cache->keys().size()) == count) return;
  cache->removeAllCaches();
  const auto defaults = zu::NSUserDefaults::standardUserDefaults();
  zu::Array index;
  for (std::int64_t i = 0; i < count; ++i) {
    const std::string entry =
        ZuUtils::base64Encode(
            zu::Value(zu::format("%@%@%ld", keyOf(i), ZuDiskCache::kEntrySeparator,
                                 static_cast<long>(kPrefillSecond))))
            .value_or("");
    defaults->setObject(zu::Value(imageBytes()), entry);
    index.emplace_back(entry);
  }
  defaults->setObject(zu::Value(std::move(index)), "ZuImageDiskCacheKeys");
  defaults->synchronize();
  cache->reloadIndexForTesting();
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

// The same preference writes as a store, made directly: the bytes under their entry and a
// synchronize, then the index with one more entry and a synchronize.
void BM_UserDefaultsWriteSynchronize(benchmark::State& state) {
  prefill(state.range(0));
  const auto defaults = zu::NSUserDefaults::standardUserDefaults();
  const zu::Value prefilled = defaults->objectForKey("ZuImageDiskCacheKeys");
  zu::Array grown = prefilled.isArray() ? *prefilled.asArray() : zu::Array();
  grown.emplace_back("bench.raw.image");
  const zu::Value grownIndex(std::move(grown));
  for (auto _ : state) {
    defaults->setObject(zu::Value(imageBytes()), "bench.raw.image");
    defaults->synchronize();
    defaults->setObject(grownIndex, "ZuImageDiskCacheKeys");
    defaults->synchronize();
    state.PauseTiming();
    // The same rewrites of the file as the untimed removal after a measured store.
    defaults->removeObjectForKey("bench.raw.image");
    defaults->setObject(prefilled, "ZuImageDiskCacheKeys");
    defaults->synchronize();
    state.ResumeTiming();
  }
  defaults->removeObjectForKey("bench.raw.image");
  defaults->synchronize();
}

// The newest entry: the one a walk over the index would reach last.
void BM_ImageCacheLookupNewest(benchmark::State& state) {
  prefill(state.range(0));
  const auto cache = ZuImageDiskCache::cache();
  const zu::Value key(keyOf(state.range(0) - 1));
  for (auto _ : state) {
    auto data = cache->imageDataForKey(key);
    benchmark::DoNotOptimize(data);
  }
}

// The oldest entry: the one a walk over the index would reach first.
void BM_ImageCacheLookupOldest(benchmark::State& state) {
  prefill(state.range(0));
  const auto cache = ZuImageDiskCache::cache();
  const zu::Value key(keyOf(0));
  for (auto _ : state) {
    auto data = cache->imageDataForKey(key);
    benchmark::DoNotOptimize(data);
  }
}

// The membership test of the newest entry: the index alone, without reading the bytes.
void BM_ImageCacheContainsNewest(benchmark::State& state) {
  prefill(state.range(0));
  const auto cache = ZuImageDiskCache::cache();
  const zu::Value key(keyOf(state.range(0) - 1));
  for (auto _ : state)
    benchmark::DoNotOptimize(cache->containsImageDataForKey(key));
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

void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);
}

BENCHMARK(BM_ImageCacheStore)->Apply(&sizes);
BENCHMARK(BM_UserDefaultsWriteSynchronize)->Apply(&sizes);
BENCHMARK(BM_ImageCacheLookupNewest)->Apply(&sizes);
BENCHMARK(BM_ImageCacheLookupOldest)->Apply(&sizes);
BENCHMARK(BM_ImageCacheContainsNewest)->Apply(&sizes);
BENCHMARK(BM_UnorderedMapLookup)->Apply(&sizes);

// The goals: a store at 1,000 entries within 1.5x of the preference write it makes, and a lookup
// of the newest of 1,000 within 20x of a hash map's.
const RatioRegistration kStore100("BM_ImageCacheStore/100", "BM_UserDefaultsWriteSynchronize/100");
const RatioRegistration kStore1000("BM_ImageCacheStore/1000",
                                   "BM_UserDefaultsWriteSynchronize/1000", 1.5);
const RatioRegistration kStore10000("BM_ImageCacheStore/10000",
                                    "BM_UserDefaultsWriteSynchronize/10000");
const RatioRegistration kLookup100("BM_ImageCacheLookupNewest/100", "BM_UnorderedMapLookup/100");
const RatioRegistration kLookup1000("BM_ImageCacheLookupNewest/1000", "BM_UnorderedMapLookup/1000",
                                    20.0);
const RatioRegistration kLookup10000("BM_ImageCacheLookupNewest/10000",
                                     "BM_UnorderedMapLookup/10000");
const RatioRegistration kContains1000("BM_ImageCacheContainsNewest/1000",
                                      "BM_UnorderedMapLookup/1000");
const RatioRegistration kLookupOldest1000("BM_ImageCacheLookupOldest/1000",
                                          "BM_UnorderedMapLookup/1000");
const RatioRegistration kLookupGrowth("BM_ImageCacheLookupNewest/1000",
                                      "BM_ImageCacheLookupNewest/100");
const GrowthRegistration kStoreGrowth("image cache: store", "BM_ImageCacheStore");
const GrowthRegistration kLookupNewestGrowth("image cache: look up the newest",
                                             "BM_ImageCacheLookupNewest");
const GrowthRegistration kLookupOldestGrowth("image cache: look up the oldest",
                                             "BM_ImageCacheLookupOldest");
const GrowthRegistration kContainsGrowth("image cache: contains the newest",
                                         "BM_ImageCacheContainsNewest");

}  // namespace

}  // namespace zukit::bench
