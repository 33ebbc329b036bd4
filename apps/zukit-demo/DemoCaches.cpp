// The tour's disk-cache section: an image and a video stored and found again, and the index
// entries decoded into key and storing second.

#include <filesystem>
#include <fstream>
#include <string>

#include "apps/zukit-demo/DemoSection.h"
#include "zukit/platform/foundation/Date.h"
#include "zukit/platform/foundation/NSSearchPath.h"
#include "zukit/platform/foundation/NSURL.h"
#include "zukit/storage/ZuImageDiskCache.h"
#include "zukit/storage/ZuVideoDiskCache.h"
#include "zukit/utils/ZuUtils.h"

namespace zukit::demo {

namespace {

void showIndex(const char* name, const ZuDiskCache& cache) {
  sayf("%@ index, oldest first (%lu entries):", name, cache.keys().size());
  for (const std::string& entry : cache.keys()) {
    const auto parts = ZuDiskCache::componentsOfEntry(entry);
    const auto second = ZuDiskCache::storingSecondOfComponents(parts);
    if (!second) {
      sayf("  %@ -> not an entry of this cache", entry);
      continue;
    }
    const auto date = ZuUtils::stringFromDate(
        zu::Date::dateWithTimeIntervalSince1970(static_cast<double>(*second)));
    sayf("  %@ -> key \"%@\", stored at second %lld (%@)", entry, parts.front(),
         static_cast<long long>(*second), date.value_or("?"));
  }
}

void showImageCache(DemoContext& /*context*/) {
  const auto cache = ZuImageDiskCache::cache();
  const zu::Value key("https://example.com/logo.png");
  const std::string png = "\x89PNG demo bytes";
  cache->setImageData(zu::Data(png.begin(), png.end()), key);
  const auto found = cache->imageDataForKey(key);
  sayf("stored %lu bytes under %@; found again: %lu bytes, equal: %@", png.size(), key,
       found ? found->size() : 0UL,
       found && std::string(found->begin(), found->end()) == png ? "yes" : "no");
  cache->containsImageDataForKey(key, [](bool contained, const zu::Value& reported,
                                         const std::optional<zu::Data>& data) {
    sayf("containsImageDataForKey called back before returning: contained %@, key %@, %lu bytes",
         contained ? "YES" : "NO", reported, data ? data->size() : 0UL);
  });
  sayf("a key that was never stored: %@",
       cache->containsImageDataForKey(zu::Value("https://example.com/none.png")) ? "YES" : "NO");
  showIndex("image cache", *cache);
}

void showVideoCache(DemoContext& /*context*/) {
  const auto cache = ZuVideoDiskCache::cache();
  const std::string download = zu::NSTemporaryDirectory() + "zukit-demo-clip.download";
  std::ofstream(download, std::ios::binary) << "a few bytes standing for a video";
  const zu::Value key("https://example.com/clip.mp4");
  cache->setVideoPath(zu::NSURL::fileURLWithPath(download), key);
  sayf("the download was moved away: %@", std::filesystem::exists(download) ? "no" : "yes");

  const std::string entry = cache->keys().empty() ? std::string() : cache->keys().back();
  const std::string stored = cache->videoDirectory() + entry + ".mp4";
  sayf("the file now lies beside the video directory: %@ (exists: %@)", stored,
       std::filesystem::exists(stored) ? "yes" : "no");
  const auto path = cache->videoPathForKey(key);
  sayf("videoPathForKey hands out the path inside it: %@", path ? path->path() : "(none)");
  cache->containsVideoPathForKey(
      key, [](bool contained, const zu::Value& reported, const std::shared_ptr<zu::NSURL>& url) {
        sayf("containsVideoPathForKey: contained %@, key %@, URL %@", contained ? "YES" : "NO",
             reported, url ? url->absoluteString() : "(none)");
      });
  showIndex("video cache", *cache);
  sayf("age limit %.0f s, trim every %.0f s", cache->ageLimit(), cache->autoTrimInterval());
}

const DemoRegistration kImageCache(25, "Image disk cache", &showImageCache);
const DemoRegistration kVideoCache(26, "Video disk cache", &showVideoCache);

}  // namespace

}  // namespace zukit::demo
