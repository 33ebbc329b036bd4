#include "zukit/platform/dispatch/DispatchTime.h"

#include <limits>

namespace zu {

namespace {

std::uint64_t nowNanoseconds() {
  const auto since = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(since).count());
}

}  // namespace

dispatch_time_t dispatch_time(dispatch_time_t when, std::int64_t delta) {
  if (when == DISPATCH_TIME_FOREVER) return DISPATCH_TIME_FOREVER;
  const std::uint64_t base = when == DISPATCH_TIME_NOW ? nowNanoseconds() : when;
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
  return std::chrono::steady_clock::time_point(
      std::chrono::duration_cast<std::chrono::steady_clock::duration>(
          std::chrono::nanoseconds(when)));
}

}  // namespace zu
