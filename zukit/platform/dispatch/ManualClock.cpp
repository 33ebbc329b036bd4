#include "zukit/platform/dispatch/ManualClock.h"

#include <atomic>

namespace zu {

namespace {

std::atomic<int>& openScopes() {
  static std::atomic<int> count{0};
  return count;
}

}  // namespace

ManualClock::ManualClock() {
  if (openScopes().fetch_add(1) == 0) DispatchClock::useManualTime();
}

ManualClock::~ManualClock() {
  if (openScopes().fetch_sub(1) == 1) DispatchClock::useRealTime();
}

void ManualClock::advanceSeconds(double seconds) const {
  advance(std::chrono::duration<double>(seconds));
}

}  // namespace zu
