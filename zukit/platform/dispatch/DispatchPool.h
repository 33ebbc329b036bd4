#pragma once

// Internal to libzukit (not installed, not exported): the worker pool behind the global queues.

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>

#include "zukit/platform/dispatch/DispatchExecutor.h"

namespace zu {

template <class T>
class NoDestructor;

// The process-wide worker pool behind the global and created queues: an Asio io_context run by
// several threads. Like the platform's pool it grows while every worker is busy and work waits
// (a worker blocked on a semaphore must not starve the rest), up to a fixed ceiling.
class DispatchPool final : public DispatchExecutor {
 public:
  // The shared pool, started on first use and never stopped.
  static DispatchPool& shared();

  void post(std::function<void()> job) override;
  // Number of worker threads started so far.
  std::size_t threadCount() const;

  // Most workers the pool will start.
  static constexpr std::size_t kMaximumThreads = 128;

  ~DispatchPool() override;
  DispatchPool(const DispatchPool&) = delete;
  DispatchPool& operator=(const DispatchPool&) = delete;

 private:
  friend class NoDestructor<DispatchPool>;
  DispatchPool();
  void startWorker();
  void armStarvationCheck();
  void checkStarvation();

  struct State;
  std::unique_ptr<State> _state;
};

}  // namespace zu
