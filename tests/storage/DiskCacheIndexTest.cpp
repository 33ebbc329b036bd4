// The disk caches' map from key to first entry: after every kind of change to the index, each
// lookup, membership test and already-indexed test answers exactly as a walk over the index,
// oldest entry first, would.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/storage/DiskCacheTestSupport.h"
#include "zukit/platform/foundation/NSURL.h"
#include "zukit/platform/foundation/NSUserDefaults.h"
#include "zukit/storage/ZuImageDiskCache.h"
#include "zukit/storage/ZuVideoDiskCache.h"
#include "zukit/utils/ZuUtils.h"

namespace {

using zu::Value;
using zukit::test::bytesOf;
using zukit::test::ClockScope;
using zukit::test::entryOf;

// The keys every check asks for: plain keys, keys stored twice, a key holding the separator,
// the part of that key before the separator, and keys never stored.
const std::vector<std::string>& probeKeys() {
  static const std::vector<std::string> keys = {
      "a", "b", "c", "twice", "a__#Zu#__b", "x__#Zu#__", "x", "never", "A", "bare", "old"};
  return keys;
}

// The answer of the walk: the first entry, oldest first, whose decoded key part equals `key`.
std::optional<std::string> walkFirstEntry(const std::vector<std::string>& index,
                                          const std::string& key) {
  for (const std::string& entry : index) {
    const std::vector<std::string> parts = ZuDiskCache::componentsOfEntry(entry);
    if (!parts.empty() && parts.front() == key) return entry;
  }
  return std::nullopt;
}

// Checks every answer of the image cache against the walk over its index as it stands.
void expectImageAnswersMatchTheWalk(const ZuImageDiskCache& cache, const std::string& step) {
  const std::vector<std::string> index = cache.keys();
  for (const std::string& key : probeKeys()) {
    const std::optional<std::string> entry = walkFirstEntry(index, key);
    const std::optional<zu::Data> expected =
        entry ? cache._imageDataForKey(*entry) : std::optional<zu::Data>();
    EXPECT_EQ(cache.imageDataForKey(Value(key)), expected) << step << ", key " << key;
    EXPECT_EQ(cache.containsImageDataForKey(Value(key)), entry.has_value())
        << step << ", key " << key;
    int calls = 0;
    cache.containsImageDataForKey(Value(key), [&](bool contained, const Value& reported,
                                                  const std::optional<zu::Data>& data) {
      ++calls;
      EXPECT_EQ(contained, expected.has_value()) << step << ", key " << key;
      EXPECT_EQ(reported, Value(key));
      EXPECT_EQ(data, expected) << step << ", key " << key;
    });
    EXPECT_EQ(calls, 1) << step << ", key " << key;
  }
}

// Sets the image cache's index to `entries` as the preferences hold it, then reads it back.
void replaceImageIndex(ZuImageDiskCache& cache, const std::vector<std::string>& entries) {
  const auto defaults = zu::NSUserDefaults::standardUserDefaults();
  defaults->setObject(Value(zu::Array(entries.begin(), entries.end())), "ZuImageDiskCacheKeys");
  defaults->synchronize();
  cache.reloadIndexForTesting();
}

class DiskCacheIndexTest : public ::testing::Test {
 protected:
  void SetUp() override {
    images = ZuImageDiskCache::cache();
    videos = ZuVideoDiskCache::cache();
    images->removeAllCaches();
    videos->removeAllCaches();
  }
  void TearDown() override {
    images->removeAllCaches();
    videos->removeAllCaches();
  }

