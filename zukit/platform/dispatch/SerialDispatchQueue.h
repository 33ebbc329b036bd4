#pragma once

#include <deque>

#include "zukit/platform/dispatch/DispatchExecutor.h"
#include "zukit/platform/dispatch/DispatchQueue.h"

namespace zu {

// A serial queue: blocks run one at a time, in submission order, on its executor (the worker
// pool, or the main run loop for the main queue). The queue asks its executor for a turn only
// when it goes from empty to non-empty, and gives the turn back once drained.
class SerialDispatchQueue final : public DispatchQueue {
 public:
  // A queue labelled `label` whose blocks run on `executor`, which must outlive the queue.
  SerialDispatchQueue(std::string label, DispatchExecutor& executor);

  bool isSerial() const override { return true; }
  void async(dispatch_block_t block) override;
  void sync(dispatch_block_t block) override;

 private:
  // Blocks run per turn before the queue yields its thread to other work.
  static constexpr int kBlocksPerTurn = 64;

  void drain();

  DispatchExecutor& _executor;
  Mutex _mutex;
  std::deque<dispatch_block_t> _pending ZU_GUARDED_BY(_mutex);
  bool _scheduled ZU_GUARDED_BY(_mutex) = false;
};

}  // namespace zu
