#include "zukit/platform/dispatch/SerialDispatchQueue.h"

#include <condition_variable>

namespace zu {

SerialDispatchQueue::SerialDispatchQueue(std::string label, DispatchExecutor& executor)
    : DispatchQueue(std::move(label)), _executor(executor) {}

void SerialDispatchQueue::async(dispatch_block_t block) {
  bool schedule = false;
  {
    MutexLock lock(_mutex);
    _pending.push_back(std::move(block));
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
  for (int ran = 0; ran < kBlocksPerTurn; ++ran) {
    dispatch_block_t block;
    {
      MutexLock lock(_mutex);
      if (_pending.empty()) {
        _scheduled = false;
        return;
      }
      block = std::move(_pending.front());
      _pending.pop_front();
    }
    runBlock(block);
  }
  {
    MutexLock lock(_mutex);
    if (_pending.empty()) {
      _scheduled = false;
      return;
    }
  }
  auto self = std::static_pointer_cast<SerialDispatchQueue>(shared_from_this());
  _executor.post([self = std::move(self)] { self->drain(); });
}

}  // namespace zu
