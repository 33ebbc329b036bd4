#include "zukit/platform/foundation/Date.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace zu {

namespace {

// Instants further than this from 1970 (about 317 million years) are not named by the
// calendar: converting them to time_t, or their year to an int, would overflow.
constexpr double kLargestDescribedSeconds = 1e16;

}  // namespace

Date Date::date() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return Date(std::chrono::duration<double>(now).count());
}

std::string Date::description() const {
  char text[96];
  const double whole = std::floor(_seconds);
  std::tm utc{};
  if (std::fabs(whole) <= kLargestDescribedSeconds) {
    const auto seconds = static_cast<std::time_t>(whole);
    if (gmtime_r(&seconds, &utc) != nullptr &&
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S +0000", &utc) > 0) {
      return text;
    }
  }
  // NaN, the infinities and instants beyond the calendar: the seconds themselves.
  std::snprintf(text, sizeof text, "%.16g seconds since 1970-01-01 00:00:00 +0000", _seconds);
  return text;
}

}  // namespace zu
