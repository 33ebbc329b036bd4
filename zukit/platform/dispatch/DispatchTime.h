#pragma once

#include <chrono>
#include <cstdint>

#include "zukit/platform/foundation/Export.h"

namespace zu {

// A point on the dispatch clock (DispatchClock.h) in nanoseconds, as dispatch_time() makes it.
using dispatch_time_t = std::uint64_t;

// "Now", resolved when the time is used.
inline constexpr dispatch_time_t DISPATCH_TIME_NOW = 0;
// Never: a wait that does not time out, a timer that does not repeat.
inline constexpr dispatch_time_t DISPATCH_TIME_FOREVER = ~0ULL;

inline constexpr std::uint64_t NSEC_PER_SEC = 1000000000ULL;
inline constexpr std::uint64_t NSEC_PER_MSEC = 1000000ULL;
inline constexpr std::uint64_t USEC_PER_SEC = 1000000ULL;
inline constexpr std::uint64_t NSEC_PER_USEC = 1000ULL;

// `when` (DISPATCH_TIME_NOW for the dispatch clock's current time) moved by `delta` nanoseconds;
// saturates at the ends of the range, and DISPATCH_TIME_FOREVER stays forever.
ZU_EXPORT dispatch_time_t dispatch_time(dispatch_time_t when, std::int64_t delta);

// The point on the monotonic clock that is as far from now as `when` is from the dispatch
// clock's now, for waits in real time (a semaphore's); time_point::max() for
// DISPATCH_TIME_FOREVER.
ZU_EXPORT std::chrono::steady_clock::time_point dispatchTimePoint(dispatch_time_t when);

}  // namespace zu
