#include "zukit/platform/foundation/Clock.h"

#include <atomic>
#include <ctime>
#include <limits>

namespace zu {

namespace {

// No second can be the minimum of the range, so it stands for "use the system clock".
constexpr std::int64_t kSystemClock = std::numeric_limits<std::int64_t>::min();

std::atomic<std::int64_t>& fixedSecond() {
  static std::atomic<std::int64_t> second{kSystemClock};
  return second;
}

}  // namespace

std::int64_t Clock::time() {
  const std::int64_t fixed = fixedSecond().load(std::memory_order_relaxed);
  if (fixed != kSystemClock) return fixed;
  return static_cast<std::int64_t>(std::time(nullptr));
}

void Clock::setTimeForTesting(std::optional<std::int64_t> seconds) {
  fixedSecond().store(seconds && *seconds != kSystemClock ? *seconds : kSystemClock,
                      std::memory_order_relaxed);
}

}  // namespace zu
