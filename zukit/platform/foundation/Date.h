#pragma once

#include <compare>
#include <string>

#include "zukit/platform/foundation/Export.h"

namespace zu {

// An instant, kept as seconds (with fraction) since 1970-01-01 00:00:00 UTC.
class ZU_EXPORT Date {
 public:
  constexpr Date() = default;
  // The instant `seconds` after 1970-01-01 00:00:00 UTC.
  static constexpr Date dateWithTimeIntervalSince1970(double seconds) { return Date(seconds); }
  // The current instant from the system clock.
  static Date date();

  // Seconds since 1970-01-01 00:00:00 UTC.
  constexpr double timeIntervalSince1970() const { return _seconds; }
  // This instant moved by `seconds`.
  constexpr Date dateByAddingTimeInterval(double seconds) const { return Date(_seconds + seconds); }
  // The instant in UTC, "yyyy-MM-dd HH:mm:ss +0000", as "%@" prints it; an instant the calendar
  // cannot name (NaN, infinite, or beyond about 317 million years from 1970) as
  // "<seconds> seconds since 1970-01-01 00:00:00 +0000".
  std::string description() const;

  constexpr bool operator==(const Date&) const = default;
  constexpr std::partial_ordering operator<=>(const Date& other) const {
    return _seconds <=> other._seconds;
  }

 private:
  constexpr explicit Date(double seconds) : _seconds(seconds) {}
  double _seconds = 0;
};

}  // namespace zu
