#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

#include "zukit/platform/foundation/NSDateFormatter.h"

namespace {

// What ICU itself gives, with no caching in between.
std::string icuText(const std::string& pattern, const std::string& locale, const std::string& zone,
                    double seconds) {
  UErrorCode status = U_ZERO_ERROR;
  icu::SimpleDateFormat formatter(icu::UnicodeString::fromUTF8(pattern),
                                  icu::Locale(locale.c_str()), status);
  formatter.adoptTimeZone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone)));
  icu::UnicodeString text;
  formatter.format(std::floor(seconds * 1000.0), text);
  std::string out;
  text.toUTF8String(out);
  return out;
}

TEST(NSDateFormatter, GivesExactlyIcusTextAcrossLocalesZonesAndSeconds) {
  const std::vector<std::string> patterns{"yyyy-MM-dd HH:mm:ss.SSS", "yyyy-MM-dd HH:mm:ss",
                                          "HH:mm:ss.SSS zzzz", "SSS 'S' a EEEE"};
  const std::vector<std::string> locales{"en_US", "ar_EG",      "hi_IN@numbers=deva",
                                         "th_TH", "zh_Hans_CN", "fa_IR"};
  const std::vector<std::string> zones{"UTC", "Europe/Paris", "America/New_York", "Asia/Kathmandu",
                                       "Australia/Lord_Howe"};
  std::mt19937 random(7);
  // Around a daylight-saving change in Paris, New York and Lord Howe, plus random instants.
  std::vector<double> instants{1711846799.250, 1711846800.999, 1712415599.5, 1699164000.0};
  std::uniform_real_distribution<double> any(-1e9, 3e9);
  for (int i = 0; i < 20; ++i)
    instants.push_back(any(random));
  for (const auto& pattern : patterns) {
    for (const auto& locale : locales) {
      for (const auto& zone : zones) {
        zu::NSDateFormatter formatter;
        formatter.setDateFormat(pattern);
        formatter.setLocale(zu::NSLocale::localeWithLocaleIdentifier(locale));
        formatter.setTimeZone(zu::NSTimeZone::timeZoneWithName(zone));
        for (const double base : instants) {
          // Several milliseconds of one second, so that the per-second memo is exercised.
          for (const double offset : {0.0, 0.001, 0.5, 0.999, 1.0}) {
            const double seconds = base + offset;
            ASSERT_EQ(formatter.stringFromDate(zu::Date::dateWithTimeIntervalSince1970(seconds)),
                      icuText(pattern, locale, zone, seconds))
                << pattern << " " << locale << " " << zone << " " << seconds;
          }
        }
      }
    }
  }
}

TEST(NSDateFormatter, ParsesOnlyTextThatMatchesThePatternWhole) {
  zu::NSDateFormatter formatter;
  formatter.setTimeZone(zu::NSTimeZone::timeZoneWithName("UTC"));
  formatter.setDateFormat("yyyy-MM-dd HH:mm:ss");
  const auto parsed = formatter.dateFromString("2020-06-01 14:03:27");
  ASSERT_TRUE(parsed.has_value());
  EXPECT_DOUBLE_EQ(parsed->timeIntervalSince1970(), 1591020207.0);
  EXPECT_FALSE(formatter.dateFromString("2020-06-01").has_value());
  EXPECT_FALSE(formatter.dateFromString("2020-06-01 14:03:27 tail").has_value());
  EXPECT_FALSE(formatter.dateFromString("2020-13-45 99:03:27").has_value());
  EXPECT_FALSE(formatter.dateFromString("").has_value());
  formatter.setDateFormat("yyyy-MM-dd");
  EXPECT_EQ(formatter.stringFromDate(*parsed), "2020-06-01");
}

TEST(NSDateFormatter, RefusesFractionsTooLongForIcuAndDatesWithoutAnInstant) {
  zu::NSDateFormatter formatter;
  formatter.setTimeZone(zu::NSTimeZone::timeZoneWithName("UTC"));
  formatter.setDateFormat("ss.SSS");
  const std::string digits34(34, '1');
  const std::string digits35(35, '1');
  EXPECT_TRUE(formatter.dateFromString("07." + digits34.substr(2)).has_value());
  EXPECT_FALSE(formatter.dateFromString("07." + digits35.substr(2)).has_value());
  // Digits of other scripts count too: Arabic-Indic ones, which ICU parses as well.
  std::string arabic;
  for (int i = 0; i < 35; ++i)
    arabic += "\u0661";
  EXPECT_FALSE(formatter.dateFromString("07." + arabic).has_value());
  formatter.setDateFormat("yyyy");
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double seconds : {nan, infinity, -infinity}) {
    EXPECT_EQ(formatter.stringFromDate(zu::Date::dateWithTimeIntervalSince1970(seconds)), "");
  }
}

