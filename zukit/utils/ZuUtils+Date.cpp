// ZuUtils: dates to and from text, and comparisons of two dates.

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zukit/platform/foundation/NSDateFormatter.h"
#include "zukit/platform/foundation/NSLog.h"
#include "zukit/utils/ZuUtils.h"

namespace {

constexpr std::string_view kFullPattern = "yyyy-MM-dd HH:mm:ss";
constexpr std::string_view kDayPattern = "yyyy-MM-dd";

// A formatter made for this one call: the current locale and time zone, nothing cached.
std::shared_ptr<zu::NSDateFormatter> formatterWithPattern(std::string_view pattern) {
  auto formatter = std::make_shared<zu::NSDateFormatter>();
  formatter->setDateFormat(std::string(pattern));
  return formatter;
}

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  for (std::size_t found = text.find(separator); found != std::string::npos;
       found = text.find(separator, start)) {
    parts.push_back(text.substr(start, found - start));
    start = found + 1;
  }
  parts.push_back(text.substr(start));
  return parts;
}

// Field `index` of the "HH:mm:ss" half of the full form, or none when the text has no such
// field (a locale whose digits or separators differ would give none).
std::optional<std::string> timeField(const zu::Date& date, std::size_t index) {
  const auto text = ZuUtils::stringFromDate(date);
  if (!text) return std::nullopt;
  const std::vector<std::string> halves = split(*text, ' ');
  if (halves.size() < 2) return std::nullopt;
  std::vector<std::string> fields = split(halves[1], ':');
  if (fields.size() <= index) return std::nullopt;
  return std::move(fields[index]);
}

// Only the one field is compared: the date and the larger units play no part.
bool sameTimeField(const std::optional<zu::Date>& date1, const std::optional<zu::Date>& date2,
                   std::size_t index) {
  if (!date1 || !date2) return false;
  const auto field1 = timeField(*date1, index);
  const auto field2 = timeField(*date2, index);
  return field1 && field2 && *field1 == *field2;
}

}  // namespace

std::optional<zu::Date> ZuUtils::dateFromString(const zu::Value& text) {
  return dateFromString(text, zu::Value(kFullPattern));
}

std::optional<zu::Date> ZuUtils::dateFromString(const zu::Value& text, const zu::Value& format) {
  const auto string = zu::validText(text);
  if (!string) return zu::Date::date();
  const auto pattern = zu::validText(format);
  if (!pattern) return dateFromString(text);
  return formatterWithPattern(*pattern)->dateFromString(*string);
}

std::optional<std::string> ZuUtils::stringFromDate(const std::optional<zu::Date>& date) {
  return stringFromDate(date, zu::Value(kFullPattern));
}

std::optional<std::string> ZuUtils::stringFromDate(const std::optional<zu::Date>& date,
                                                   const zu::Value& format) {
  if (!date) return std::nullopt;
  const auto pattern = zu::validText(format);
  if (!pattern) return stringFromDate(date);
  return formatterWithPattern(*pattern)->stringFromDate(*date);
}

std::int32_t ZuUtils::compareOneDay(const std::optional<zu::Date>& date1,
                                    const std::optional<zu::Date>& date2) {
  const zu::Value first = date1 ? zu::Value(*date1) : zu::Value();
  const zu::Value second = date2 ? zu::Value(*date2) : zu::Value();
  zu::NSLog("date1 : %@, date2 : %@", first, second);
  if (!date1 || !date2) return 0;
  if (*date1 > *date2) return 1;
  if (*date1 < *date2) return -1;
  return 0;
}

bool ZuUtils::isSameDay(const std::optional<zu::Date>& date1,
                        const std::optional<zu::Date>& date2) {
  if (!date1 || !date2) return false;
  const auto day1 = stringFromDate(date1, zu::Value(kDayPattern));
  const auto day2 = stringFromDate(date2, zu::Value(kDayPattern));
  return day1 && day2 && *day1 == *day2;
}

bool ZuUtils::isSameHour(const std::optional<zu::Date>& date1,
                         const std::optional<zu::Date>& date2) {
  return sameTimeField(date1, date2, 0);
}

bool ZuUtils::isSameMinute(const std::optional<zu::Date>& date1,
                           const std::optional<zu::Date>& date2) {
  return sameTimeField(date1, date2, 1);
}

bool ZuUtils::isSameSecond(const std::optional<zu::Date>& date1,
                           const std::optional<zu::Date>& date2) {
  return sameTimeField(date1, date2, 2);
}
