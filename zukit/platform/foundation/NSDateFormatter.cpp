#include "zukit/platform/foundation/NSDateFormatter.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <list>

#include <unicode/fieldpos.h>
#include <unicode/locid.h>
#include <unicode/numfmt.h>
#include <unicode/parsepos.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include "zukit/platform/foundation/FormattingSettings.h"

namespace zu {

namespace {

// Most ICU formatters kept per thread.
constexpr std::size_t kCachedFormatters = 16;
// ICU scales a parsed fraction of a second by a power of ten in a 32-bit integer, which wraps to
// zero (and divides by it) from 35 digits on; text with that many digits is refused first.
constexpr std::int32_t kFewestFractionDigitsRefused = 35;

std::string utf8(const icu::UnicodeString& text) {
  std::string out;
  text.toUTF8String(out);
  return out;
}

// True when the pattern's only field that depends on the milliseconds is one "SSS" run: then
// two instants of the same second differ only in that field.
bool hasSingleMillisecondField(const std::string& pattern) {
  int runs = 0;
  bool quoted = false;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const char c = pattern[i];
    if (c == '\'') {
      quoted = !quoted;
      continue;
    }
    if (quoted) continue;
    if (c == 'A') return false;
    if (c == 'S') {
      std::size_t length = 0;
      while (i + length < pattern.size() && pattern[i + length] == 'S')
        ++length;
      if (length != 3) return false;
      ++runs;
      i += length - 1;
    }
  }
  return runs == 1;
}

// True when the pattern has a fractional-second field: an "S" outside quotes.
bool hasFractionalSecondField(const std::string& pattern) {
  bool quoted = false;
  for (const char c : pattern) {
    if (c == '\'') quoted = !quoted;
    if (!quoted && c == 'S') return true;
  }
  return false;
}

// The number of decimal digits in the text, of any script (ICU counts them all).
std::int32_t decimalDigits(const icu::UnicodeString& text) {
  std::int32_t digits = 0;
  for (std::int32_t i = 0; i < text.length(); i = text.moveIndex32(i, 1)) {
    if (u_isdigit(text.char32At(i)) != 0) ++digits;
  }
  return digits;
}

// One ICU formatter for a (pattern, locale, zone), with the memo of the last second formatted.
struct CachedFormatter {
  std::string key;
  std::unique_ptr<icu::SimpleDateFormat> formatter;
  bool reusesSecond = false;
  std::array<std::string, 10> digits;
  bool memoValid = false;
  std::int64_t memoSecond = 0;
  std::string prefix;
  std::string suffix;

  void appendMilliseconds(std::string& out, int milliseconds) const {
    out += digits[static_cast<std::size_t>(milliseconds / 100)];
    out += digits[static_cast<std::size_t>(milliseconds / 10 % 10)];
    out += digits[static_cast<std::size_t>(milliseconds % 10)];
  }

  // Appends the date's text: from the memo when the second is the one formatted last, else
  // from ICU (refreshing the memo).
  void append(std::string& out, const Date& date) {
    if (!formatter) return;
    const double milliseconds = std::floor(date.timeIntervalSince1970() * 1000.0);
    // ICU would convert a NaN or an infinity to an integer: such a date has no text.
    if (!std::isfinite(milliseconds)) return;
    if (!reusesSecond || std::fabs(milliseconds) > 1e17) {
      icu::UnicodeString text;
      formatter->format(milliseconds, text);
      text.toUTF8String(out);
      return;
    }
    const auto whole = static_cast<std::int64_t>(milliseconds);
    const std::int64_t second = whole >= 0 ? whole / 1000 : -((-whole + 999) / 1000);
    const int fraction = static_cast<int>(whole - second * 1000);
    if (memoValid && memoSecond == second) {
      out += prefix;
      appendMilliseconds(out, fraction);
      out += suffix;
      return;
    }
    icu::UnicodeString text;
    icu::FieldPosition position(UDAT_FRACTIONAL_SECOND_FIELD);
    formatter->format(milliseconds, text, position);
    const std::string full = utf8(text);
    const std::int32_t begin = position.getBeginIndex();
    const std::int32_t end = position.getEndIndex();
    memoValid = false;
    if (end > begin) {
      prefix = utf8(text.tempSubString(0, begin));
      suffix = utf8(text.tempSubString(end));
      // Only reuse the second if composing gives exactly ICU's text.
      std::string composed = prefix;
      appendMilliseconds(composed, fraction);
      composed += suffix;
      if (composed == full) {
        memoValid = true;
        memoSecond = second;
      } else {
        reusesSecond = false;
      }
    }
    out += full;
  }
};

CachedFormatter makeFormatter(const std::string& key, const std::string& pattern,
                              const std::string& locale, const std::string& zone) {
  CachedFormatter cached;
  cached.key = key;
  UErrorCode status = U_ZERO_ERROR;
  auto formatter = std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString::fromUTF8(pattern),
                                                           icu::Locale(locale.c_str()), status);
  if (U_FAILURE(status)) return cached;
  formatter->adoptTimeZone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone)));
  formatter->setLenient(false);
  cached.reusesSecond = hasSingleMillisecondField(pattern);
  if (cached.reusesSecond) {
    const icu::NumberFormat* numbers = formatter->getNumberFormat();
    for (int digit = 0; digit < 10 && numbers != nullptr; ++digit) {
      icu::UnicodeString text;
      numbers->format(static_cast<std::int32_t>(digit), text);
      cached.digits[static_cast<std::size_t>(digit)] = utf8(text);
    }
    cached.reusesSecond = numbers != nullptr;
  }
  cached.formatter = std::move(formatter);
  return cached;
}

