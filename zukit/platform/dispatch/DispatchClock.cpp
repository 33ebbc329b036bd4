#include "zukit/platform/dispatch/DispatchClock.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <map>
#include <memory>
#include <unordered_map>
#include <utility>

#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <asio/steady_timer.hpp>

#include "zukit/platform/dispatch/DispatchQueue.h"
#include "zukit/platform/dispatch/DispatchTimerThread.h"
#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NSLog.h"
#include "zukit/platform/foundation/NoDestructor.h"

namespace zu {

namespace {

using Job = std::function<void()>;
// Jobs ordered by deadline, then by ticket (the order they were scheduled in).
using JobKey = std::pair<dispatch_time_t, DispatchClock::Ticket>;

std::int64_t steadyNanoseconds() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

struct ClockState {
  // Manual time: the time the clock stands at; 0 while it runs in real time.
  std::atomic<dispatch_time_t> frozen{0};
  // Real time: the clock's distance from the monotonic clock, which grows by what manual time
  // added, so that the clock never goes back.
  std::atomic<std::int64_t> offset{0};

  Mutex mutex;
  std::map<JobKey, Job> jobs ZU_GUARDED_BY(mutex);
  std::unordered_map<DispatchClock::Ticket, dispatch_time_t> deadlines ZU_GUARDED_BY(mutex);
  DispatchClock::Ticket lastTicket ZU_GUARDED_BY(mutex) = 0;
  // The deadline the timer thread's wait is set for (FOREVER: none).
  dispatch_time_t armedFor ZU_GUARDED_BY(mutex) = DISPATCH_TIME_FOREVER;

  // One advance() at a time.
  Mutex advanceMutex;

