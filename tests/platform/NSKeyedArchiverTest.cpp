#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "zukit/platform/foundation/NSKeyedArchiver.h"
#include "zukit/platform/foundation/NSKeyedUnarchiver.h"
#include "zukit/platform/foundation/NSPropertyListSerialization.h"

namespace {

using zu::Array;
using zu::Dictionary;
using zu::Value;

Value uid(std::int64_t n) {
  return Value(Dictionary{{"CF$UID", Value(n)}});
}

Value classEntry(const char* name) {
  return Value(Dictionary{{"$classes", Value(Array{Value(name), Value("NSObject")})},
                          {"$classname", Value(name)}});
}

// An XML keyed archive with `objects` after "$null" and the root `root`.
zu::Data xmlArchive(const std::string& objects, int root) {
  const std::string text =
      R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>)"
      R"(<key>$archiver</key><string>NSKeyedArchiver</string>)"
      R"(<key>$version</key><integer>100000</integer>)"
      R"(<key>$top</key><dict><key>root</key><dict><key>CF$UID</key><integer>)" +
      std::to_string(root) +
      R"(</integer></dict></dict><key>$objects</key><array><string>$null</string>)" + objects +
      "</array></dict></plist>";
  return {text.begin(), text.end()};
}

std::string ref(std::size_t n) {
  return "<dict><key>CF$UID</key><integer>" + std::to_string(n) + "</integer></dict>";
}

std::string arrayObject(const std::vector<std::size_t>& elements, std::size_t classUID) {
  std::string text = "<dict><key>$class</key>" + ref(classUID) + "<key>NS.objects</key><array>";
  for (std::size_t element : elements)
    text += ref(element);
  return text + "</array></dict>";
}

const std::string kArrayClass =
    "<dict><key>$classes</key><array><string>NSArray</string><string>NSObject</string></array>"
    "<key>$classname</key><string>NSArray</string></dict>";

TEST(NSKeyedArchiverTest, WritesTheKeyedArchiveLayoutAsABinaryPropertyList) {
  const auto data = zu::NSKeyedArchiver::archivedDataWithRootObject(
      Value(Array{Value("a"), Value("b"), Value("a")}));
  ASSERT_TRUE(data);
  zu::NSPropertyListFormat format{};
  const Value plist = zu::NSPropertyListSerialization::propertyListWithData(*data, 0, &format);
  EXPECT_EQ(format, zu::NSPropertyListBinaryFormat_v1_0);
  const Value expected(Dictionary{
      {"$version", Value(100000)},
      {"$archiver", Value("NSKeyedArchiver")},
      {"$top", Value(Dictionary{{"root", uid(1)}})},
      {"$objects",
       Value(Array{Value("$null"),
                   Value(Dictionary{{"$class", uid(4)},
                                    {"NS.objects", Value(Array{uid(2), uid(3), uid(2)})}}),
                   Value("a"), Value("b"), classEntry("NSArray")})}});
  EXPECT_EQ(plist, expected);

  const auto dictionary = zu::NSKeyedArchiver::archivedDataWithRootObject(
      Value(Dictionary{{"when", Value(zu::Date::dateWithTimeIntervalSince1970(978307200.0 + 10.5))},
                       {"none", Value::null()}}));
  ASSERT_TRUE(dictionary);
  const Value objects = zu::NSPropertyListSerialization::propertyListWithData(*dictionary, 0)
                            .asDictionary()
                            ->objectForKey("$objects");
  const Value expectedObjects(Array{Value("$null"),
                                    Value(Dictionary{{"$class", uid(8)},
                                                     {"NS.keys", Value(Array{uid(2), uid(3)})},
                                                     {"NS.objects", Value(Array{uid(4), uid(6)})}}),
                                    Value("when"), Value("none"),
                                    Value(Dictionary{{"$class", uid(5)}, {"NS.time", Value(10.5)}}),
                                    classEntry("NSDate"), Value(Dictionary{{"$class", uid(7)}}),
                                    classEntry("NSNull"), classEntry("NSDictionary")});
  EXPECT_EQ(objects, expectedObjects);
}

