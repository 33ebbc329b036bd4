#pragma once

#include <condition_variable>
#include <memory>

#include "zukit/platform/dispatch/DispatchTime.h"
#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/runtime/Object.h"

namespace zu {

// A counting semaphore. wait() takes one unit, blocking while none is left; signal() returns
// one, waking a waiter. Created with 1 it serves as a non-recursive lock.
class ZU_EXPORT DispatchSemaphore final : public Object {
 public:
  // A semaphore holding `value` units (negative values are refused by dispatch_semaphore_create).
  explicit DispatchSemaphore(long value);

  // Takes a unit, waiting until `timeout` at most; 0 on success, non-zero on time-out.
  long wait(dispatch_time_t timeout);
  // Returns a unit; non-zero when a waiting thread was woken.
  long signal();

 private:
  Mutex _mutex;
  std::condition_variable _condition;
  long _value ZU_GUARDED_BY(_mutex);
  long _waiters ZU_GUARDED_BY(_mutex) = 0;
};

// A strong reference to a semaphore.
using dispatch_semaphore_t = std::shared_ptr<DispatchSemaphore>;

// A new semaphore with `value` units; none for a negative value.
ZU_EXPORT dispatch_semaphore_t dispatch_semaphore_create(long value);
// DispatchSemaphore::wait(); a missing semaphore answers non-zero at once.
ZU_EXPORT long dispatch_semaphore_wait(const dispatch_semaphore_t& semaphore,
                                       dispatch_time_t timeout);
// DispatchSemaphore::signal(); a missing semaphore answers 0.
ZU_EXPORT long dispatch_semaphore_signal(const dispatch_semaphore_t& semaphore);

}  // namespace zu
