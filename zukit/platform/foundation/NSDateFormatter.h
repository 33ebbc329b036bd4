#pragma once

#include <memory>
#include <optional>
#include <string>

#include "zukit/platform/foundation/Date.h"
#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/NSLocale.h"
#include "zukit/platform/foundation/NSTimeZone.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// Formats and parses dates with a date pattern of Unicode Technical Standard #35
// ("yyyy-MM-dd HH:mm:ss.SSS"), through ICU, in a locale and time zone. A new formatter takes
// the current locale and the default time zone; the pattern starts empty.
//
// Making a formatter is cheap: the ICU formatters behind it are kept per thread and keyed by
// (pattern, locale, time zone), and within one second a pattern whose only sub-second field is
// "SSS" reuses the rest of the text. Both are invisible in the output, which is always what ICU
// gives for that pattern, locale and zone.
class ZU_EXPORT NSDateFormatter final : public Object {
 public:
  ZU_RUNTIME_CLASS(NSDateFormatter, Object)
  NSDateFormatter();

  // The pattern.
  const std::string& dateFormat() const { return _format; }
  // Sets the pattern.
  void setDateFormat(std::string pattern) { _format = std::move(pattern); }
  // The locale.
  const std::shared_ptr<NSLocale>& locale() const { return _locale; }
  // Sets the locale; none keeps the current one.
  void setLocale(std::shared_ptr<NSLocale> locale);
  // The time zone.
  const std::shared_ptr<NSTimeZone>& timeZone() const { return _timeZone; }
  // Sets the time zone; none keeps the current one.
  void setTimeZone(std::shared_ptr<NSTimeZone> zone);

  // The date as text; empty when the pattern is not a valid pattern or the date is NaN or
  // infinite.
  std::string stringFromDate(const Date& date) const;
  // The date that the whole text stands for under the pattern (strict parsing), or none. With a
  // fractional-second field ("S") in the pattern, text holding 35 or more decimal digits gives
  // none: ICU cannot scale a fraction that long.
  std::optional<Date> dateFromString(const std::string& text) const;

  // Appends to `out` what a new formatter with `pattern` (and so the current locale and default
  // time zone) would make of `date`, without making one: for callers that need a fresh
  // formatter's text on every call, such as a log line's time stamp.
  static void appendStringFromDate(std::string& out, std::string_view pattern, const Date& date);

 private:
  std::string _format;
  std::shared_ptr<NSLocale> _locale;
  std::shared_ptr<NSTimeZone> _timeZone;
};

}  // namespace zu