CachedFormatter& formatterFor(const std::string& pattern, const std::string& locale,
                              const std::string& zone) {
  thread_local std::list<CachedFormatter> cache;
  std::string key = pattern;
  key += '\x1f';
  key += locale;
  key += '\x1f';
  key += zone;
  for (auto it = cache.begin(); it != cache.end(); ++it) {
    if (it->key == key) {
      cache.splice(cache.begin(), cache, it);
      return cache.front();
    }
  }
  cache.push_front(makeFormatter(key, pattern, locale, zone));
  if (cache.size() > kCachedFormatters) cache.pop_back();
  return cache.front();
}

}  // namespace

NSDateFormatter::NSDateFormatter()
    : _locale(NSLocale::currentLocale()), _timeZone(NSTimeZone::defaultTimeZone()) {}

void NSDateFormatter::setLocale(std::shared_ptr<NSLocale> locale) {
  _locale = locale ? std::move(locale) : NSLocale::currentLocale();
}

void NSDateFormatter::setTimeZone(std::shared_ptr<NSTimeZone> zone) {
  _timeZone = zone ? std::move(zone) : NSTimeZone::defaultTimeZone();
}

std::string NSDateFormatter::stringFromDate(const Date& date) const {
  CachedFormatter& cached = formatterFor(_format, _locale->localeIdentifier(), _timeZone->name());
  std::string text;
  cached.append(text, date);
  return text;
}

void NSDateFormatter::appendStringFromDate(std::string& out, std::string_view pattern,
                                           const Date& date) {
  // One formatter per thread for the last pattern, kept while the settings stay the same.
  struct Slot {
    std::uint64_t generation = 0;
    std::string pattern;
    CachedFormatter formatter;
  };
  thread_local Slot slot;
  const std::uint64_t generation = formattingSettingsGeneration();
  if (slot.generation != generation || slot.pattern != pattern) {
    const NSDateFormatter fresh;
    slot.pattern = std::string(pattern);
    slot.formatter = makeFormatter(std::string(), slot.pattern, fresh._locale->localeIdentifier(),
                                   fresh._timeZone->name());
    slot.generation = generation;
  }
  slot.formatter.append(out, date);
}

std::optional<Date> NSDateFormatter::dateFromString(const std::string& text) const {
  CachedFormatter& cached = formatterFor(_format, _locale->localeIdentifier(), _timeZone->name());
  if (!cached.formatter) return std::nullopt;
  const icu::UnicodeString input = icu::UnicodeString::fromUTF8(text);
  // Every digit of a fraction lies in the text, so fewer digits in all cannot make a long one.
  if (hasFractionalSecondField(_format) && decimalDigits(input) >= kFewestFractionDigitsRefused) {
    return std::nullopt;
  }
  icu::ParsePosition position(0);
  const UDate parsed = cached.formatter->parse(input, position);
  if (position.getErrorIndex() >= 0 || position.getIndex() != input.length()) return std::nullopt;
  return Date::dateWithTimeIntervalSince1970(parsed / 1000.0);
}

}  // namespace zu
