#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "zukit/platform/foundation/NSJSONSerialization.h"
#include "zukit/platform/foundation/NSPropertyListSerialization.h"

namespace {

using zu::Value;

zu::Data bytes(const std::string& text) {
  return {text.begin(), text.end()};
}
std::string text(const std::optional<zu::Data>& data) {
  return data ? std::string(data->begin(), data->end()) : "<none>";
}

Value sample() {
  return Value(zu::Dictionary{{"text", "日本 & <tags>"},
                              {"negative", -3},
                              {"big", static_cast<std::int64_t>(1) << 40},
                              {"real", 2.5},
                              {"flag", true},
                              {"bytes", zu::Data{0, 1, 255}},
                              {"when", zu::Date::dateWithTimeIntervalSince1970(1591020207)},
                              {"list", zu::Array{1, "two", zu::Array{}}},
                              {"nested", zu::Dictionary{{"empty", zu::Dictionary{}}}}});
}

TEST(NSPropertyListSerialization, RoundTripsEveryPropertyListTypeInBothFormats) {
  for (const auto format :
       {zu::NSPropertyListXMLFormat_v1_0, zu::NSPropertyListBinaryFormat_v1_0}) {
    const auto data = zu::NSPropertyListSerialization::dataWithPropertyList(sample(), format, 0);
    ASSERT_TRUE(data.has_value());
    zu::NSPropertyListFormat read = zu::NSPropertyListOpenStepFormat;
    const Value back = zu::NSPropertyListSerialization::propertyListWithData(*data, 0, &read);
    EXPECT_EQ(back, sample()) << format;
    EXPECT_EQ(read, format);
  }
  // Binary dates keep their fraction of a second; XML dates are whole seconds, as on the platform.
  const Value precise(zu::Date::dateWithTimeIntervalSince1970(1591020207.25));
  const auto binary = zu::NSPropertyListSerialization::dataWithPropertyList(
      precise, zu::NSPropertyListBinaryFormat_v1_0, 0);
  EXPECT_EQ(zu::NSPropertyListSerialization::propertyListWithData(*binary, 0), precise);
  const auto xml = zu::NSPropertyListSerialization::dataWithPropertyList(
      Value("abc"), zu::NSPropertyListXMLFormat_v1_0, 0);
  EXPECT_NE(text(xml).find("<string>abc</string>"), std::string::npos);
}

TEST(NSPropertyListSerialization, RefusesValuesAndBytesThatAreNotPropertyLists) {
  std::shared_ptr<zu::NSError> error;
  for (const Value& invalid : {Value(), Value::null(), Value(zu::Array{1, Value::null()}),
                               Value(zu::NSError::errorWithDomain("D", 1))}) {
    EXPECT_FALSE(zu::NSPropertyListSerialization::dataWithPropertyList(
                     invalid, zu::NSPropertyListXMLFormat_v1_0, 0, &error)
                     .has_value());
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->code(), zu::NSPropertyListWriteInvalidError);
    EXPECT_FALSE(zu::NSPropertyListSerialization::propertyListIsValid(invalid));
  }
  for (const std::string& corrupt :
       {std::string(), std::string("garbage"), std::string("bplist00\x01\x02", 10),
        std::string("<plist><dict><key>a</key></plist>"), std::string("\xff\xfe\x00\x01", 4)}) {
    error.reset();
    EXPECT_TRUE(
        zu::NSPropertyListSerialization::propertyListWithData(bytes(corrupt), 0, nullptr, &error)
            .isAbsent());
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->code(), zu::NSPropertyListReadCorruptError);
  }
}

