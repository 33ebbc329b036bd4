#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/storage/StoreTestSupport.h"
#include "zukit/platform/foundation/NSKeyedArchiver.h"
#include "zukit/platform/foundation/NSPropertyListSerialization.h"
#include "zukit/storage/ZuDataArchiver.h"

namespace {

using zu::Value;

// A file in a directory of the running test's own.
std::string pathFor(const std::string& name) {
  const std::string directory =
      zukit::test::TestHome::current() + "/" + zukit::test::uniqueName("archives-");
  std::filesystem::create_directories(directory);
  return directory + "/" + name;
}

void writeBytes(const std::string& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << bytes;
}

TEST(ZuDataArchiverTest, AnObjectGraphRoundTripsThroughItsFile) {
  const Value graph(zu::Dictionary{
      {"name", Value("ZuKit")},
      {"launches", Value(3)},
      {"nothing", Value::null()},
      {"history", Value(zu::Array{Value(zu::Date::dateWithTimeIntervalSince1970(1700000000)),
                                  Value(zu::Data{1, 2, 3}), Value(false)})}});
  const std::string path = pathFor("graph.archive");
  ASSERT_TRUE(ZuDataArchiver::setData(graph, path));
  EXPECT_EQ(ZuDataArchiver::getDataForPath(path), graph);
  // The file is the keyed archive itself.
  const std::string bytes = zukit::test::readFile(path);
  EXPECT_EQ(zu::Data(bytes.begin(), bytes.end()),
            *zu::NSKeyedArchiver::archivedDataWithRootObject(graph));
  EXPECT_EQ(bytes.substr(0, 8), "bplist00");

  ASSERT_TRUE(ZuDataArchiver::setData(Value("replaced"), path));
  EXPECT_EQ(ZuDataArchiver::getDataForPath(path), Value("replaced"));
  // Nothing but the archive is left in its directory.
  EXPECT_EQ(
      std::distance(std::filesystem::directory_iterator(std::filesystem::path(path).parent_path()),
                    std::filesystem::directory_iterator()),
      1);
}

TEST(ZuDataArchiverTest, NothingToArchiveOrAnUnwritableFileGivesNoAndLeavesTheFile) {
  const std::string path = pathFor("kept.archive");
  ASSERT_TRUE(ZuDataArchiver::setData(Value("original"), path));
  const std::string before = zukit::test::readFile(path);
  EXPECT_FALSE(ZuDataArchiver::setData(Value(), path));
  EXPECT_FALSE(ZuDataArchiver::setData(Value(std::string("\xc3\x28")), path));
  EXPECT_FALSE(ZuDataArchiver::setData(Value(std::make_shared<zu::NSError>("domain", 1)), path));
  EXPECT_EQ(zukit::test::readFile(path), before);
  EXPECT_EQ(ZuDataArchiver::getDataForPath(path), Value("original"));

  EXPECT_FALSE(ZuDataArchiver::setData(Value(), pathFor("never.archive")));
  EXPECT_FALSE(std::filesystem::exists(pathFor("never.archive")));
  EXPECT_FALSE(ZuDataArchiver::setData(Value("x"), pathFor("missing-directory/file.archive")));
  EXPECT_FALSE(std::filesystem::exists(pathFor("missing-directory")));
  // Empty values are values.
  EXPECT_TRUE(ZuDataArchiver::setData(Value(""), pathFor("empty.archive")));
  EXPECT_EQ(ZuDataArchiver::getDataForPath(pathFor("empty.archive")), Value(""));
}

TEST(ZuDataArchiverTest, MissingCorruptAndForeignFilesReadAsNoValue) {
  EXPECT_TRUE(ZuDataArchiver::getDataForPath(pathFor("absent.archive")).isAbsent());
  EXPECT_TRUE(ZuDataArchiver::getDataForPath("").isAbsent());
  EXPECT_TRUE(ZuDataArchiver::getDataForPath(zukit::test::TestHome::current()).isAbsent());
  EXPECT_TRUE(ZuDataArchiver::getDataForPath("/dev/null").isAbsent());

  const std::string path = pathFor("damaged.archive");
  ASSERT_TRUE(ZuDataArchiver::setData(Value(zu::Array{Value("a"), Value(1)}), path));
  const std::string archive = zukit::test::readFile(path);
  writeBytes(path, archive.substr(0, archive.size() / 2));
  EXPECT_TRUE(ZuDataArchiver::getDataForPath(path).isAbsent());
  writeBytes(path, "");
  EXPECT_TRUE(ZuDataArchiver::getDataForPath(path).isAbsent());
  writeBytes(path, std::string("\x00\x01\x02 not an archive", 18));
  EXPECT_TRUE(ZuDataArchiver::getDataForPath(path).isAbsent());
  const auto plainPlist = zu::NSPropertyListSerialization::dataWithPropertyList(
      Value(zu::Array{Value("a")}), zu::NSPropertyListXMLFormat_v1_0, 0);
  writeBytes(path, std::string(plainPlist->begin(), plainPlist->end()));
  EXPECT_TRUE(ZuDataArchiver::getDataForPath(path).isAbsent());
}

}  // namespace
