// Dates to and from text and the date comparisons of ZuUtils, in fixed time zones.

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/StderrCapture.h"
#include "zukit/platform/foundation/Date.h"
#include "zukit/platform/foundation/NSTimeZone.h"
#include "zukit/utils/ZuUtils.h"

namespace {

using zu::Date;
using zu::Value;

// Makes `name` the current time zone for one test, and the system's again afterwards.
class TimeZoneScope {
 public:
  explicit TimeZoneScope(const std::string& name) { use(name); }
  ~TimeZoneScope() { zu::NSTimeZone::resetSystemTimeZone(); }
  TimeZoneScope(const TimeZoneScope&) = delete;
  TimeZoneScope& operator=(const TimeZoneScope&) = delete;

  static void use(const std::string& name) {
    const auto zone = zu::NSTimeZone::timeZoneWithName(name);
    ASSERT_NE(zone, nullptr) << name;
    zu::NSTimeZone::setDefaultTimeZone(zone);
  }
};

// 2020-01-01 00:00:00 UTC.
constexpr double kNewYear2020 = 1577836800;

Date at(double seconds) {
  return Date::dateWithTimeIntervalSince1970(seconds);
}

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> list;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);)
    list.push_back(line);
  return list;
}

TEST(ZuUtilsDate, MissingTextGivesTheCurrentDateButUnmatchedTextGivesNone) {
  const TimeZoneScope zone("Asia/Shanghai");
  for (const Value& missing : {Value(), Value::null(), Value("")}) {
    const double before = Date::date().timeIntervalSince1970();
    const auto date = ZuUtils::dateFromString(missing);
    const auto withPattern = ZuUtils::dateFromString(missing, Value("yyyy"));
    const double after = Date::date().timeIntervalSince1970();
    ASSERT_TRUE(date.has_value()) << missing.description();
    ASSERT_TRUE(withPattern.has_value()) << missing.description();
    EXPECT_GE(date->timeIntervalSince1970(), before);
    EXPECT_LE(date->timeIntervalSince1970(), after);
    EXPECT_GE(withPattern->timeIntervalSince1970(), before);
    EXPECT_LE(withPattern->timeIntervalSince1970(), after);
  }
  EXPECT_FALSE(ZuUtils::dateFromString(Value("not a date")).has_value());
  EXPECT_FALSE(ZuUtils::dateFromString(Value("2020-01-01")).has_value());
  EXPECT_FALSE(
      ZuUtils::dateFromString(Value("2020-01-01 08:00:00"), Value("yyyy/MM/dd")).has_value());

  // The text is read in the current time zone: 08:00 in Shanghai is midnight UTC.
  const auto parsed = ZuUtils::dateFromString(Value("2020-01-01 08:00:00"));
  ASSERT_TRUE(parsed.has_value());
  EXPECT_EQ(parsed->timeIntervalSince1970(), kNewYear2020);
  // A missing pattern means the full one.
  for (const Value& pattern : {Value(), Value::null(), Value("")}) {
    const auto date = ZuUtils::dateFromString(Value("2020-01-01 08:00:00"), pattern);
    ASSERT_TRUE(date.has_value()) << pattern.description();
    EXPECT_EQ(date->timeIntervalSince1970(), kNewYear2020);
  }
  const auto day = ZuUtils::dateFromString(Value("2020/01/02"), Value("yyyy/MM/dd"));
  ASSERT_TRUE(day.has_value());
  EXPECT_EQ(day->timeIntervalSince1970(), kNewYear2020 + 86400 - 8 * 3600);

  TimeZoneScope::use("UTC");
  EXPECT_EQ(ZuUtils::dateFromString(Value("2020-01-01 08:00:00"))->timeIntervalSince1970(),
            kNewYear2020 + 8 * 3600);
}

TEST(ZuUtilsDate, StringFromDateGivesNoneForAnAbsentDateAndTheFullFormForAMissingPattern) {
  const TimeZoneScope zone("Asia/Shanghai");
  EXPECT_FALSE(ZuUtils::stringFromDate(std::nullopt).has_value());
  EXPECT_FALSE(ZuUtils::stringFromDate(std::nullopt, Value("yyyy")).has_value());

  const Date date = at(kNewYear2020 + 0.75);
  EXPECT_EQ(ZuUtils::stringFromDate(date), "2020-01-01 08:00:00");
  for (const Value& pattern : {Value(), Value::null(), Value("")}) {
    EXPECT_EQ(ZuUtils::stringFromDate(date, pattern), "2020-01-01 08:00:00")
        << pattern.description();
  }
  EXPECT_EQ(ZuUtils::stringFromDate(date, Value("yyyy-MM-dd")), "2020-01-01");
  EXPECT_EQ(ZuUtils::stringFromDate(date, Value("HH:mm:ss.SSS")), "08:00:00.750");

  TimeZoneScope::use("America/New_York");
  EXPECT_EQ(ZuUtils::stringFromDate(date), "2019-12-31 19:00:00");
  // Text and date convert back and forth in the same zone.
  const auto back = ZuUtils::dateFromString(Value(*ZuUtils::stringFromDate(date)));
  ASSERT_TRUE(back.has_value());
  EXPECT_EQ(back->timeIntervalSince1970(), kNewYear2020);
}

