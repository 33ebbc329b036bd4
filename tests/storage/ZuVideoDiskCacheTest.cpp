// The video disk cache on real files: where stores move them, what lookups hand out, and that
// removals leave the files alone.

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/storage/DiskCacheTestSupport.h"
#include "tests/support/StderrCapture.h"
#include "tests/support/TestHome.h"
#include "zukit/platform/foundation/NSURL.h"
#include "zukit/storage/ZuVideoDiskCache.h"

namespace {

namespace fs = std::filesystem;
using zu::Value;
using zukit::test::ClockScope;
using zukit::test::DecodedEntry;
using zukit::test::decodedIndex;
using zukit::test::entryOf;
using zukit::test::persistedIndex;
using zukit::test::readFile;

constexpr const char* kIndexKey = "ZuVideoDiskCacheKeys";

// One call of a membership callback.
struct Report {
  bool contained;
  std::string key;
  std::shared_ptr<zu::NSURL> path;
};

class ZuVideoDiskCacheTest : public ::testing::Test {
 protected:
  void SetUp() override {
    cache = ZuVideoDiskCache::cache();
    cache->removeAllCaches();
    documents = zukit::test::TestHome::current() + "/Documents";
    downloads = zukit::test::TestHome::current() + "/downloads-" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name();
    fs::create_directories(downloads);
  }
  void TearDown() override { cache->removeAllCaches(); }

  // A finished download: a real file holding `content`.
  std::shared_ptr<zu::NSURL> download(const std::string& name, const std::string& content) const {
    const std::string path = downloads + "/" + name;
    std::ofstream(path, std::ios::binary) << content;
    return zu::NSURL::fileURLWithPath(path);
  }

  // Every callback of one containsVideoPathForKey() call, gathered before it returns.
  std::vector<Report> reportsFor(const Value& key) const {
    std::vector<Report> reports;
    cache->containsVideoPathForKey(key, [&reports](bool contained, const Value& reported,
                                                   const std::shared_ptr<zu::NSURL>& path) {
      reports.push_back(Report{contained, reported.description(), path});
    });
    return reports;
  }

