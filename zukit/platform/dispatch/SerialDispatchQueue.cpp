#include "zukit/platform/dispatch/SerialDispatchQueue.h"

#include <chrono>
#include <condition_variable>
#include <thread>

namespace zu {

namespace {

// How long a drained turn waits for more blocks before giving its thread back.
constexpr auto kLinger = std::chrono::microseconds(50);

}  // namespace

SerialDispatchQueue::SerialDispatchQueue(std::string label, DispatchExecutor& executor,
                                         bool lingers)
    : DispatchQueue(std::move(label)), _executor(executor), _lingers(lingers) {}

SerialDispatchQueue::SerialDispatchQueue(std::string label,
                                         std::shared_ptr<DispatchExecutor> executor, bool lingers)
    : DispatchQueue(std::move(label)),
      _ownedExecutor(std::move(executor)),
      _executor(*_ownedExecutor),
      _lingers(lingers) {}

void SerialDispatchQueue::async(dispatch_block_t block) {
  bool schedule = false;
  {
    MutexLock lock(_mutex);
    _pending.push_back(std::move(block));
    _pendingCount.fetch_add(1, std::memory_order_release);
    schedule = !_scheduled;
    _scheduled = true;
  }
  if (schedule) {
    auto self = std::static_pointer_cast<SerialDispatchQueue>(shared_from_this());
    _executor.post([self = std::move(self)] { self->drain(); });
  }
}

void SerialDispatchQueue::sync(dispatch_block_t block) {
  if (current() == this) {
    runBlock(block);
    return;
  }
  Mutex doneMutex;
  std::condition_variable doneCondition;
  bool done = false;
  async([&] {
    runBlock(block);
    MutexLock lock(doneMutex);
    done = true;
    doneCondition.notify_all();
  });
  MutexLock lock(doneMutex);
  lock.wait(doneCondition, [&done] { return done; });
}

void SerialDispatchQueue::drain() {
  for (int ran = 0; ran < kBlocksPerTurn;) {
    dispatch_block_t block;
    if (takeNext(block)) {
      runBlock(block);
      ++ran;
      continue;
    }
    if (lingerForWork()) continue;
    MutexLock lock(_mutex);
    if (_pending.empty()) {
      _scheduled = false;
      return;
    }
  }
  // Give other work a turn; this queue is still scheduled and comes back behind it.
  auto self = std::static_pointer_cast<SerialDispatchQueue>(shared_from_this());
  _executor.post([self = std::move(self)] { self->drain(); });
}

bool SerialDispatchQueue::takeNext(dispatch_block_t& block) {
  MutexLock lock(_mutex);
  if (_pending.empty()) return false;
  block = std::move(_pending.front());
  _pending.pop_front();
  _pendingCount.fetch_sub(1, std::memory_order_relaxed);
  return true;
}

bool SerialDispatchQueue::lingerForWork() const {
  if (!_lingers) return false;
  const auto deadline = std::chrono::steady_clock::now() + kLinger;
  while (std::chrono::steady_clock::now() < deadline) {
    if (_pendingCount.load(std::memory_order_acquire) > 0) return true;
    std::this_thread::yield();
  }
  return false;
}

}  // namespace zu
