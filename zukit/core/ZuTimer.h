#pragma once

#include <atomic>
#include <memory>

#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/runtime/RuntimeClass.h"

// A target-action timer on a dispatch timer source of the main queue: it needs no run loop of
// its own and does not keep its target alive. At each tick the action is sent through the
// runtime to the target with the timer as its one argument (performSelector:withObject:, so the
// action is a runtime method taking a `const zu::Value&`, a `zu::Value`, a `const zu::id&` or a
// `zu::id`); its result is ignored. A timer whose target has gone away invalidates itself at its
// next tick, and a non-repeating one after its first action. Nothing keeps a timer alive but its
// owner: the source holds it weakly, and releasing the last reference invalidates it.
//
//   auto timer = ZuTimer::timerWithTimeInterval(1.0, controller, zu::sel_registerName("tick:"),
//                                               true);
//
// Ticks run on the main thread. The state is guarded by a dispatch semaphore, so every method is
// safe from any thread; the action is sent outside it, so an action may invalidate its own timer.
class ZU_EXPORT ZuTimer : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(ZuTimer, zu::Object)

  // A started timer whose first tick comes one `interval` (seconds) from now, then every
  // `interval`.
  static std::shared_ptr<ZuTimer> timerWithTimeInterval(double interval, const zu::id& target,
                                                        zu::SEL selector, bool repeats);
  // The designated initializer: a started timer whose first tick comes `fireTime` seconds from
  // now (at once when zero or negative), then every `interval` seconds. A missing target is
  // accepted and ends the timer at its first tick.
  static std::shared_ptr<ZuTimer> initWithFireTime(double fireTime, double interval,
                                                   const zu::id& target, zu::SEL selector,
                                                   bool repeats);
  // Plain init is refused: raises zu::NSException named "ZuTimer init error" with the reason
  // "Use the designated initializer to init." and no user information. Never returns.
  [[noreturn]] static std::shared_ptr<ZuTimer> init();
  // What `std::make_shared<ZuTimer>()` and other plain construction reach: the same refusal as
  // init(), so a timer can only come from the designated initializer.
  ZuTimer();

  // Invalidates the timer.
  ~ZuTimer() override;
  ZuTimer(const ZuTimer&) = delete;
  ZuTimer& operator=(const ZuTimer&) = delete;

  // One tick now, on the calling thread: sends the action to a target that still exists; then
  // invalidates the timer when the target is gone or the timer does not repeat. Nothing on an
  // invalid timer.
  void fire();
  // Stops the timer for good: cancels and drops the source and forgets the target.
  void invalidate();
  // True from creation until invalidation.
  bool isValid() const;
  // Whether the timer goes on after its first action.
  bool repeats() const;
  // The repeat interval in seconds (not the first-fire delay).
  double timeInterval() const;

  // Made only by the designated initializer.
  class Passkey {
    friend class ZuTimer;
    Passkey() = default;
  };
  ZuTimer(Passkey /*unused*/, double interval, const zu::id& target, zu::SEL selector,
          bool repeats);

 private:
  // Takes _lock for a scope.
  class Locker;

  // Creates the source, sets its timer and handler and resumes it.
  void start(double fireTime);

  // The fields below are guarded by _lock (a semaphore, which the thread-safety analysis does not
  // know). _valid is also read once without it at the start of fire(): an atomic, so that read is
  // not a data race; writes happen under _lock.
  std::atomic<bool> _valid{true};
  const double _timeInterval;
  const bool _repeats;
  std::weak_ptr<zu::Object> _target;
  const zu::SEL _selector;
  zu::dispatch_source_t _source;
  const zu::dispatch_semaphore_t _lock;
};
