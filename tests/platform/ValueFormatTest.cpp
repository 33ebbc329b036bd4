#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/foundation/NSError.h"
#include "zukit/platform/foundation/Value.h"

namespace {

using zu::Value;

TEST(Value, AbsentAndNullAreDifferentAndTextValidityCountsBoth) {
  EXPECT_TRUE(Value().isAbsent());
  EXPECT_TRUE(Value(static_cast<const char*>(nullptr)).isAbsent());
  EXPECT_TRUE(Value(std::shared_ptr<zu::NSError>()).isAbsent());
  EXPECT_TRUE(Value::null().isNull());
  EXPECT_FALSE(Value::null() == Value());
  EXPECT_TRUE(static_cast<bool>(Value::null()));
  for (const Value& missing : {Value(), Value::null(), Value(""), Value(3), Value(zu::Data{})}) {
    EXPECT_FALSE(zu::isValidText(missing)) << missing.description();
  }
  EXPECT_TRUE(zu::isValidText(Value("x")));
  EXPECT_EQ(zu::validText(Value("x")), "x");
}

TEST(Value, ConvertsTextAndNumbersAsThePlatformDoes) {
  EXPECT_EQ(Value("12abc").integerValue(), 12);
  EXPECT_EQ(Value("  -3x").integerValue(), -3);
  EXPECT_EQ(Value("abc").integerValue(), 0);
  EXPECT_EQ(Value("99999999999999999999").integerValue(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(Value(2.9).integerValue(), 2);
  EXPECT_EQ(Value(true).integerValue(), 1);
  EXPECT_DOUBLE_EQ(Value("2.5kg").doubleValue(), 2.5);
  EXPECT_TRUE(Value("YES").boolValue());
  EXPECT_TRUE(Value("  007").boolValue());
  EXPECT_FALSE(Value("no").boolValue());
  EXPECT_EQ(Value("日本").count(), 2U);
  EXPECT_EQ(Value("😀").count(), 2U) << "lengths count UTF-16 units";
}

TEST(Value, ComparesNumbersByValueAndCollectionsByContent) {
  EXPECT_EQ(Value(1), Value(1.0));
  EXPECT_EQ(Value(true), Value(1));
  EXPECT_NE(Value(1), Value("1"));
  EXPECT_EQ(Value(zu::Dictionary{{"a", 1}, {"b", 2}}), Value(zu::Dictionary{{"b", 2}, {"a", 1}}));
  EXPECT_NE(Value(zu::Array{1, 2}), Value(zu::Array{2, 1}));
  const auto error = zu::NSError::errorWithDomain("D", 1);
  EXPECT_EQ(Value(error), Value(zu::NSError::errorWithDomain("D", 1)));
}

TEST(Value, DescribesItselfInThePropertyListStyle) {
  EXPECT_EQ(Value().description(), "(null)");
  EXPECT_EQ(Value::null().description(), "<null>");
  EXPECT_EQ(Value(true).description(), "1");
  EXPECT_EQ(Value(-3).description(), "-3");
  EXPECT_EQ(Value(1.5).description(), "1.5");
  EXPECT_EQ(Value("abc").description(), "abc");
  EXPECT_EQ(Value(zu::Data{0x61, 0x62}).description(), "{length = 2, bytes = 0x6162}");
  EXPECT_EQ(Value(zu::Array{1, "two words", Value::null()}).description(),
            "(\n    1,\n    \"two words\",\n    \"<null>\"\n)");
  EXPECT_EQ(Value(zu::Dictionary{{"b", zu::Array{1}}, {"a", "x"}}).description(),
            "{\n    a = x;\n    b =     (\n        1\n    );\n}");
  EXPECT_EQ(Value(zu::Date::dateWithTimeIntervalSince1970(0)).description(),
            "1970-01-01 00:00:00 +0000");
}

TEST(Format, PrintsPrintfConversionsAndValuesByDescription) {
  const Value null = Value::null();
  const Value absent;
  const Value number(42);
  EXPECT_EQ(zu::format("%@|%@|%@|%@", "text", null, absent, number), "text|<null>|(null)|42");
  EXPECT_EQ(zu::format("%d %ld %u %x %X %o %c", -1, 7L, 3U, 255, 255, 8, 'z'), "-1 7 3 ff FF 10 z");
  EXPECT_EQ(zu::format("%5.2f|%-4d|%04d|%e", 3.14159, 7, 42, 1000.0),
            " 3.14|7   |0042|1.000000e+03");
  EXPECT_EQ(zu::format("%s|%.2s|%5s", "abc", "abc", "ab"), "abc|ab|   ab");
  EXPECT_EQ(zu::format("100%% %@", "sure"), "100% sure");
  EXPECT_EQ(zu::format("%2$@ %1$@", "world", "hello"), "hello world");
  EXPECT_EQ(zu::format("%*d|%-*d|", 4, 7, 3, 1), "   7|1  |");
  EXPECT_EQ(zu::format("%hhd %hd", 257, 65537), "1 1");
  EXPECT_EQ(zu::format("%ld", number), "42") << "numbers in values print with integer conversions";
  EXPECT_EQ(zu::format("%@", std::string("日本語")), "日本語");
  EXPECT_EQ(zu::format("%s", static_cast<const char*>(nullptr)), "(null)");
}

TEST(Format, NeverReadsPastItsArgumentsOrChokesOnBrokenSpecifiers) {
  EXPECT_EQ(zu::format("%@ and %@", "one"), "one and (null)");
  EXPECT_EQ(zu::format("%d %s %f"), "0 (null) 0.000000");
  EXPECT_EQ(zu::format("%5$@", "a"), "(null)");
  EXPECT_EQ(zu::format("tail %"), "tail %");
  EXPECT_EQ(zu::format("%k odd", 1), "%k odd");
  EXPECT_EQ(zu::format("%n%d", 5, 6), "6") << "%n consumes its argument and writes nothing";
  EXPECT_EQ(zu::format("%999999999d", 1).size(), 100000U) << "widths are capped";
}

}  // namespace