  // The real-time wait; touched only on the timer thread.
  std::unique_ptr<asio::steady_timer> waiter;
};

ClockState& state() {
  static NoDestructor<ClockState> clock;
  return *clock;
}

// True on a thread that is inside advance().
thread_local bool advancing = false;

dispatch_time_t realNow(const ClockState& clock) {
  const std::int64_t value = steadyNanoseconds() + clock.offset.load(std::memory_order_acquire);
  return static_cast<dispatch_time_t>(std::max<std::int64_t>(value, 1));
}

// Takes the first job due at `limit` or earlier, or none.
Job takeDueJob(ClockState& clock, dispatch_time_t limit, dispatch_time_t* deadline) {
  MutexLock lock(clock.mutex);
  if (clock.jobs.empty() || clock.jobs.begin()->first.first > limit) return nullptr;
  auto node = clock.jobs.extract(clock.jobs.begin());
  clock.deadlines.erase(node.key().second);
  if (deadline != nullptr) *deadline = node.key().first;
  return std::move(node.mapped());
}

void wakeTimerThread();

// On the timer thread: sets the real-time wait for the earliest deadline (none in manual time).
void rearm() {
  ClockState& clock = state();
  dispatch_time_t earliest = DISPATCH_TIME_FOREVER;
  {
    MutexLock lock(clock.mutex);
    if (clock.frozen.load(std::memory_order_acquire) == 0 && !clock.jobs.empty()) {
      earliest = clock.jobs.begin()->first.first;
    }
    clock.armedFor = earliest;
  }
  if (!clock.waiter) {
    clock.waiter = std::make_unique<asio::steady_timer>(DispatchTimerThread::shared().context());
  }
  if (earliest == DISPATCH_TIME_FOREVER) {
    clock.waiter->cancel();
    return;
  }
  clock.waiter->expires_at(dispatchTimePoint(earliest));
  clock.waiter->async_wait([](const std::error_code& error) {
    if (!error) wakeTimerThread();
  });
}

// On the timer thread: runs the jobs that are due by the clock, then waits for the next.
void runDueJobs() {
  ClockState& clock = state();
  while (Job job = takeDueJob(clock, DispatchClock::now(), nullptr))
    job();
  rearm();
}

void wakeTimerThread() {
  asio::post(DispatchTimerThread::shared().context(), &runDueJobs);
}

}  // namespace

dispatch_time_t DispatchClock::now() {
  const ClockState& clock = state();
  const dispatch_time_t frozen = clock.frozen.load(std::memory_order_acquire);
  return frozen != 0 ? frozen : realNow(clock);
}

bool DispatchClock::isManual() {
  return state().frozen.load(std::memory_order_acquire) != 0;
}

void DispatchClock::useManualTime() {
  ClockState& clock = state();
  {
    MutexLock lock(clock.mutex);
    if (clock.frozen.load(std::memory_order_acquire) != 0) return;
    clock.frozen.store(realNow(clock), std::memory_order_release);
  }
  wakeTimerThread();
}

void DispatchClock::useRealTime() {
  ClockState& clock = state();
  {
    MutexLock lock(clock.mutex);
    const dispatch_time_t frozen = clock.frozen.load(std::memory_order_acquire);
    if (frozen == 0) return;
    clock.offset.store(static_cast<std::int64_t>(frozen) - steadyNanoseconds(),
                       std::memory_order_release);
    clock.frozen.store(0, std::memory_order_release);
  }
  wakeTimerThread();
}

void DispatchClock::advance(std::chrono::nanoseconds step) {
  ClockState& clock = state();
  if (advancing) {
    NSLog("DispatchClock: advance() called from a job it runs; ignored");
    return;
  }
  if (!isManual()) {
    NSLog("DispatchClock: advance() needs manual time; the clock runs in real time");
    return;
  }
  advancing = true;
  MutexLock serial(clock.advanceMutex);
  const bool drainMain = RunLoop::isMainThread() && !DispatchQueue::isRunningBlock();
  const auto delta = static_cast<std::uint64_t>(std::max<std::int64_t>(step.count(), 0));
  const dispatch_time_t start = now();
  const dispatch_time_t target =
      start > DISPATCH_TIME_FOREVER - 1 - delta ? DISPATCH_TIME_FOREVER - 1 : start + delta;
  if (drainMain) RunLoop::main().runPending();
  dispatch_time_t deadline = 0;
  while (Job job = takeDueJob(clock, target, &deadline)) {
    {
      MutexLock lock(clock.mutex);
      const dispatch_time_t frozen = clock.frozen.load(std::memory_order_acquire);
      if (frozen != 0 && deadline > frozen) clock.frozen.store(deadline, std::memory_order_release);
    }
    job();
    job = nullptr;
    if (drainMain) RunLoop::main().runPending();
  }
  {
    MutexLock lock(clock.mutex);
    const dispatch_time_t frozen = clock.frozen.load(std::memory_order_acquire);
    if (frozen != 0 && target > frozen) clock.frozen.store(target, std::memory_order_release);
  }
  if (drainMain) RunLoop::main().runPending();
  advancing = false;
}

DispatchClock::Ticket DispatchClock::schedule(dispatch_time_t deadline, std::function<void()> job) {
  if (deadline == DISPATCH_TIME_FOREVER || !job) return 0;
  ClockState& clock = state();
  bool wake = false;
  Ticket ticket = 0;
  {
    MutexLock lock(clock.mutex);
    ticket = ++clock.lastTicket;
    clock.jobs.emplace(JobKey{deadline, ticket}, std::move(job));
    clock.deadlines.emplace(ticket, deadline);
    const bool manual = clock.frozen.load(std::memory_order_acquire) != 0;
    if (deadline <= now()) {
      wake = true;
    } else if (!manual && deadline < clock.armedFor) {
      clock.armedFor = deadline;
      wake = true;
    }
  }
  if (wake) wakeTimerThread();
  return ticket;
}

bool DispatchClock::cancel(Ticket ticket) {
  ClockState& clock = state();
  Job removed;
  {
    MutexLock lock(clock.mutex);
    const auto found = clock.deadlines.find(ticket);
    if (found == clock.deadlines.end()) return false;
    auto node = clock.jobs.extract(JobKey{found->second, ticket});
    clock.deadlines.erase(found);
    if (!node.empty()) removed = std::move(node.mapped());
  }
  // The job is destroyed outside the lock: it may hold the last reference to its owner.
  return true;
}

std::size_t DispatchClock::pendingJobCount() {
  ClockState& clock = state();
  MutexLock lock(clock.mutex);
  return clock.jobs.size();
}

}  // namespace zu
