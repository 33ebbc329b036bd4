#include "zukit/platform/dispatch/DispatchTime.h"

#include <limits>

#include "zukit/platform/dispatch/DispatchClock.h"

namespace zu {

dispatch_time_t dispatch_time(dispatch_time_t when, std::int64_t delta) {
  if (when == DISPATCH_TIME_FOREVER) return DISPATCH_TIME_FOREVER;
  const std::uint64_t base = when == DISPATCH_TIME_NOW ? DispatchClock::now() : when;
  if (delta >= 0) {
    const auto step = static_cast<std::uint64_t>(delta);
    if (base > DISPATCH_TIME_FOREVER - 1 - step) return DISPATCH_TIME_FOREVER - 1;
    return base + step;
  }
  const std::uint64_t step =
      delta == std::numeric_limits<std::int64_t>::min()
          ? static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) + 1
          : static_cast<std::uint64_t>(-delta);
  return base > step ? base - step : 1;
}

std::chrono::steady_clock::time_point dispatchTimePoint(dispatch_time_t when) {
  if (when == DISPATCH_TIME_NOW) return std::chrono::steady_clock::now();
  if (when == DISPATCH_TIME_FOREVER) return std::chrono::steady_clock::time_point::max();
  // The dispatch clock may stand still or run ahead of the monotonic clock: the point is as far
  // from the monotonic clock's now as `when` is from the dispatch clock's.
  const dispatch_time_t now = DispatchClock::now();
  const auto steadyNow = std::chrono::steady_clock::now();
  if (when <= now) {
    return steadyNow - std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                           std::chrono::nanoseconds(now - when));
  }
  const std::uint64_t ahead = when - now;
  const auto room = std::chrono::duration_cast<std::chrono::nanoseconds>(
      std::chrono::steady_clock::time_point::max() - steadyNow);
  if (ahead >= static_cast<std::uint64_t>(room.count())) {
    return std::chrono::steady_clock::time_point::max();
  }
  return steadyNow + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                         std::chrono::nanoseconds(ahead));
}

}  // namespace zu