TEST(NSPropertyListSerialization, XmlKeepsToWhatItCanHold) {
  using zu::NSPropertyListSerialization;
  // Text holding NUL, and dates libplist cannot place, are refused by the XML writer only.
  const Value nul(std::string("a\0b", 3));
  const Value nulKey(zu::Dictionary{{std::string("k\0", 2), Value(1)}});
  const Value far(zu::Date::dateWithTimeIntervalSince1970(4102444800.0));  // 2100
  for (const Value& value : {nul, nulKey, far}) {
    std::shared_ptr<zu::NSError> error;
    EXPECT_FALSE(NSPropertyListSerialization::dataWithPropertyList(
        value, zu::NSPropertyListXMLFormat_v1_0, 0, &error));
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->code(), zu::NSPropertyListWriteInvalidError);
    const auto binary = NSPropertyListSerialization::dataWithPropertyList(
        value, zu::NSPropertyListBinaryFormat_v1_0, 0);
    ASSERT_TRUE(binary);
    EXPECT_EQ(NSPropertyListSerialization::propertyListWithData(*binary, 0), value);
  }
  // XML bytes holding NUL are not XML: refused, wherever the NUL is.
  const std::string xml = "<plist><dict><key>k</key><string>ab</string></dict></plist>";
  ASSERT_EQ(NSPropertyListSerialization::propertyListWithData(bytes(xml), 0),
            Value(zu::Dictionary{{"k", Value("ab")}}));
  for (std::size_t at : {std::size_t{0}, xml.find("ab") + 1, xml.find('k'), xml.size()}) {
    std::string damaged = xml;
    damaged.insert(at, 1, '\0');
    EXPECT_TRUE(NSPropertyListSerialization::propertyListWithData(bytes(damaged), 0).isAbsent())
        << at;
  }
  // Bytes that are not UTF-8 read as Latin-1 characters; the rest of the text stays as it is.
  const std::string latin1 =
      "<plist><dict><key>\xE9t\xE9</key><string>中\xFF</string></dict></plist>";
  EXPECT_EQ(NSPropertyListSerialization::propertyListWithData(bytes(latin1), 0),
            Value(zu::Dictionary{{"été", Value("中ÿ")}}));
  // Dates written as XML come back to the whole second, negative integers as themselves.
  const Value mixed(zu::Array{Value(zu::Date::dateWithTimeIntervalSince1970(1700000000.75)),
                              Value(-42), Value(std::numeric_limits<std::int64_t>::min())});
  const auto written =
      NSPropertyListSerialization::dataWithPropertyList(mixed, zu::NSPropertyListXMLFormat_v1_0, 0);
  ASSERT_TRUE(written);
  EXPECT_EQ(NSPropertyListSerialization::propertyListWithData(*written, 0),
            Value(zu::Array{Value(zu::Date::dateWithTimeIntervalSince1970(1700000000)), Value(-42),
                            Value(std::numeric_limits<std::int64_t>::min())}));
}

TEST(NSJSONSerialization, WritesThePlatformsPrettyDialect) {
  const Value object(zu::Dictionary{{"name", "a/b \"q\"\n"},
                                    {"count", 2},
                                    {"ratio", 0.5},
                                    {"none", Value::null()},
                                    {"list", zu::Array{true, zu::Array{}}},
                                    {"empty", zu::Dictionary{}}});
  EXPECT_EQ(
      text(zu::NSJSONSerialization::dataWithJSONObject(object, zu::NSJSONWritingPrettyPrinted)),
      "{\n"
      "  \"name\" : \"a\\/b \\\"q\\\"\\n\",\n"
      "  \"count\" : 2,\n"
      "  \"ratio\" : 0.5,\n"
      "  \"none\" : null,\n"
      "  \"list\" : [\n"
      "    true,\n"
      "    [\n\n    ]\n"
      "  ],\n"
      "  \"empty\" : {\n\n  }\n"
      "}");
  EXPECT_EQ(
      text(zu::NSJSONSerialization::dataWithJSONObject(
          object, zu::NSJSONWritingSortedKeys | zu::NSJSONWritingWithoutEscapingSlashes)),
      R"({"count":2,"empty":{},"list":[true,[]],"name":"a/b \"q\"\n","none":null,"ratio":0.5})");
}

TEST(NSJSONSerialization, RefusesWhatJsonCannotHoldAndReadsDocumentsInOrder) {
  for (const Value& invalid :
       {Value("fragment"), Value(zu::Array{zu::Data{1}}), Value(zu::Array{Value()}),
        Value(zu::Dictionary{{"bad", std::string("\xff")}}),
        Value(zu::Array{std::numeric_limits<double>::infinity()})}) {
    std::shared_ptr<zu::NSError> error;
    EXPECT_FALSE(zu::NSJSONSerialization::dataWithJSONObject(invalid, 0, &error).has_value());
    EXPECT_NE(error, nullptr);
  }
  EXPECT_EQ(text(zu::NSJSONSerialization::dataWithJSONObject(Value(3),
                                                             zu::NSJSONWritingFragmentsAllowed)),
            "3");

  const Value read = zu::NSJSONSerialization::JSONObjectWithData(
      bytes(R"({"z": 1, "a": [2.5, null, "x"], "m": {"k": false}, "u": 18446744073709551615})"), 0);
  ASSERT_TRUE(read.isDictionary());
  EXPECT_EQ(read.asDictionary()->allKeys(), (std::vector<std::string>{"z", "a", "m", "u"}));
  EXPECT_EQ(read.asDictionary()->objectForKey("a"), Value(zu::Array{2.5, Value::null(), "x"}));
  EXPECT_TRUE(read.asDictionary()->objectForKey("u").isReal());

  for (const std::string& bad : {std::string("{"), std::string("\"fragment\""),
                                 std::string(100000, '['), std::string("{\"a\":}")}) {
    std::shared_ptr<zu::NSError> error;
    EXPECT_TRUE(zu::NSJSONSerialization::JSONObjectWithData(bytes(bad), 0, &error).isAbsent());
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->code(), 3840);
  }
  EXPECT_EQ(zu::NSJSONSerialization::JSONObjectWithData(bytes("\"f\""),
                                                        zu::NSJSONReadingFragmentsAllowed),
            Value("f"));
}

}  // namespace
