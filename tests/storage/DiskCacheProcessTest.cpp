// The disk caches across processes: the index outlives the process, a damaged preference file
// reads as an empty one, and a periodic trim with no age limit blocks the cache for good.

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/storage/DiskCacheTestSupport.h"
#include "tests/support/Probe.h"
#include "tests/support/StderrCapture.h"
#include "tests/support/TestHome.h"
#include "zukit/platform/foundation/NSPropertyListSerialization.h"

namespace {

namespace fs = std::filesystem;
using zukit::test::entryOf;
using zukit::test::ProbeResult;
using zukit::test::readFile;
using zukit::test::runProbe;

// Runs the probe's cache command and expects it to finish well.
std::string cacheProbe(const std::vector<std::string>& steps) {
  std::vector<std::string> arguments{"cache"};
  arguments.insert(arguments.end(), steps.begin(), steps.end());
  const ProbeResult result = runProbe(arguments);
  EXPECT_EQ(result.exitCode, 0) << result.standardError;
  return result.standardOutput;
}

// The standard preference file that every probe shares.
std::string preferenceFile() {
  const std::string path = cacheProbe({"path"});
  return path.empty() ? path : path.substr(0, path.size() - 1);
}

void writeFile(const std::string& path, const std::string& content) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

TEST(DiskCacheProcess, TheIndexSurvivesARelaunch) {
  const std::string documents = zukit::test::TestHome::current() + "/Documents";
  const std::string download = zukit::test::TestHome::current() + "/clip.download";
  writeFile(download, "video bytes");
  EXPECT_EQ(cacheProbe({"clock", "1000", "store", "k1", "hello", "store", "k2", "world", "video",
                        "clock", "2000", "store", "v1", download}),
            "");
  EXPECT_EQ(readFile(documents + "/Zu_Video" + entryOf("v1", 2000) + ".mp4"), "video bytes");

  EXPECT_EQ(cacheProbe({"find", "k1", "find", "k2", "find", "v1", "index", "video", "find", "v1",
                        "find", "k1", "index"}),
            "found k1: hello\n"
            "found k2: world\n"
            "missing v1\n"
            "entry k1 1000\n"
            "entry k2 1000\n"
            "found v1: " +
                documents + "/Zu_Video/" + entryOf("v1", 2000) + ".mp4\n" +
                "missing k1\n"
                "entry v1 2000\n");
}

TEST(DiskCacheProcess, ADamagedPreferenceFileReadsAsEmptyAndIsRewritten) {
  const std::string file = preferenceFile();
  ASSERT_FALSE(file.empty());
  EXPECT_EQ(cacheProbe({"clock", "1000", "store", "k1", "before"}), "");
  // A binary header with a stray NUL, then half an XML document: neither form reads.
  constexpr char kGarbage[] = "bplist00\xff\x00<plist><dict><key>ZuImageDiskCacheKeys";
  writeFile(file, std::string(kGarbage, sizeof kGarbage - 1));

  EXPECT_EQ(cacheProbe({"find", "k1", "index", "clock", "1500", "store", "k2", "after", "index"}),
            "missing k1\n"
            "entry k2 1500\n");
  const std::string text = readFile(file);
  const zu::Value plist =
      zu::NSPropertyListSerialization::propertyListWithData(zu::Data(text.begin(), text.end()), 0);
  ASSERT_TRUE(plist.isDictionary()) << text;
  EXPECT_EQ(plist.asDictionary()->objectForKey("ZuImageDiskCacheKeys"),
            zu::Value(zu::Array{zu::Value(entryOf("k2", 1500))}));
  EXPECT_EQ(cacheProbe({"find", "k2"}), "found k2: after\n");
}

TEST(DiskCacheProcess, AHandEditedIndexKeepsItsTextsAndUndecodableEntriesNeverExpire) {
  const std::string file = preferenceFile();
  ASSERT_FALSE(file.empty());
  zu::Dictionary values;
  values.setObject(
      zu::Value(zu::Array{zu::Value("!!!"), zu::Value(42), zu::Value(entryOf("k", 100)),
                          zu::Value("cGxhaW4="), zu::Value(entryOf("late", 9500))}),
      "ZuImageDiskCacheKeys");
  values.setObject(zu::Value(zukit::test::bytesOf("kept")), entryOf("k", 100));
  const auto bytes = zu::NSPropertyListSerialization::dataWithPropertyList(
      zu::Value(values), zu::NSPropertyListXMLFormat_v1_0, 0);
  ASSERT_TRUE(bytes.has_value());
  writeFile(file, std::string(bytes->begin(), bytes->end()));

  // "cGxhaW4=" is "plain": no separator, so no storing second.
  EXPECT_EQ(cacheProbe({"index", "find", "k", "clock", "10000", "trim", "1000", "index", "trim",
                        "1000", "index", "find", "k"}),
            "entry undecodable !!!\n"
            "entry k 100\n"
            "entry plain -\n"
            "entry late 9500\n"
            "found k: kept\n"
            "entry undecodable !!!\n"
            "entry plain -\n"
            "entry late 9500\n"
            "entry undecodable !!!\n"
            "entry plain -\n"
            "entry late 9500\n"
            "missing k\n");
}

TEST(DiskCacheProcess, APeriodicTrimWithNoAgeLimitBlocksTheCacheForGood) {
  const std::vector<std::string> steps = {"cache", "first-interval", "0.05",   "clock",
                                          "1000",  "store",          "before", "x"};
  // With an age limit the trim takes the expired entry out and later stores go through.
  std::vector<std::string> limited = steps;
  limited.insert(limited.end(), {"age", "10", "clock", "2000", "wait-expired", "before", "store",
                                 "after", "y", "say", "stored after"});
  const ProbeResult control = runProbe(limited);
  EXPECT_EQ(control.exitCode, 0) << control.standardError;
  EXPECT_EQ(control.standardOutput, "trim ran\nstored after\n");

  // With none the trim empties the cache and then waits on the lock it holds itself: the store
  // of a new entry never comes back. The probe is killed after a generous window.
  std::vector<std::string> unlimited = steps;
  // The entry "after" of second 2000 is still indexed from the first run: storing it again
  // takes no lock and returns; a new entry needs the lock and never does.
  unlimited.insert(unlimited.end(), {"age", "0", "clock", "2000", "wait-expired", "before", "store",
                                     "after", "y", "say", "indexed entry stored", "store", "later",
                                     "y", "say", "new entry stored"});
  const ProbeResult blocked = runProbe(unlimited, {}, std::chrono::seconds(10));
  EXPECT_TRUE(blocked.timedOut);
  EXPECT_EQ(blocked.standardOutput, "trim ran\nindexed entry stored\n") << blocked.standardError;
}

}  // namespace