  std::shared_ptr<ZuVideoDiskCache> cache;
  std::string documents;
  std::string downloads;
};

TEST_F(ZuVideoDiskCacheTest, StoreMovesTheFileBesideTheDirectoryAndLookupsPointInsideIt) {
  const ClockScope clock(1600000000);
  const std::string entry = "azFfXyNadSNfXzE2MDAwMDAwMDA=";
  EXPECT_EQ(cache->videoDirectory(), documents + "/Zu_Video");
  EXPECT_TRUE(fs::is_directory(documents + "/Zu_Video"));

  const auto source = download("clip.tmp", "mp4 bytes");
  cache->setVideoPath(source, Value("k1"));
  EXPECT_FALSE(fs::exists(source->path()));
  const std::string stored = documents + "/Zu_Video" + entry + ".mp4";
  EXPECT_EQ(readFile(stored), "mp4 bytes");
  EXPECT_EQ(cache->keys(), std::vector<std::string>{entry});
  EXPECT_EQ(persistedIndex(kIndexKey), std::vector<std::string>{entry});

  // The lookup names a file inside the directory, which the store never wrote.
  const std::string handedOut = documents + "/Zu_Video/" + entry + ".mp4";
  const auto path = cache->videoPathForKey(Value("k1"));
  ASSERT_NE(path, nullptr);
  EXPECT_TRUE(path->isFileURL());
  EXPECT_EQ(path->path(), handedOut);
  EXPECT_FALSE(fs::exists(handedOut));
  auto reports = reportsFor(Value("k1"));
  ASSERT_EQ(reports.size(), 1U);
  EXPECT_TRUE(reports[0].contained);
  EXPECT_EQ(reports[0].key, "k1");
  ASSERT_NE(reports[0].path, nullptr);
  EXPECT_EQ(reports[0].path->path(), handedOut);

  reports = reportsFor(Value("k2"));
  ASSERT_EQ(reports.size(), 1U);
  EXPECT_FALSE(reports[0].contained);
  EXPECT_EQ(reports[0].path, nullptr);
  EXPECT_EQ(cache->videoPathForKey(Value("k2")), nullptr);
}

TEST_F(ZuVideoDiskCacheTest, AFailedMoveIsIndexedAllTheSame) {
  const ClockScope clock(100);
  // "?>?__#Zu#__100" is "Pz4/X18jWnUjX18xMDA=": the "/" names a directory that does not exist.
  const auto slashed = download("slashed.tmp", "slashed");
  cache->setVideoPath(slashed, Value("?>?"));
  EXPECT_EQ(readFile(slashed->path()), "slashed");
  EXPECT_FALSE(fs::exists(documents + "/Zu_VideoPz4"));
  EXPECT_EQ(decodedIndex(*cache), (std::vector<DecodedEntry>{{"?>?", 100}}));
  const auto path = cache->videoPathForKey(Value("?>?"));
  ASSERT_NE(path, nullptr);
  EXPECT_EQ(path->path(), documents + "/Zu_Video/Pz4/X18jWnUjX18xMDA=.mp4");

  // The same key twice in one second: the second move finds its destination taken, so the
  // first file stays and the second stays where it was.
  const auto first = download("first.tmp", "first");
  const auto second = download("second.tmp", "second");
  cache->setVideoPath(first, Value("twice"));
  cache->setVideoPath(second, Value("twice"));
  EXPECT_EQ(readFile(documents + "/Zu_Video" + entryOf("twice", 100) + ".mp4"), "first");
  EXPECT_EQ(readFile(second->path()), "second");
  EXPECT_EQ(cache->keys().size(), 2U);

  // A source that is not there: still indexed.
  cache->setVideoPath(zu::NSURL::fileURLWithPath(downloads + "/missing.tmp"), Value("ghost"));
  EXPECT_NE(cache->videoPathForKey(Value("ghost")), nullptr);
  EXPECT_EQ(cache->keys().size(), 3U);
}

TEST_F(ZuVideoDiskCacheTest, RemovalsDropEntriesButLeaveTheFiles) {
  ClockScope clock(100);
  cache->setVideoPath(download("a.tmp", "a"), Value("a"));
  ClockScope::set(200);
  cache->setVideoPath(download("b.tmp", "b"), Value("b"));
  const std::string fileA = documents + "/Zu_Video" + entryOf("a", 100) + ".mp4";
  const std::string fileB = documents + "/Zu_Video" + entryOf("b", 200) + ".mp4";

  cache->removeCachesEalierThanTime(150);
  EXPECT_EQ(decodedIndex(*cache), (std::vector<DecodedEntry>{{"b", 200}}));
  EXPECT_EQ(cache->videoPathForKey(Value("a")), nullptr);
  EXPECT_EQ(readFile(fileA), "a");

  cache->trimToAge(0);
  EXPECT_TRUE(cache->keys().empty());
  EXPECT_FALSE(persistedIndex(kIndexKey).has_value());
  EXPECT_EQ(readFile(fileB), "b");

  ClockScope::set(300);
  cache->setVideoPath(download("c.tmp", "c"), Value("c"));
  cache->removeAllCaches();
  EXPECT_TRUE(cache->keys().empty());
  EXPECT_EQ(readFile(documents + "/Zu_Video" + entryOf("c", 300) + ".mp4"), "c");
  EXPECT_TRUE(fs::is_directory(documents + "/Zu_Video"));
}

TEST_F(ZuVideoDiskCacheTest, AnAbsentUrlOrABadKeyMovesNothing) {
  const ClockScope clock(100);
  cache->setVideoPath(nullptr, Value("k"));
  EXPECT_TRUE(cache->keys().empty());
  const auto source = download("kept.tmp", "kept");
  for (const Value& bad : {Value(), Value::null(), Value(""), Value(3.5)}) {
    cache->setVideoPath(source, bad);
    EXPECT_EQ(cache->videoPathForKey(bad), nullptr) << bad.description();
    EXPECT_TRUE(reportsFor(bad).empty()) << bad.description();
  }
  // Bytes that are not UTF-8 make no entry: nothing moves, and the key is simply not there.
  const Value notText(std::string("\xc3\x28"));
  cache->setVideoPath(source, notText);
  EXPECT_EQ(cache->videoPathForKey(notText), nullptr);
  const auto reports = reportsFor(notText);
  ASSERT_EQ(reports.size(), 1U);
  EXPECT_FALSE(reports[0].contained);
  EXPECT_TRUE(cache->keys().empty());
  EXPECT_EQ(readFile(source->path()), "kept");
  EXPECT_FALSE(persistedIndex(kIndexKey).has_value());
  // A key holding the separator is stored and moved, but never found.
  cache->setVideoPath(source, Value("x__#Zu#__y"));
  EXPECT_EQ(cache->keys().size(), 1U);
  EXPECT_FALSE(fs::exists(source->path()));
  EXPECT_EQ(cache->videoPathForKey(Value("x__#Zu#__y")), nullptr);
}

}  // namespace