TEST(NSKeyedArchiverTest, EveryValueKindRoundTripsWithItsKind) {
  const Value graph(Dictionary{
      {"text", Value("中文 and ASCII")},
      {"empty text", Value("")},
      {"integers", Value(Array{Value(0), Value(-3), Value(std::numeric_limits<std::int64_t>::min()),
                               Value(std::numeric_limits<std::int64_t>::max())})},
      {"real", Value(-2.25)},
      {"yes", Value(true)},
      {"no", Value(false)},
      {"bytes", Value(zu::Data{0, 1, 0xFF})},
      {"no bytes", Value(zu::Data{})},
      {"date", Value(zu::Date::dateWithTimeIntervalSince1970(1600000000.125))},
      {"null", Value::null()},
      {"nested", Value(Array{Value(Dictionary{}), Value(Array{}), Value(Array{Value("deep")})})}});
  const auto data = zu::NSKeyedArchiver::archivedDataWithRootObject(graph);
  ASSERT_TRUE(data);
  const Value back = zu::NSKeyedUnarchiver::unarchiveObjectWithData(*data);
  EXPECT_EQ(back, graph);
  const Dictionary& fields = *back.asDictionary();
  EXPECT_TRUE(fields.objectForKey("yes").isBoolean());
  EXPECT_TRUE(fields.objectForKey("real").isReal());
  EXPECT_TRUE(fields.objectForKey("null").isNull());
  EXPECT_EQ(fields.allKeys(), graph.asDictionary()->allKeys());

  // Equal texts are stored once, and many references to them are no blow-up.
  const Value repeated(Array(300000, Value("same")));
  const auto repeatedData = zu::NSKeyedArchiver::archivedDataWithRootObject(repeated);
  ASSERT_TRUE(repeatedData);
  EXPECT_LT(repeatedData->size(), 300000U * 4);
  EXPECT_EQ(zu::NSKeyedUnarchiver::unarchiveObjectWithData(*repeatedData), repeated);

  // A nil root archives and reads back as nil; a single text as itself.
  EXPECT_TRUE(zu::NSKeyedUnarchiver::unarchiveObjectWithData(
                  *zu::NSKeyedArchiver::archivedDataWithRootObject(Value()))
                  .isAbsent());
  EXPECT_EQ(zu::NSKeyedUnarchiver::unarchiveObjectWithData(
                *zu::NSKeyedArchiver::archivedDataWithRootObject(Value("solo"))),
            Value("solo"));
}

TEST(NSKeyedArchiverTest, TheSameGraphAlwaysGivesTheSameBytes) {
  // Equal data objects, which a writer that tells objects apart by address may store once or
  // twice; text holding NUL, which archives like any other text.
  const Value graph(Array{Value(zu::Data{1, 2, 3}), Value(zu::Data{1, 2, 3}),
                          Value(std::string("a\0b", 3)), Value(zu::Data{1, 2, 3})});
  const auto first = zu::NSKeyedArchiver::archivedDataWithRootObject(graph);
  ASSERT_TRUE(first);
  EXPECT_EQ(zu::NSKeyedUnarchiver::unarchiveObjectWithData(*first), graph);
  std::vector<std::unique_ptr<char[]>> shifts;
  for (int i = 0; i < 100; ++i) {
    // Allocations in between move where the next archive's objects live.
    shifts.push_back(std::make_unique<char[]>(static_cast<std::size_t>(i) * 97 + 1));
    EXPECT_EQ(zu::NSKeyedArchiver::archivedDataWithRootObject(graph), first) << i;
  }
}

TEST(NSKeyedArchiverTest, GraphsThatCannotBeArchivedGiveAnError) {
  std::shared_ptr<zu::NSError> error;
  EXPECT_FALSE(zu::NSKeyedArchiver::archivedDataWithRootObject(
      Value(Array{Value("ok"), Value(std::string("\xff"))}), &error));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), zu::NSPropertyListWriteStreamError);
  EXPECT_FALSE(zu::NSKeyedArchiver::archivedDataWithRootObject(Value(Array{Value()})));
  EXPECT_FALSE(zu::NSKeyedArchiver::archivedDataWithRootObject(
      Value(std::make_shared<zu::NSError>("d", 1))));
  Value deep("leaf");
  for (int i = 0; i < 600; ++i)
    deep = Value(Array{deep});
  EXPECT_FALSE(zu::NSKeyedArchiver::archivedDataWithRootObject(deep));
}

TEST(NSKeyedArchiverTest, ReadsXmlArchivesAndThePlatformsMutableClasses) {
  const std::string objects =
      arrayObject({2, 4, 6}, 8) + "<dict><key>$class</key>" + ref(3) +
      "<key>NS.string</key><string>mutable text</string></dict>"
      "<dict><key>$classname</key><string>NSMutableString</string></dict>"
      "<dict><key>$class</key>" +
      ref(5) +
      "<key>NS.data</key><data>AAEC</data></dict>"
      "<dict><key>$classname</key><string>NSMutableData</string></dict>"
      "<integer>42</integer><false/>"
      "<dict><key>$classes</key><array><string>NSMutableArray</string></array>"
      "<key>$classname</key><string>NSMutableArray</string></dict>";
  // Object 7, the boolean, is in the table without being referred to.
  const Value value = zu::NSKeyedUnarchiver::unarchiveObjectWithData(xmlArchive(objects, 1));
  EXPECT_EQ(value, Value(Array{Value("mutable text"), Value(zu::Data{0, 1, 2}), Value(42)}));
}

