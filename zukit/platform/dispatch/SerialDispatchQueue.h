#pragma once

// Internal to libzukit (not installed, not exported): a queue kind behind dispatch_queue_create().

#include <atomic>
#include <deque>

#include "zukit/platform/dispatch/DispatchExecutor.h"
#include "zukit/platform/dispatch/DispatchQueue.h"

namespace zu {

// A serial queue: blocks run one at a time, in submission order, on its executor (the worker
// pool, or the main run loop for the main queue). The queue asks its executor for a turn only
// when it goes from empty to non-empty, and gives the turn back once drained. A queue on the
// pool lingers a few microseconds before giving its turn back, so that a producer submitting
// block after block does not pay a thread wake-up for each one.
class SerialDispatchQueue final : public DispatchQueue {
 public:
  // A queue labelled `label` whose blocks run on `executor`, which must outlive the queue;
  // `lingers` lets a drained turn wait briefly for more blocks (not for the main run loop).
  SerialDispatchQueue(std::string label, DispatchExecutor& executor, bool lingers = true);
  // A queue labelled `label` whose blocks run on `executor`, which the queue keeps alive.
  SerialDispatchQueue(std::string label, std::shared_ptr<DispatchExecutor> executor, bool lingers);

  bool isSerial() const override { return true; }
  void async(dispatch_block_t block) override;
  void sync(dispatch_block_t block) override;

 private:
  // Blocks run per turn before the queue yields its thread to other work.
  static constexpr int kBlocksPerTurn = 64;

  void drain();
  bool takeNext(dispatch_block_t& block);
  bool lingerForWork() const;

  const std::shared_ptr<DispatchExecutor> _ownedExecutor;
  DispatchExecutor& _executor;
  const bool _lingers;
  std::atomic<std::size_t> _pendingCount{0};
  Mutex _mutex;
  std::deque<dispatch_block_t> _pending ZU_GUARDED_BY(_mutex);
  bool _scheduled ZU_GUARDED_BY(_mutex) = false;
};

}  // namespace zu
