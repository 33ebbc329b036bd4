#pragma once

#include <chrono>

#include "zukit/platform/dispatch/DispatchClock.h"
#include "zukit/platform/foundation/Export.h"

namespace zu {

// A scope in which the dispatch clock stands still until advanced: delayed submissions, timer
// sources and animation completions wait for advance() instead of real time. Scopes nest; the
// clock returns to real time when the outermost one ends. Meant for tests and benchmarks on the
// main thread:
//
//   zu::ManualClock clock;
//   zu::UIView::animateWithDuration(0.25, [&] { view->setAlpha(0); },
//                                   [&](bool finished) { done = finished; });
//   clock.advance(std::chrono::milliseconds(250));  // the completion has run: done is true
class ZU_EXPORT ManualClock {
 public:
  // Switches the dispatch clock to manual time.
  ManualClock();
  // Returns the clock to real time unless an enclosing scope is still open.
  ~ManualClock();
  ManualClock(const ManualClock&) = delete;
  ManualClock& operator=(const ManualClock&) = delete;

  // DispatchClock::advance() by `step`, which may be any duration (250ms, 0.25s, ...).
  template <class Rep, class Period>
  void advance(std::chrono::duration<Rep, Period> step) const {
    DispatchClock::advance(std::chrono::duration_cast<std::chrono::nanoseconds>(step));
  }
  // DispatchClock::advance() by `seconds`.
  void advanceSeconds(double seconds) const;
  // The time the clock shows.
  dispatch_time_t now() const { return DispatchClock::now(); }
};

}  // namespace zu
