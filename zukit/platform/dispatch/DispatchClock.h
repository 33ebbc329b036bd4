#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>

#include "zukit/platform/dispatch/DispatchTime.h"
#include "zukit/platform/foundation/Export.h"

namespace zu {

// The clock that dispatch times are read on, and the scheduler of everything that waits for a
// dispatch time: delayed submissions (dispatch_after), timer sources, and the completions of view
// animations. It runs in real time (the monotonic clock) unless it is switched to manual time,
// where it stands still until advance() moves it; tests and benchmarks do so with a ManualClock
// scope. The clock never goes back: returning to real time continues from the time the manual
// clock showed. Every function is safe from any thread.
class ZU_EXPORT DispatchClock {
 public:
  DispatchClock() = delete;

  // Names a scheduled job for cancel(); 0 names none.
  using Ticket = std::uint64_t;

  // The current dispatch time in nanoseconds.
  static dispatch_time_t now();
  // True while the clock is in manual time.
  static bool isManual();
  // Stops the clock at the current time. Pending jobs keep their deadlines and from now on run
  // only when advance() reaches them. Nothing happens when the clock is manual already.
  static void useManualTime();
  // Lets the clock run in real time again from the time it shows; jobs whose deadline has passed
  // run at once. Nothing happens in real time.
  static void useRealTime();
  // In manual time, moves the clock forward by `step` (a negative step counts as 0), running
  // every job that falls due on the way in deadline order (jobs with one deadline in the order
  // they were scheduled), each with now() at its own deadline, on the calling thread. Called on
  // the main thread outside any queue's block, it also runs the main run loop's ready work after
  // each job, so that what a job submits to the main queue (an animation's completion, a timer's
  // handler) has run when advance() returns. In real time, or called from a job it runs, it does
  // nothing but write a console line.
  static void advance(std::chrono::nanoseconds step);
  // Runs `job` at dispatch time `deadline`: in real time on the dispatch layer's timer thread,
  // in manual time inside the advance() that reaches it; a deadline already reached runs on the
  // timer thread at once. Jobs must be short (they hand work on to a queue). DISPATCH_TIME_FOREVER
  // never runs.
  static Ticket schedule(dispatch_time_t deadline, std::function<void()> job);
  // Forgets the job of `ticket` unless it has started; true when it was still waiting.
  static bool cancel(Ticket ticket);
  // The number of jobs waiting for their deadline.
  static std::size_t pendingJobCount();
};

}  // namespace zu
