// Probe commands for the disk caches: what a cache finds after a relaunch, how it reads a
// damaged preference file, and what its periodic trim does to a running process.

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "apps/zukit-probe/ProbeCommand.h"
#include "zukit/platform/foundation/Clock.h"
#include "zukit/platform/foundation/NSURL.h"
#include "zukit/platform/foundation/NSUserDefaults.h"
#include "zukit/storage/ZuImageDiskCache.h"
#include "zukit/storage/ZuVideoDiskCache.h"

namespace zukit::probe {

namespace {

// The cache that the steps act on.
struct Target {
  bool video = false;

  ZuDiskCache& cache() const {
    if (video) return *ZuVideoDiskCache::cache();
    return *ZuImageDiskCache::cache();
  }
  const char* indexKey() const { return video ? "ZuVideoDiskCacheKeys" : "ZuImageDiskCacheKeys"; }
};

void printIndex(const ZuDiskCache& cache) {
  for (const std::string& entry : cache.keys()) {
    const auto parts = ZuDiskCache::componentsOfEntry(entry);
    if (parts.empty()) {
      printLine("entry undecodable " + entry);
      continue;
    }
    const auto second = ZuDiskCache::storingSecondOfComponents(parts);
    printLine("entry " + parts.front() + " " + (second ? std::to_string(*second) : "-"));
  }
}

void find(const Target& target, const std::string& key) {
  if (target.video) {
    const auto path = ZuVideoDiskCache::cache()->videoPathForKey(zu::Value(key));
    printLine(path ? "found " + key + ": " + path->path() : "missing " + key);
    return;
  }
  const auto data = ZuImageDiskCache::cache()->imageDataForKey(zu::Value(key));
  printLine(data ? "found " + key + ": " + std::string(data->begin(), data->end())
                 : "missing " + key);
}

void store(const Target& target, const std::string& key, const std::string& value) {
  if (target.video) {
    ZuVideoDiskCache::cache()->setVideoPath(zu::NSURL::fileURLWithPath(value), zu::Value(key));
  } else {
    ZuImageDiskCache::cache()->setImageData(zu::Data(value.begin(), value.end()), zu::Value(key));
  }
}

// True once the persisted index holds no entry of `key` (or is gone), as a trim leaves it.
bool expired(const Target& target, const std::string& key) {
  const zu::Value stored =
      zu::NSUserDefaults::standardUserDefaults()->objectForKey(target.indexKey());
  const zu::Array* list = stored.asArray();
  if (list == nullptr) return true;
  return std::ranges::none_of(*list, [&key](const zu::Value& element) {
    const std::string* entry = element.asString();
    if (entry == nullptr) return false;
    const auto parts = ZuDiskCache::componentsOfEntry(*entry);
    return !parts.empty() && parts.front() == key;
  });
}

// cache STEP...: image | video (choose the cache; image first), first-interval SECONDS (before
// the cache is made), clock SECOND, age SECONDS, store KEY VALUE (image: the bytes of VALUE;
// video: the file at path VALUE), find KEY, index, trim AGE, wait-expired KEY (until a trim
// has taken KEY out of the persisted index; 20 s at most), say TEXT, path.
int runCache(const std::vector<std::string>& arguments) {
  Target target;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& step = arguments[i];
    const bool hasOne = i + 1 < arguments.size();
    if (step == "image" || step == "video") {
      target.video = step == "video";
    } else if (step == "first-interval" && hasOne) {
      ZuDiskCache::setInitialAutoTrimIntervalForTesting(
          std::strtod(arguments[++i].c_str(), nullptr));
    } else if (step == "clock" && hasOne) {
      zu::Clock::setTimeForTesting(std::strtoll(arguments[++i].c_str(), nullptr, 10));
    } else if (step == "age" && hasOne) {
      target.cache().setAgeLimit(std::strtod(arguments[++i].c_str(), nullptr));
    } else if (step == "store" && i + 2 < arguments.size()) {
      store(target, arguments[i + 1], arguments[i + 2]);
      i += 2;
    } else if (step == "find" && hasOne) {
      find(target, arguments[++i]);
    } else if (step == "index") {
      printIndex(target.cache());
    } else if (step == "trim" && hasOne) {
      target.cache().trimToAge(std::strtod(arguments[++i].c_str(), nullptr));
    } else if (step == "wait-expired" && hasOne) {
      const std::string& key = arguments[++i];
      target.cache();
      const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
      while (!expired(target, key) && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
      }
      if (!expired(target, key)) {
        printLine("no trim took " + key + " out");
        return 1;
      }
      printLine("trim ran");
    } else if (step == "say" && hasOne) {
      printLine(arguments[++i]);
    } else if (step == "path") {
      printLine(zu::NSUserDefaults::standardUserDefaults()->path());
    } else {
      printLine("unknown cache step: " + step);
      return 2;
    }
  }
  return 0;
}

const ProbeRegistration kCache("cache",
                               "[image|video] [first-interval S] [clock N] [age S] "
                               "[store KEY VALUE] [find KEY] [index] [trim AGE] "
                               "[wait-expired KEY] [say TEXT] [path]...",
                               &runCache);

}  // namespace

}  // namespace zukit::probe