TEST(NSKeyedArchiverTest, DamagedAndForeignInputGivesNoValue) {
  std::shared_ptr<zu::NSError> error;
  const auto refused = [&error](const zu::Data& data) {
    error.reset();
    const Value value = zu::NSKeyedUnarchiver::unarchiveObjectWithData(data, &error);
    return value.isAbsent() && error && error->code() == zu::NSCoderReadCorruptError;
  };
  const std::string text = "just some text";
  EXPECT_TRUE(refused(zu::Data(text.begin(), text.end())));
  EXPECT_TRUE(refused(zu::Data{}));
  // A property list that is not a keyed archive.
  EXPECT_TRUE(refused(*zu::NSPropertyListSerialization::dataWithPropertyList(
      Value(Dictionary{{"root", Value(1)}}), zu::NSPropertyListBinaryFormat_v1_0, 0)));
  // A reference past the table, an unknown class, keys that are not text, a count mismatch.
  EXPECT_TRUE(refused(xmlArchive(arrayObject({9}, 2) + kArrayClass, 1)));
  EXPECT_TRUE(
      refused(xmlArchive("<dict><key>$class</key>" + ref(2) +
                             "</dict><dict><key>$classname</key><string>NSWindow</string></dict>",
                         1)));
  EXPECT_TRUE(
      refused(xmlArchive("<dict><key>$class</key>" + ref(3) + "<key>NS.keys</key><array>" + ref(2) +
                             "</array><key>NS.objects</key><array>" + ref(2) +
                             "</array></dict><integer>7</integer>"
                             "<dict><key>$classname</key><string>NSDictionary</string></dict>",
                         1)));
  EXPECT_TRUE(
      refused(xmlArchive("<dict><key>$class</key>" + ref(3) + "<key>NS.keys</key><array>" + ref(2) +
                             "</array><key>NS.objects</key><array/></dict><string>k</string>"
                             "<dict><key>$classname</key><string>NSDictionary</string></dict>",
                         1)));
  // A nil element inside an array.
  EXPECT_TRUE(refused(xmlArchive(arrayObject({0}, 2) + kArrayClass, 1)));
}

TEST(NSKeyedArchiverTest, CyclesDepthAndReferenceBlowUpsAreRefusedPromptly) {
  // An array that holds itself.
  const auto cycle = zu::NSKeyedUnarchiver::unarchiveObjectWithData(
      xmlArchive(arrayObject({1}, 2) + kArrayClass, 1));
  EXPECT_TRUE(cycle.isAbsent());

  // A chain of 5,000 nested arrays, deeper than any archive needs.
  constexpr std::size_t kChain = 5000;
  std::string chain;
  for (std::size_t i = 1; i < kChain; ++i)
    chain += arrayObject({i + 1}, kChain + 1);
  chain += "<string>bottom</string>" + kArrayClass;
  EXPECT_TRUE(zu::NSKeyedUnarchiver::unarchiveObjectWithData(xmlArchive(chain, 1)).isAbsent());

  // Sixty levels that each refer twice to the next would expand to 2^60 values.
  constexpr std::size_t kLevels = 60;
  std::string doubling;
  for (std::size_t i = 1; i <= kLevels; ++i)
    doubling += arrayObject({i + 1, i + 1}, kLevels + 2);
  doubling += "<string>leaf</string>" + kArrayClass;
  const auto started = std::chrono::steady_clock::now();
  EXPECT_TRUE(zu::NSKeyedUnarchiver::unarchiveObjectWithData(xmlArchive(doubling, 1)).isAbsent());
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(20));

  // Shared references that stay small are fine: ten levels make 1,024 leaves.
  std::string shared;
  for (std::size_t i = 1; i <= 10; ++i)
    shared += arrayObject({i + 1, i + 1}, 12);
  shared += "<string>leaf</string>" + kArrayClass;
  Value level = zu::NSKeyedUnarchiver::unarchiveObjectWithData(xmlArchive(shared, 1));
  std::size_t leaves = 1;
  while (level.isArray()) {
    leaves *= level.count();
    Value next = level.asArray()->front();  // copied first: it lives inside `level`
    level = std::move(next);
  }
  EXPECT_EQ(level, Value("leaf"));
  EXPECT_EQ(leaves, 1024U);
}

TEST(NSKeyedArchiverTest, RandomlyDamagedArchivesNeverCrash) {
  const auto data = zu::NSKeyedArchiver::archivedDataWithRootObject(
      Value(Dictionary{{"list", Value(Array{Value(1), Value("two"), Value(3.5), Value::null()})},
                       {"map", Value(Dictionary{{"k", Value(zu::Data{1, 2, 3})}})},
                       {"date", Value(zu::Date::dateWithTimeIntervalSince1970(1000))}}));
  ASSERT_TRUE(data);
  std::mt19937 random(20240601);
  int readable = 0;
  for (int round = 0; round < 3000; ++round) {
    zu::Data damaged = *data;
    const int flips = 1 + static_cast<int>(random() % 4);
    for (int i = 0; i < flips; ++i) {
      damaged[random() % damaged.size()] = static_cast<std::uint8_t>(random());
    }
    if (round % 10 == 0) damaged.resize(random() % damaged.size());
    if (!zu::NSKeyedUnarchiver::unarchiveObjectWithData(damaged).isAbsent()) ++readable;
  }
  // Most damage breaks the archive; what still reads is simply a value.
  EXPECT_LT(readable, 3000);
}

}  // namespace
