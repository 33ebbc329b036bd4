#include "zukit/platform/dispatch/DispatchPool.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/post.hpp>

#include "zukit/platform/dispatch/DispatchTimerThread.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NoDestructor.h"

namespace zu {

namespace {

// How long every worker must stay busy, with work waiting, before another one starts.
constexpr auto kStarvationDelay = std::chrono::milliseconds(5);

}  // namespace

struct DispatchPool::State {
  asio::io_context context;
  asio::executor_work_guard<asio::io_context::executor_type> guard{context.get_executor()};
  std::atomic<std::size_t> waiting{0};
  std::atomic<std::size_t> busy{0};
  std::atomic<std::size_t> threads{0};
  std::atomic<bool> starvationCheckArmed{false};
  Mutex mutex;
};

DispatchPool& DispatchPool::shared() {
  static NoDestructor<DispatchPool> pool;
  return *pool;
}

DispatchPool::DispatchPool() : _state(std::make_unique<State>()) {
  const std::size_t initial = std::max<std::size_t>(4, std::thread::hardware_concurrency());
  for (std::size_t i = 0; i < initial; ++i)
    startWorker();
}

DispatchPool::~DispatchPool() = default;

std::size_t DispatchPool::threadCount() const {
  return _state->threads.load();
}

void DispatchPool::startWorker() {
  MutexLock lock(_state->mutex);
  if (_state->threads.load() >= kMaximumThreads) return;
  const std::size_t number = _state->threads.fetch_add(1);
  std::thread worker([state = _state.get(), number] {
    const std::string name = "zu.worker." + std::to_string(number);
    pthread_setname_np(pthread_self(), name.c_str());
    state->context.run();
  });
  worker.detach();
}

void DispatchPool::post(std::function<void()> job) {
  _state->waiting.fetch_add(1);
  asio::post(_state->context, [state = _state.get(), job = std::move(job)] {
    state->waiting.fetch_sub(1);
    state->busy.fetch_add(1);
    job();
    state->busy.fetch_sub(1);
  });
  armStarvationCheck();
}

// While work waits, a check runs every few milliseconds and starts a worker when every worker
// is busy: blocked workers (a semaphore, a synchronous wait) must not starve the rest.
void DispatchPool::armStarvationCheck() {
  if (_state->starvationCheckArmed.exchange(true)) return;
  DispatchTimerThread::shared().runAt(std::chrono::steady_clock::now() + kStarvationDelay,
                                      [this] { checkStarvation(); });
}

void DispatchPool::checkStarvation() {
  if (_state->waiting.load() > 0) {
    if (_state->busy.load() >= _state->threads.load()) startWorker();
    DispatchTimerThread::shared().runAt(std::chrono::steady_clock::now() + kStarvationDelay,
                                        [this] { checkStarvation(); });
    return;
  }
  _state->starvationCheckArmed.store(false);
  // Work posted while the flag was still set would otherwise go unwatched.
  if (_state->waiting.load() > 0) armStarvationCheck();
}

}  // namespace zu
