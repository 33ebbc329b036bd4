#pragma once

#include <functional>
#include <memory>
#include <string>
#include <unordered_map>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/runtime/Object.h"

namespace zu {

// A block: a closure without arguments or result, copied when submitted.
using dispatch_block_t = std::function<void()>;
// A destructor for a queue-specific context.
using dispatch_function_t = void (*)(void*);

// A queue of blocks. Serial queues run one block at a time in submission order; concurrent
// queues start blocks in order and let them overlap. Each queue has a label whose pointer is
// stable for the queue's lifetime, and a table of queue-specific values.
class ZU_EXPORT DispatchQueue : public Object {
 public:
  ~DispatchQueue() override;

  // The label given at creation; the pointer stays the same for the queue's lifetime.
  const char* label() const { return _label.c_str(); }
  // True for a serial queue (the main queue included).
  virtual bool isSerial() const = 0;
  // Submits `block` and returns at once. Safe from any thread.
  virtual void async(dispatch_block_t block) = 0;
  // Submits `block` and returns after it has run. Called from the serial queue itself (or the
  // main queue from the main thread) the block runs inline instead of deadlocking.
  virtual void sync(dispatch_block_t block) = 0;

  // Stores `context` under `key`; a null context removes the entry. The previous context's
  // destructor, if any, runs.
  void setSpecific(const void* key, void* context, dispatch_function_t destructor);
  // The context stored under `key`, or nullptr.
  void* getSpecific(const void* key) const;

  // The queue whose block is running on the calling thread; on the main thread outside any
  // other queue's block, the main queue; otherwise nullptr.
  static DispatchQueue* current();
  // True while a block of some queue runs on the calling thread (the main queue's included).
  static bool isRunningBlock();

  std::string description() const override;

 protected:
  explicit DispatchQueue(std::string label);
  // Runs `block` as this queue's work: current() answers this queue meanwhile (restored after,
  // so nested inline runs work), and an escaping exception is reported instead of ending the
  // process.
  void runBlock(const dispatch_block_t& block);

 private:
  struct Specific {
    void* context = nullptr;
    dispatch_function_t destructor = nullptr;
  };

  const std::string _label;
  mutable Mutex _specificsMutex;
  std::unordered_map<const void*, Specific> _specifics ZU_GUARDED_BY(_specificsMutex);
};

// A strong reference to a queue.
using dispatch_queue_t = std::shared_ptr<DispatchQueue>;

}  // namespace zu
