#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <plist/plist.h>

#include "zukit/platform/foundation/BinaryPropertyList.h"

namespace {

using zu::Array;
using zu::BinaryPropertyList;
using zu::Data;
using zu::Date;
using zu::Dictionary;
using zu::Value;

// A binary property list assembled by hand: the objects (each a byte string), then the offset
// table (one byte per offset) and the trailer, with one-byte references.
Data assemble(const std::vector<Data>& objects, std::uint8_t top = 0) {
  Data out{'b', 'p', 'l', 'i', 's', 't', '0', '0'};
  std::vector<std::uint8_t> offsets;
  for (const Data& object : objects) {
    offsets.push_back(static_cast<std::uint8_t>(out.size()));
    out.insert(out.end(), object.begin(), object.end());
  }
  const auto table = static_cast<std::uint8_t>(out.size());
  out.insert(out.end(), offsets.begin(), offsets.end());
  const Data trailer{
      0, 0, 0, 0, 0, 0, 1, 1,   0, 0, 0, 0, 0, 0, 0, static_cast<std::uint8_t>(objects.size()),
      0, 0, 0, 0, 0, 0, 0, top, 0, 0, 0, 0, 0, 0, 0, table};
  out.insert(out.end(), trailer.begin(), trailer.end());
  return out;
}

Value readBack(const Value& value) {
  const auto bytes = BinaryPropertyList::write(value);
  if (!bytes) return Value("<not written>");
  return BinaryPropertyList::read(*bytes).value_or(Value("<not read>"));
}

TEST(BinaryPropertyList, EveryValueComesBackExactly) {
  const double now =
      std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
  Array many;
  for (int i = 0; i < 70000; ++i)
    many.emplace_back(i % 3 == 0 ? Value(i) : Value("item " + std::to_string(i % 50)));
  const Value all(Dictionary{
      {"now", Value(Date::dateWithTimeIntervalSince1970(now))},
      {"fraction", Value(Date::dateWithTimeIntervalSince1970(1700000000.123456789))},
      {"far", Value(Date::dateWithTimeIntervalSince1970(4102444800.5))},  // 2100
      {"ancient", Value(Date::dateWithTimeIntervalSince1970(-1e12))},
      {"integers", Value(Array{0, 255, 256, 65536, -1, std::numeric_limits<std::int64_t>::min(),
                               std::numeric_limits<std::int64_t>::max()})},
      {"reals", Value(Array{0.1, -2.5e-300, std::numeric_limits<double>::infinity()})},
      {"text", Value("中文, ελληνικά and 😀")},
      {std::string("key\0with NUL", 12), Value(std::string("value\0with NUL", 14))},
      {"long text", Value(std::string(1000, 'x'))},
      {"bytes", Value(Data{0, 1, 0xFF})},
      {"flags", Value(Array{true, false})},
      {"empty", Value(Array{Value(Dictionary{}), Value(Array{}), Value(""), Value(Data{})})},
      {"many", Value(many)}});
  EXPECT_EQ(readBack(all), all);

  const Value nan(std::numeric_limits<double>::quiet_NaN());
  EXPECT_TRUE(std::isnan(readBack(nan).doubleValue()));

  // 512 levels are the deepest that go both ways.
  Value deep("bottom");
  for (int i = 0; i < BinaryPropertyList::kMaximumDepth; ++i)
    deep = Value(Array{deep});
  EXPECT_EQ(readBack(deep), deep);
  EXPECT_FALSE(BinaryPropertyList::write(Value(Array{deep})));
}

TEST(BinaryPropertyList, LibplistReadsWhatItWrites) {
  const Value sample(Dictionary{{"name", Value("ZuKit ✓")},
                                {"count", Value(-7)},
                                {"when", Value(Date::dateWithTimeIntervalSince1970(978307200))}});
  const auto bytes = BinaryPropertyList::write(sample);
  ASSERT_TRUE(bytes);
  plist_t node = nullptr;
  plist_from_bin(reinterpret_cast<const char*>(bytes->data()),
                 static_cast<std::uint32_t>(bytes->size()), &node);
  ASSERT_NE(node, nullptr);
  char* xml = nullptr;
  std::uint32_t length = 0;
  plist_to_xml(node, &xml, &length);
  const std::string text(xml, length);
  plist_to_xml_free(xml);
  plist_free(node);
  EXPECT_NE(text.find("<key>name</key>\n\t<string>ZuKit ✓</string>"), std::string::npos) << text;
  EXPECT_NE(text.find("<integer>-7</integer>"), std::string::npos) << text;
  EXPECT_NE(text.find("<date>2001-01-01T00:00:00Z</date>"), std::string::npos) << text;
}

TEST(BinaryPropertyList, ReadsWhatOtherWritersMayStore) {
  // A dictionary of: a 16-byte integer, a 4-byte real, a set, a UID, Latin-1 bytes in an ASCII
  // string, and a UTF-16 string whose surrogate has lost its partner.
  const Value read = *BinaryPropertyList::read(assemble({
      {0xD6, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12},
      {0x51, 'a'},
      {0x51, 'b'},
      {0x51, 'c'},
      {0x51, 'd'},
      {0x51, 'e'},
      {0x51, 'f'},
      {0x14, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0},
      {0x22, 0x40, 0x20, 0, 0},
      {0xC1, 2},
      {0x80, 42},
      {0x53, 'c', 0xE9, '!'},
      {0x62, 0xD8, 0x3D, 0, 'x'},
  }));
  EXPECT_EQ(read, Value(Dictionary{{"a", Value(18446744073709551616.0)},
                                   {"b", Value(2.5)},
                                   {"c", Value(Array{"b"})},
                                   {"d", Value(Dictionary{{"CF$UID", Value(42)}})},
                                   {"e", Value("cé!")},
                                   {"f", Value("\xEF\xBF\xBDx")}}));
  // What was read can be written and read again unchanged.
  EXPECT_EQ(readBack(read), read);
  // A negative 16-byte integer that fits 64 bits stays an integer.
  const Value negative =
      *BinaryPropertyList::read(assemble({{0x14, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                           0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE}}));
  EXPECT_EQ(negative, Value(-2));
  EXPECT_TRUE(negative.isInteger());
}

TEST(BinaryPropertyList, DamagedStructureIsRefusedPromptly) {
  const Data good = assemble({{0xA1, 1}, {0x51, 'x'}});
  ASSERT_EQ(BinaryPropertyList::read(good), Value(Array{"x"}));
  for (std::size_t cut = 0; cut < good.size(); ++cut) {
    EXPECT_FALSE(BinaryPropertyList::read(std::span(good).first(cut))) << cut;
  }
  const std::vector<std::vector<Data>> damaged{
      {{0xA1, 0}},                             // an array that holds itself
      {{0xA1, 1}, {0xA1, 0}},                  // two arrays that hold each other
      {{0xA1, 7}},                             // a reference beyond the table
      {{0xA1, 1}, {0x00}},                     // null
      {{0xD1, 1, 2}, {0x10, 1}, {0x51, 'v'}},  // a key that is not text
      {{0x5F, 0x10, 200, 'x'}},                // a count longer than the file
      {{0x23, 0, 0}},                          // a real cut short
      {{0x34, 0, 0, 0, 0, 0, 0, 0, 0}},        // a date of another width
      {{0x70}},                                // an unknown marker
  };
  for (const auto& objects : damaged) {
    EXPECT_FALSE(BinaryPropertyList::read(assemble(objects))) << objects.front().front();
  }
  Data wrongTop = assemble({{0x51, 'x'}}, 1);
  EXPECT_FALSE(BinaryPropertyList::read(wrongTop));
  Data wrongSignature = good;
  wrongSignature[7] = '1';
  EXPECT_FALSE(BinaryPropertyList::read(wrongSignature));

  // Sixty arrays, each holding the next one twice, would expand to 2^60 values.
  std::vector<Data> chain;
  for (std::uint8_t i = 0; i < 60; ++i)
    chain.push_back({0xA2, static_cast<std::uint8_t>(i + 1), static_cast<std::uint8_t>(i + 1)});
  chain.push_back({0x51, 'x'});
  const auto started = std::chrono::steady_clock::now();
  EXPECT_FALSE(BinaryPropertyList::read(assemble(chain)));
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(10));
}

