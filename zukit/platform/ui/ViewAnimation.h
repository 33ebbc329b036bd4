#pragma once

// Internal to libzukit (not installed, not exported): view animations on the dispatch clock.

#include <functional>
#include <memory>
#include <vector>

#include "zukit/platform/dispatch/DispatchClock.h"

namespace zu::detail {

// One animateWithDuration call in flight: its completion, waiting for the duration on the
// dispatch clock or for a later animation to take over one of its properties. Touched on the
// main thread only; the clock's job merely hands it back to the main queue.
struct ViewAnimation {
  std::function<void(bool)> completion;
  DispatchClock::Ticket ticket = 0;
  // False for a duration that is not a positive number: the changes apply as outside any
  // animation, taking no property over.
  bool hasDuration = false;
  // True once the animations block set a tracked property.
  bool animatedSomething = false;
  // True once the completion has run or been handed to the main queue.
  bool done = false;

  // Runs the completion with `finished`, unless it has run.
  void finish(bool finished);
  // A later animation took over a property: the completion runs on the main queue's next turn
  // with finished false, and the wait for the duration is dropped.
  void supersede();

  // The animations blocks running on this thread, innermost last.
  static std::vector<std::shared_ptr<ViewAnimation>>& openAnimations();
};

}  // namespace zu::detail
