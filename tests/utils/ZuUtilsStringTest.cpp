// The point-in-circle test, web-link test, base64 and placeholder extraction of ZuUtils.

#include <chrono>
#include <cmath>
#include <future>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "zukit/platform/ui/Geometry.h"
#include "zukit/utils/ZuUtils.h"

namespace {

using zu::CGPointMake;
using zu::CGRectMake;
using zu::Value;

using Strings = std::vector<std::string>;

TEST(ZuUtilsString, CircleUsesTheWidthAsDiameterAndKeepsTheRim) {
  // Radius 50 and centre (50, 50) whatever the height of 40.
  const zu::CGRect wide = CGRectMake(0, 0, 100, 40);
  EXPECT_TRUE(ZuUtils::point(CGPointMake(50, 95), wide));
  EXPECT_TRUE(ZuUtils::point(CGPointMake(50, 100), wide));
  EXPECT_TRUE(ZuUtils::point(CGPointMake(100, 50), wide));
  EXPECT_TRUE(ZuUtils::point(CGPointMake(0, 50), wide));
  EXPECT_FALSE(ZuUtils::point(CGPointMake(50, 100.001), wide));
  EXPECT_FALSE(ZuUtils::point(CGPointMake(0, 0), wide));
  EXPECT_FALSE(ZuUtils::point(CGPointMake(50, -0.5), wide));
  // The circle starts at the rectangle's origin: centre (15, 25), radius 5.
  const zu::CGRect offset = CGRectMake(10, 20, 10, 999);
  EXPECT_TRUE(ZuUtils::point(CGPointMake(15, 30), offset));
  EXPECT_TRUE(ZuUtils::point(CGPointMake(18, 29), offset));
  EXPECT_FALSE(ZuUtils::point(CGPointMake(15, 30.0001), offset));
  EXPECT_FALSE(ZuUtils::point(CGPointMake(5, 25), offset));
  // NaN anywhere is outside; an empty circle holds only its centre.
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_FALSE(ZuUtils::point(CGPointMake(nan, 50), wide));
  EXPECT_FALSE(ZuUtils::point(CGPointMake(50, 50), CGRectMake(0, nan, 100, 40)));
  EXPECT_FALSE(ZuUtils::point(CGPointMake(50, 50), CGRectMake(0, 0, nan, 40)));
  EXPECT_TRUE(ZuUtils::point(CGPointMake(0, 0), CGRectMake(0, 0, 0, 0)));
  EXPECT_FALSE(ZuUtils::point(CGPointMake(0, 0), CGRectMake(0, 0, -2, 0)));
}

TEST(ZuUtilsString, UniversalLinksAreHttpPrefixesOrClassNames) {
  EXPECT_TRUE(ZuUtils::isUniversalLink(Value("http://example.com/a")));
  EXPECT_TRUE(ZuUtils::isUniversalLink(Value("https://")));
  EXPECT_TRUE(ZuUtils::isUniversalLink(Value("http://")));
  EXPECT_FALSE(ZuUtils::isUniversalLink(Value("HTTP://example.com")));
  EXPECT_FALSE(ZuUtils::isUniversalLink(Value("Https://example.com")));
  EXPECT_FALSE(ZuUtils::isUniversalLink(Value(" https://example.com")));
  EXPECT_FALSE(ZuUtils::isUniversalLink(Value("ftp://example.com")));
  EXPECT_FALSE(ZuUtils::isUniversalLink(Value("http:/")));
  // A class the runtime knows counts too, by its exact name.
  EXPECT_TRUE(ZuUtils::isUniversalLink(Value("NSObject")));
  EXPECT_FALSE(ZuUtils::isUniversalLink(Value("nsobject")));
  EXPECT_FALSE(ZuUtils::isUniversalLink(Value("NoSuchClassAnywhere")));
  for (const Value& missing : {Value(), Value::null(), Value(""), Value(42)}) {
    EXPECT_FALSE(ZuUtils::isUniversalLink(missing)) << missing.description();
  }
}

TEST(ZuUtilsString, Base64EncodesUtf8TextWithTheStandardAlphabetAndPadding) {
  // RFC 4648 section 10.
  const std::vector<std::pair<std::string, std::string>> vectors = {
      {"f", "Zg=="},         {"fo", "Zm8="},
      {"foo", "Zm9v"},       {"foob", "Zm9vYg=="},
      {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"},
      {"?>?", "Pz4/"},       {"~~~", "fn5+"},
      {"图片", "5Zu+54mH"},  {"k1__#Zu#__1600000000", "azFfXyNadSNfXzE2MDAwMDAwMDA="},
  };
  for (const auto& [plain, encoded] : vectors) {
    EXPECT_EQ(ZuUtils::base64Encode(Value(plain)), encoded) << plain;
    EXPECT_EQ(ZuUtils::base64Decode(Value(encoded)), plain) << encoded;
  }
  // A long text has no line breaks.
  const std::string longText(1000, 'x');
  const auto longEncoded = ZuUtils::base64Encode(Value(longText));
  ASSERT_TRUE(longEncoded.has_value());
  EXPECT_EQ(longEncoded->size(), 1336U);
  EXPECT_EQ(longEncoded->find('\n'), std::string::npos);
  EXPECT_EQ(ZuUtils::base64Decode(Value(*longEncoded)), longText);

  for (const Value& missing : {Value(), Value::null(), Value(""), Value(7)}) {
    EXPECT_FALSE(ZuUtils::base64Encode(missing).has_value()) << missing.description();
    EXPECT_FALSE(ZuUtils::base64Decode(missing).has_value()) << missing.description();
  }
  // Bytes that are not UTF-8 are not text.
  EXPECT_FALSE(ZuUtils::base64Encode(Value(std::string("\xff\xfe"))).has_value());
}

TEST(ZuUtilsString, Base64DecodeSkipsForeignCharactersAndRefusesWhatIsNotUtf8Text) {
  EXPECT_EQ(ZuUtils::base64Decode(Value("Zm9v\nYmFy")), "foobar");
  EXPECT_EQ(ZuUtils::base64Decode(Value("Zm9vYmFy\r\n")), "foobar");
  EXPECT_EQ(ZuUtils::base64Decode(Value(" Zm 9v\tYm*Fy ")), "foobar");
  EXPECT_EQ(ZuUtils::base64Decode(Value("5Zu+\n54mH")), "图片");
  // Padding is optional.
  EXPECT_EQ(ZuUtils::base64Decode(Value("Zm8")), "fo");
  EXPECT_EQ(ZuUtils::base64Decode(Value("Zg")), "f");
  // A NUL byte is text too.
  EXPECT_EQ(ZuUtils::base64Decode(Value("AA==")), std::string(1, '\0'));
  // Bytes that are not UTF-8 (0xFF 0xFE), nothing of the alphabet, or one lone character that
  // cannot make a byte: no value rather than a wrong one.
  EXPECT_FALSE(ZuUtils::base64Decode(Value("//4=")).has_value());
  EXPECT_FALSE(ZuUtils::base64Decode(Value("wA==")).has_value());
  EXPECT_FALSE(ZuUtils::base64Decode(Value("!!!")).has_value());
  EXPECT_FALSE(ZuUtils::base64Decode(Value("====")).has_value());
  EXPECT_FALSE(ZuUtils::base64Decode(Value("Zm9vY")).has_value());
}

TEST(ZuUtilsString, PlaceholdersComeOutInOrderWithTheirBraces) {
  using Result = std::optional<Strings>;
  EXPECT_EQ(ZuUtils::getStringInBracesWithString(Value("a${x}b${y}")), Result({"${x}", "${y}"}));
  EXPECT_EQ(ZuUtils::getStringInBracesWithString(Value("${a}${b}")), Result({"${a}", "${b}"}));
  EXPECT_EQ(ZuUtils::getStringInBracesWithString(Value("Hi ${名字}, ${n} 条")),
            Result({"${名字}", "${n}"}));
  EXPECT_EQ(ZuUtils::getStringInBracesWithString(Value("${}")), Result({"${}"}));
  // The closing brace is the first one of what is left, wherever the opening one is.
  EXPECT_EQ(ZuUtils::getStringInBracesWithString(Value("${a${b}}")), Result({"${a${b}"}));
  EXPECT_EQ(ZuUtils::getStringInBracesWithString(Value("no placeholders {here}")),
            Result(Strings{}));
  EXPECT_EQ(ZuUtils::getStringInBracesWithString(Value("$ {x}")), Result(Strings{}));
  for (const Value& missing : {Value(), Value::null(), Value("")}) {
    EXPECT_FALSE(ZuUtils::getStringInBracesWithString(missing).has_value())
        << missing.description();
  }
}

TEST(ZuUtilsString, MalformedTemplatesEndWithWhatWasCollected) {
  // Run apart, so that a loop that never ends fails the test instead of stalling the run.
  auto result = std::async(std::launch::async, [] {
    return std::vector<std::optional<Strings>>{
        ZuUtils::getStringInBracesWithString(Value("}${a}")),
        ZuUtils::getStringInBracesWithString(Value("${a}}${b}")),
        ZuUtils::getStringInBracesWithString(Value("${a")),
        ZuUtils::getStringInBracesWithString(Value("${a}${b")),
    };
  });
  ASSERT_EQ(result.wait_for(std::chrono::seconds(20)), std::future_status::ready);
  const auto answers = result.get();
  EXPECT_EQ(answers[0], std::optional<Strings>(Strings{}));
  EXPECT_EQ(answers[1], std::optional<Strings>({"${a}"}));
  EXPECT_EQ(answers[2], std::optional<Strings>(Strings{}));
  EXPECT_EQ(answers[3], std::optional<Strings>({"${a}"}));
}

}  // namespace