// The number of objects a binary property list holds, from its trailer.
std::uint64_t objectCount(const Data& bytes) {
  std::uint64_t count = 0;
  for (std::size_t i = bytes.size() - 24; i < bytes.size() - 16; ++i)
    count = count << 8U | bytes[i];
  return count;
}

TEST(BinaryPropertyList, StoresEqualScalarsOnceAndUidsAsUidsWhenAsked) {
  const Value uid(Dictionary{{"CF$UID", Value(7)}});
  const Value value(Array{uid, uid, Value(Data{1, 2}), Value(Data{1, 2}), Value(2.5), Value(2.5),
                          Value("t"), Value("t"), Value(Date::dateWithTimeIntervalSince1970(1)),
                          Value(Date::dateWithTimeIntervalSince1970(1)), Value(true), Value(true)});
  const auto asUids =
      BinaryPropertyList::write(value, BinaryPropertyList::UidDictionaries::WriteAsUids);
  ASSERT_TRUE(asUids);
  // The array, then one of each: UID, data, real, text, date, boolean.
  EXPECT_EQ(objectCount(*asUids), 7U);
  const Data uidSeven{0x80, 0x07};
  EXPECT_NE(std::search(asUids->begin(), asUids->end(), uidSeven.begin(), uidSeven.end()),
            asUids->end());
  EXPECT_EQ(BinaryPropertyList::read(*asUids), value);
  // Kept as dictionaries: the dictionary twice, its key and number once each.
  const auto kept = BinaryPropertyList::write(value);
  ASSERT_TRUE(kept);
  EXPECT_EQ(objectCount(*kept), 10U);
  EXPECT_EQ(BinaryPropertyList::read(*kept), value);
  // Numbers that do not fit a UID stay dictionaries.
  const Value large(Dictionary{{"CF$UID", Value(std::int64_t{1} << 40)}});
  EXPECT_EQ(BinaryPropertyList::read(*BinaryPropertyList::write(
                large, BinaryPropertyList::UidDictionaries::WriteAsUids)),
            large);
}

TEST(BinaryPropertyList, RefusesToWriteWhatIsNotAPropertyList) {
  for (const Value& invalid :
       {Value(), Value::null(), Value(Array{Value()}), Value(Dictionary{{"k", Value::null()}}),
        Value(std::string("\xC3\x28")), Value(Dictionary{{std::string("\xFF"), Value(1)}})}) {
    EXPECT_FALSE(BinaryPropertyList::write(invalid)) << invalid.description();
  }
}

}  // namespace