  std::shared_ptr<ZuImageDiskCache> images;
  std::shared_ptr<ZuVideoDiskCache> videos;
};

TEST_F(DiskCacheIndexTest, ImageLookupsAnswerAsTheWalkThroughAddsDuplicatesTrimsAndRemovals) {
  ClockScope clock(100);
  images->setImageData(bytesOf("a@100"), Value("a"));
  images->setImageData(bytesOf("twice@100"), Value("twice"));
  images->setImageData(bytesOf("separator@100"), Value("a__#Zu#__b"));
  images->setImageData(std::nullopt, Value("b"));
  expectImageAnswersMatchTheWalk(*images, "first adds");

  // The same key in a later second adds a second entry; lookups keep the first. The same key in
  // the same second is the same entry, indexed once, its bytes replaced.
  ClockScope::set(200);
  images->setImageData(bytesOf("twice@200"), Value("twice"));
  images->setImageData(bytesOf("c@200"), Value("c"));
  images->setImageData(bytesOf("c@200, again"), Value("c"));
  images->setImageData(bytesOf("x-separator@200"), Value("x__#Zu#__"));
  EXPECT_EQ(images->keys().size(), 7U);
  EXPECT_EQ(images->imageDataForKey(Value("twice")), bytesOf("twice@100"));
  EXPECT_EQ(images->imageDataForKey(Value("c")), bytesOf("c@200, again"));
  // A key cut at the separator is found by its first part, never by itself.
  EXPECT_FALSE(images->containsImageDataForKey(Value("a__#Zu#__b")));
  EXPECT_TRUE(images->containsImageDataForKey(Value("x")));
  expectImageAnswersMatchTheWalk(*images, "later adds");

  // A pass removes "a" from slot 0 and skips the first "twice" that slides into its place; the
  // next pass removes that one, and the second "twice" becomes the first.
  images->removeCachesEalierThanTime(150);
  EXPECT_EQ(images->imageDataForKey(Value("twice")), bytesOf("twice@100"));
  expectImageAnswersMatchTheWalk(*images, "first trim pass");
  images->removeCachesEalierThanTime(150);
  EXPECT_EQ(images->imageDataForKey(Value("twice")), bytesOf("twice@200"));
  expectImageAnswersMatchTheWalk(*images, "second trim pass");
  images->removeCachesEalierThanTime(150);
  EXPECT_FALSE(images->containsImageDataForKey(Value("a")));
  expectImageAnswersMatchTheWalk(*images, "third trim pass");

  // A trim to an age removes what is older; a trim to age 0 removes everything.
  ClockScope::set(100000);
  images->trimToAge(100000 - 250);
  expectImageAnswersMatchTheWalk(*images, "trim to age");
  images->trimToAge(0);
  EXPECT_TRUE(images->keys().empty());
  expectImageAnswersMatchTheWalk(*images, "trim to age 0");

  ClockScope::set(300);
  images->setImageData(bytesOf("a@300"), Value("a"));
  EXPECT_EQ(images->imageDataForKey(Value("a")), bytesOf("a@300"));
  images->removeAllCaches();
  EXPECT_FALSE(images->containsImageDataForKey(Value("a")));
  expectImageAnswersMatchTheWalk(*images, "after removing everything");
}

TEST_F(DiskCacheIndexTest, EntriesThatDoNotDecodeNeverMatchAndDuplicatesKeepTheFirst) {
  const ClockScope clock(500);
  // An index as a hand edit or another version may leave it: text that is not base64, base64
  // of bytes that are not UTF-8, base64 without a separator, an entry twice, and a key whose
  // first entry comes after an undecodable one.
  const std::string notUtf8 = ZuUtils::base64Encode(Value(zu::Data{0xFF, 0xFE, 0x41})).value_or("");
  const std::vector<std::string> handMade = {
      "!!! not base64 !!!",
      notUtf8,
      ZuUtils::base64Encode(Value("bare")).value_or(""),
      entryOf("a", 400),
      entryOf("a", 400),
      entryOf("b", 300),
      entryOf("a", 450),
      entryOf("old", 100),
  };
  const auto defaults = zu::NSUserDefaults::standardUserDefaults();
  defaults->setObject(Value(bytesOf("bytes of a@400")), entryOf("a", 400));
  defaults->setObject(Value(bytesOf("bytes of a@450")), entryOf("a", 450));
  replaceImageIndex(*images, handMade);
  EXPECT_EQ(images->keys(), handMade);
  // A key with no separator reads back as itself, so "bare" is found.
  EXPECT_TRUE(images->containsImageDataForKey(Value("bare")));
  EXPECT_EQ(images->imageDataForKey(Value("a")), bytesOf("bytes of a@400"));
  expectImageAnswersMatchTheWalk(*images, "hand-made index");

  // The already-indexed test: storing "a" again at second 400 adds nothing, at 450 neither.
  ClockScope::set(400);
  images->setImageData(bytesOf("a@400, again"), Value("a"));
  ClockScope::set(450);
  images->setImageData(bytesOf("a@450, again"), Value("a"));
  EXPECT_EQ(images->keys(), handMade);
  expectImageAnswersMatchTheWalk(*images, "stores of entries already indexed");

  // Removing one of the two equal entries leaves the other first; removing both hands "a" to
  // its entry of second 450. Entries that do not decode are never removed by age.
  images->removeCachesEalierThanTime(401);
  expectImageAnswersMatchTheWalk(*images, "one copy of a@400 removed");
  images->removeCachesEalierThanTime(401);
  images->removeCachesEalierThanTime(401);
  EXPECT_EQ(images->imageDataForKey(Value("a")), bytesOf("a@450, again"));
  expectImageAnswersMatchTheWalk(*images, "both copies of a@400 removed");
  const std::vector<std::string> left = images->keys();
  ASSERT_GE(left.size(), 3U);
  EXPECT_EQ(left[0], "!!! not base64 !!!");
  EXPECT_EQ(left[1], notUtf8);
}

TEST_F(DiskCacheIndexTest, VideoLookupsAnswerAsTheWalk) {
  const ClockScope clock(700);
  const auto absent = zu::NSURL::fileURLWithPath("/nonexistent/zukit-test.mp4");
  videos->setVideoPath(absent, Value("v"));
  videos->setVideoPath(absent, Value("v__#Zu#__w"));
  ClockScope::set(800);
  videos->setVideoPath(absent, Value("v"));
  videos->setVideoPath(absent, Value("w"));
  const auto check = [this](const std::string& step) {
    const std::vector<std::string> index = videos->keys();
    for (const char* const text : {"v", "w", "v__#Zu#__w", "never"}) {
      const std::string key(text);
      const std::optional<std::string> entry = walkFirstEntry(index, key);
      const auto found = videos->videoPathForKey(Value(key));
      EXPECT_EQ(found ? found->path() : "", entry ? videos->_videoPathForKey(*entry)->path() : "")
          << step << ", key " << key;
      int calls = 0;
      videos->containsVideoPathForKey(
          Value(key), [&](bool contained, const Value&, const std::shared_ptr<zu::NSURL>& url) {
            ++calls;
            EXPECT_EQ(contained, entry.has_value()) << step << ", key " << key;
            EXPECT_EQ(url != nullptr, entry.has_value()) << step << ", key " << key;
          });
      EXPECT_EQ(calls, 1);
    }
  };
  check("adds");
  videos->removeCachesEalierThanTime(750);
  check("first trim pass");
  videos->removeCachesEalierThanTime(750);
  check("second trim pass");
  EXPECT_EQ(videos->keys().size(), 2U);
}

}  // namespace
