#pragma once

#include <cstdint>
#include <memory>

#include "zukit/platform/dispatch/DispatchQueue.h"
#include "zukit/platform/dispatch/DispatchTime.h"
#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Mutex.h"

namespace zu {

// Kinds of dispatch source; only timers are offered.
enum class DispatchSourceType : std::uint8_t { Timer };
inline constexpr DispatchSourceType DISPATCH_SOURCE_TYPE_TIMER = DispatchSourceType::Timer;

// A timer source: after resume() it calls its event handler on its target queue at the start
// time and then every interval, until cancelled. Its times are on the dispatch clock, so in
// manual time (ManualClock) it fires as the clock is advanced. Fires that come while the handler is
// still queued are merged into one call, and data() tells how many were merged. A source is created
// suspended; while resumed and not cancelled it keeps itself alive.
class ZU_EXPORT DispatchSource final : public Object {
 public:
  // A suspended timer source whose handlers run on `queue`.
  explicit DispatchSource(dispatch_queue_t queue);
  ~DispatchSource() override;
  DispatchSource(const DispatchSource&) = delete;
  DispatchSource& operator=(const DispatchSource&) = delete;

  // First fire at `start`, then every `interval` nanoseconds; DISPATCH_TIME_FOREVER as interval
  // fires once. Intervals below one millisecond are raised to one millisecond. The leeway is
  // accepted and not used.
  void setTimer(dispatch_time_t start, std::uint64_t interval, std::uint64_t leeway);
  // The block called on each (merged) fire.
  void setEventHandler(dispatch_block_t handler);
  // The block called once, on the target queue, after cancel().
  void setCancelHandler(dispatch_block_t handler);
  // Undoes one suspension; the first resume starts the timer.
  void resume();
  // Holds back event handlers until the matching resume(); fires are counted meanwhile.
  void suspend();
  // Stops the timer for good; no event handler starts afterwards.
  void cancel();
  // True after cancel().
  bool isCancelled() const;
  // Number of fires merged into the handler call in progress.
  unsigned long data() const;

 private:
  // Schedules the fire at _nextDeadline on the dispatch clock, replacing the one scheduled;
  // returns the replaced job's ticket, which the caller cancels once the lock is released.
  std::uint64_t armLocked() ZU_REQUIRES(_mutex);
  void fired(std::uint64_t generation);
  void deliver();
  void queueDeliveryLocked() ZU_REQUIRES(_mutex);

  const dispatch_queue_t _queue;
  mutable Mutex _mutex;
  int _suspendCount ZU_GUARDED_BY(_mutex) = 1;
  bool _cancelled ZU_GUARDED_BY(_mutex) = false;
  bool _deliveryQueued ZU_GUARDED_BY(_mutex) = false;
  dispatch_time_t _start ZU_GUARDED_BY(_mutex) = DISPATCH_TIME_FOREVER;
  std::uint64_t _interval ZU_GUARDED_BY(_mutex) = DISPATCH_TIME_FOREVER;
  std::uint64_t _nextDeadline ZU_GUARDED_BY(_mutex) = DISPATCH_TIME_FOREVER;
  std::uint64_t _generation ZU_GUARDED_BY(_mutex) = 0;
  unsigned long _pendingFires ZU_GUARDED_BY(_mutex) = 0;
  unsigned long _deliveredFires ZU_GUARDED_BY(_mutex) = 0;
  dispatch_block_t _eventHandler ZU_GUARDED_BY(_mutex);
  dispatch_block_t _cancelHandler ZU_GUARDED_BY(_mutex);
  // The dispatch clock's ticket of the scheduled fire; 0 for none. The scheduled job holds the
  // source, so a running timer keeps its source alive until cancelled.
  std::uint64_t _ticket ZU_GUARDED_BY(_mutex) = 0;
};

// A strong reference to a source.
using dispatch_source_t = std::shared_ptr<DispatchSource>;

// A suspended timer source on `queue`; none when the queue is missing.
ZU_EXPORT dispatch_source_t dispatch_source_create(DispatchSourceType type, std::uintptr_t handle,
                                                   unsigned long mask,
                                                   const dispatch_queue_t& queue);
// DispatchSource::setTimer().
ZU_EXPORT void dispatch_source_set_timer(const dispatch_source_t& source, dispatch_time_t start,
                                         std::uint64_t interval, std::uint64_t leeway);
// DispatchSource::setEventHandler().
ZU_EXPORT void dispatch_source_set_event_handler(const dispatch_source_t& source,
                                                 dispatch_block_t handler);
// DispatchSource::setCancelHandler().
ZU_EXPORT void dispatch_source_set_cancel_handler(const dispatch_source_t& source,
                                                  dispatch_block_t handler);
// DispatchSource::cancel().
ZU_EXPORT void dispatch_source_cancel(const dispatch_source_t& source);
// DispatchSource::isCancelled(), as 0 or 1.
ZU_EXPORT long dispatch_source_testcancel(const dispatch_source_t& source);
// DispatchSource::data().
ZU_EXPORT unsigned long dispatch_source_get_data(const dispatch_source_t& source);
// DispatchSource::resume().
ZU_EXPORT void dispatch_resume(const dispatch_source_t& source);
// DispatchSource::suspend().
ZU_EXPORT void dispatch_suspend(const dispatch_source_t& source);

}  // namespace zu