TEST(Date, DescribesInstantsBeyondTheCalendarByTheirSeconds) {
  using zu::Date;
  EXPECT_EQ(Date::dateWithTimeIntervalSince1970(1700000000.75).description(),
            "2023-11-14 22:13:20 +0000");
  EXPECT_EQ(Date::dateWithTimeIntervalSince1970(-62135596800.0).description(),
            "1-01-01 00:00:00 +0000");
  EXPECT_EQ(Date::dateWithTimeIntervalSince1970(1e300).description(),
            "1e+300 seconds since 1970-01-01 00:00:00 +0000");
  EXPECT_EQ(Date::dateWithTimeIntervalSince1970(-1e17).description(),
            "-1e+17 seconds since 1970-01-01 00:00:00 +0000");
  EXPECT_EQ(
      Date::dateWithTimeIntervalSince1970(std::numeric_limits<double>::infinity()).description(),
      "inf seconds since 1970-01-01 00:00:00 +0000");
  EXPECT_EQ(
      Date::dateWithTimeIntervalSince1970(std::numeric_limits<double>::quiet_NaN()).description(),
      "nan seconds since 1970-01-01 00:00:00 +0000");
}

TEST(NSDateFormatter, AppendsWhatAFreshFormatterGivesUnderTheSettingsOfTheMoment) {
  const auto fresh = [](const zu::Date& date) {
    zu::NSDateFormatter formatter;
    formatter.setDateFormat("yyyy-MM-dd HH:mm:ss.SSS");
    return formatter.stringFromDate(date);
  };
  const auto appended = [](const zu::Date& date) {
    std::string out = "> ";
    zu::NSDateFormatter::appendStringFromDate(out, "yyyy-MM-dd HH:mm:ss.SSS", date);
    return out;
  };
  const zu::Date date = zu::Date::dateWithTimeIntervalSince1970(1700000000.123);
  const std::vector<std::pair<std::string, std::string>> settings{
      {"en_US", "UTC"}, {"ar_EG", "UTC"}, {"ar_EG", "Asia/Kathmandu"}, {"en_US", "Asia/Kathmandu"}};
  std::vector<std::string> seen;
  for (const auto& [locale, zone] : settings) {
    zu::NSLocale::setCurrentLocale(zu::NSLocale::localeWithLocaleIdentifier(locale));
    zu::NSTimeZone::setDefaultTimeZone(zu::NSTimeZone::timeZoneWithName(zone));
    EXPECT_EQ(appended(date), "> " + fresh(date)) << locale << " " << zone;
    EXPECT_EQ(appended(date.dateByAddingTimeInterval(0.5)),
              "> " + fresh(date.dateByAddingTimeInterval(0.5)));
    seen.push_back(appended(date));
  }
  EXPECT_EQ(seen[0], "> 2023-11-14 22:13:20.123");
  EXPECT_NE(seen[1], seen[0]) << "Arabic digits";
  EXPECT_EQ(seen[3], "> 2023-11-15 03:58:20.123");
  zu::NSTimeZone::resetSystemTimeZone();
}

TEST(NSTimeZone, KnowsNamesAndRefusesUnknownOnes) {
  EXPECT_EQ(zu::NSTimeZone::timeZoneWithName("Europe/Paris")->name(), "Europe/Paris");
  EXPECT_EQ(zu::NSTimeZone::timeZoneWithName("Mars/Olympus"), nullptr);
  zu::NSTimeZone::setDefaultTimeZone(zu::NSTimeZone::timeZoneWithName("Asia/Tokyo"));
  EXPECT_EQ(zu::NSDateFormatter().timeZone()->name(), "Asia/Tokyo");
  zu::NSTimeZone::setDefaultTimeZone(nullptr);
  EXPECT_EQ(zu::NSTimeZone::defaultTimeZone()->name(), "Asia/Tokyo") << "none changes nothing";
  zu::NSTimeZone::resetSystemTimeZone();
}

}  // namespace
