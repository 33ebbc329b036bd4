#include "zukit/platform/dispatch/DispatchSemaphore.h"

namespace zu {

DispatchSemaphore::DispatchSemaphore(long value) : _value(value) {}

long DispatchSemaphore::wait(dispatch_time_t timeout) {
  MutexLock lock(_mutex);
  if (_value > 0) {
    --_value;
    return 0;
  }
  ++_waiters;
  const auto ready = [this]() ZU_NO_THREAD_SAFETY_ANALYSIS { return _value > 0; };
  bool acquired = true;
  if (timeout == DISPATCH_TIME_FOREVER) {
    lock.wait(_condition, ready);
  } else {
    acquired = lock.waitUntil(_condition, dispatchTimePoint(timeout), ready);
  }
  --_waiters;
  if (!acquired) return 1;
  --_value;
  return 0;
}

long DispatchSemaphore::signal() {
  MutexLock lock(_mutex);
  ++_value;
  if (_waiters == 0) return 0;
  _condition.notify_one();
  return 1;
}

dispatch_semaphore_t dispatch_semaphore_create(long value) {
  if (value < 0) return nullptr;
  return std::make_shared<DispatchSemaphore>(value);
}

long dispatch_semaphore_wait(const dispatch_semaphore_t& semaphore, dispatch_time_t timeout) {
  return semaphore ? semaphore->wait(timeout) : 1;
}

long dispatch_semaphore_signal(const dispatch_semaphore_t& semaphore) {
  return semaphore ? semaphore->signal() : 0;
}

}  // namespace zu