TEST(ZuUtilsDate, CompareOneDayComparesInstantsToFullPrecisionAndLogsEveryCall) {
  const Date first = at(kNewYear2020);
  const Date later = at(kNewYear2020 + 0.001);
  std::vector<std::string> printed;
  {
    const zukit::test::StderrCapture capture;
    EXPECT_EQ(ZuUtils::compareOneDay(first, later), -1);
    EXPECT_EQ(ZuUtils::compareOneDay(later, first), 1);
    EXPECT_EQ(ZuUtils::compareOneDay(first, first), 0);
    EXPECT_EQ(ZuUtils::compareOneDay(std::nullopt, first), 0);
    printed = lines(capture.text());
  }
  const std::vector<std::string> expected = {
      "date1 : 2020-01-01 00:00:00 +0000, date2 : 2020-01-01 00:00:00 +0000",
      "date1 : 2020-01-01 00:00:00 +0000, date2 : 2020-01-01 00:00:00 +0000",
      "date1 : 2020-01-01 00:00:00 +0000, date2 : 2020-01-01 00:00:00 +0000",
      "date1 : (null), date2 : 2020-01-01 00:00:00 +0000",
  };
  ASSERT_EQ(printed.size(), expected.size()) << ::testing::PrintToString(printed);
  for (std::size_t i = 0; i < expected.size(); ++i) {
    // Each line is a console line: time stamp, process prefix "name[pid:tid] ", message.
    const std::size_t prefixEnd = printed[i].find("] ");
    ASSERT_NE(prefixEnd, std::string::npos) << printed[i];
    EXPECT_EQ(printed[i].substr(prefixEnd + 2), expected[i]);
  }
}

TEST(ZuUtilsDate, SameDayComparesLocalDays) {
  const TimeZoneScope zone("Asia/Shanghai");
  // 2020-01-01 23:59:59 and 2020-01-02 00:00:00 in Shanghai.
  const Date lastSecond = at(kNewYear2020 + 16 * 3600 - 1);
  const Date nextMidnight = at(kNewYear2020 + 16 * 3600);
  EXPECT_FALSE(ZuUtils::isSameDay(lastSecond, nextMidnight));
  EXPECT_TRUE(ZuUtils::isSameDay(at(kNewYear2020 - 8 * 3600), lastSecond));
  EXPECT_FALSE(ZuUtils::isSameDay(std::nullopt, lastSecond));
  EXPECT_FALSE(ZuUtils::isSameDay(lastSecond, std::nullopt));
  // The same two instants share a day in UTC (15:59:59 and 16:00:00).
  TimeZoneScope::use("UTC");
  EXPECT_TRUE(ZuUtils::isSameDay(lastSecond, nextMidnight));
}

TEST(ZuUtilsDate, SameHourMinuteAndSecondCompareTheirOneFieldWhateverTheRest) {
  const TimeZoneScope zone("UTC");
  // 2020-01-01 10:05:00 and 2021-07-09 10:59:59.
  const auto a = ZuUtils::dateFromString(Value("2020-01-01 10:05:00"));
  const auto b = ZuUtils::dateFromString(Value("2021-07-09 10:59:59"));
  ASSERT_TRUE(a && b);
  EXPECT_TRUE(ZuUtils::isSameHour(a, b));
  EXPECT_FALSE(ZuUtils::isSameMinute(a, b));
  EXPECT_FALSE(ZuUtils::isSameSecond(a, b));

  // 09:15:30 on one day and 11:15:30 on another share minute and second, not hour.
  const auto c = ZuUtils::dateFromString(Value("2020-03-01 09:15:30"));
  const auto d = ZuUtils::dateFromString(Value("2024-12-31 11:15:30"));
  ASSERT_TRUE(c && d);
  EXPECT_FALSE(ZuUtils::isSameHour(c, d));
  EXPECT_TRUE(ZuUtils::isSameMinute(c, d));
  EXPECT_TRUE(ZuUtils::isSameSecond(c, d));

  const std::optional<Date> absent;
  EXPECT_FALSE(ZuUtils::isSameHour(absent, a));
  EXPECT_FALSE(ZuUtils::isSameMinute(a, absent));
  EXPECT_FALSE(ZuUtils::isSameSecond(absent, absent));

  // The fields are local: in a zone half an hour off, 10:05 and 10:59 UTC become 15:35 and
  // 16:29.
  TimeZoneScope::use("Asia/Kolkata");
  EXPECT_FALSE(ZuUtils::isSameHour(a, b));
  EXPECT_TRUE(ZuUtils::isSameMinute(c, d));
}

}  // namespace
