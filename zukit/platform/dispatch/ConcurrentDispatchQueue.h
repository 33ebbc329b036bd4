#pragma once

// Internal to libzukit (not installed, not exported): a queue kind behind dispatch_queue_create().

#include "zukit/platform/dispatch/DispatchExecutor.h"
#include "zukit/platform/dispatch/DispatchQueue.h"

namespace zu {

// A concurrent queue: blocks start in submission order on the worker pool and may overlap.
// The global queues are concurrent queues.
class ConcurrentDispatchQueue final : public DispatchQueue {
 public:
  // A queue labelled `label` whose blocks run on `executor`, which must outlive the queue.
  ConcurrentDispatchQueue(std::string label, DispatchExecutor& executor);

  bool isSerial() const override { return false; }
  void async(dispatch_block_t block) override;
  // Runs the block on the calling thread, as this queue's work.
  void sync(dispatch_block_t block) override;

 private:
  DispatchExecutor& _executor;
};

}  // namespace zu
