#pragma once

#include <condition_variable>
#include <mutex>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/ThreadAnnotations.h"

namespace zu {

// A std::mutex that clang's lock analysis can follow.
class ZU_EXPORT ZU_CAPABILITY("mutex") Mutex {
 public:
  Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  // Blocks until the calling thread owns the mutex.
  void lock() ZU_ACQUIRE() { _mutex.lock(); }
  // Releases ownership.
  void unlock() ZU_RELEASE() { _mutex.unlock(); }
  // The underlying mutex, for condition variables.
  std::mutex& native() { return _mutex; }

 private:
  std::mutex _mutex;
};

// Holds a Mutex for the enclosing scope.
class ZU_EXPORT ZU_SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) ZU_ACQUIRE(mutex) : _lock(mutex.native()) {}
  ~MutexLock() ZU_RELEASE() = default;
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

  // Waits on the condition variable, releasing the mutex meanwhile.
  template <class Predicate>
  void wait(std::condition_variable& condition, Predicate predicate) {
    condition.wait(_lock, predicate);
  }
  // As wait(), giving up at the deadline; returns the predicate's last value.
  template <class Clock, class Duration, class Predicate>
  bool waitUntil(std::condition_variable& condition,
                 const std::chrono::time_point<Clock, Duration>& deadline, Predicate predicate) {
    return condition.wait_until(_lock, deadline, predicate);
  }

 private:
  std::unique_lock<std::mutex> _lock;
};

}  // namespace zu
