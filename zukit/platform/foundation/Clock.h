#pragma once

// Internal to libzukit (not installed, not exported): the stores' second clock and its test hook.

#include <cstdint>
#include <optional>

namespace zu {

// The wall clock in whole seconds since 1970-01-01 00:00:00 UTC, as the system call time()
// reads it. Whatever stamps or ages data by the second (the disk caches) reads it here, so that
// a test can set the time and get the same answers on every run. Safe from any thread.
class Clock {
 public:
  Clock() = delete;

  // Seconds since 1970: time(), or the second that setTimeForTesting() fixed.
  static std::int64_t time();

  // Test hook: from now on time() answers `seconds`; none returns to the system clock.
  static void setTimeForTesting(std::optional<std::int64_t> seconds);
};

}  // namespace zu
