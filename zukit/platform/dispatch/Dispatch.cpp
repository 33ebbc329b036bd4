#include "zukit/platform/dispatch/Dispatch.h"

#include "zukit/platform/dispatch/ConcurrentDispatchQueue.h"
#include "zukit/platform/dispatch/DispatchClock.h"
#include "zukit/platform/dispatch/DispatchPool.h"
#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/dispatch/SerialDispatchQueue.h"
#include "zukit/platform/foundation/NoDestructor.h"

namespace zu {

namespace {

dispatch_queue_t makeGlobalQueue(const char* label) {
  return std::make_shared<ConcurrentDispatchQueue>(label, DispatchPool::shared());
}

}  // namespace

dispatch_queue_t dispatch_get_main_queue() {
  static NoDestructor<dispatch_queue_t> mainQueue(
      std::make_shared<SerialDispatchQueue>("zu.main-thread", RunLoop::main(), false));
  return *mainQueue;
}

dispatch_queue_t dispatch_get_global_queue(long priority, unsigned long /*flags*/) {
  static NoDestructor<dispatch_queue_t> high(makeGlobalQueue("zu.root.high-priority"));
  static NoDestructor<dispatch_queue_t> normal(makeGlobalQueue("zu.root.default-priority"));
  static NoDestructor<dispatch_queue_t> background(makeGlobalQueue("zu.root.background-priority"));
  if (priority > 0) return *high;
  if (priority < 0) return *background;
  return *normal;
}

dispatch_queue_t dispatch_queue_create(const char* label, dispatch_queue_attr_t attribute) {
  std::string name = label != nullptr ? label : "";
  if (attribute == DISPATCH_QUEUE_CONCURRENT) {
    return std::make_shared<ConcurrentDispatchQueue>(std::move(name), DispatchPool::shared());
  }
  return std::make_shared<SerialDispatchQueue>(std::move(name), DispatchPool::shared());
}

const char* dispatch_queue_get_label(const dispatch_queue_t& queue) {
  return queue ? queue->label() : "";
}

const char* dispatch_queue_get_label(std::nullptr_t /*current*/) {
  const DispatchQueue* queue = DispatchQueue::current();
  return queue != nullptr ? queue->label() : "";
}

void dispatch_async(const dispatch_queue_t& queue, dispatch_block_t block) {
  if (queue) queue->async(std::move(block));
}

void dispatch_sync(const dispatch_queue_t& queue, dispatch_block_t block) {
  if (queue) queue->sync(std::move(block));
}

void dispatch_after(dispatch_time_t when, const dispatch_queue_t& queue, dispatch_block_t block) {
  if (!queue || when == DISPATCH_TIME_FOREVER) return;
  const dispatch_time_t deadline = when == DISPATCH_TIME_NOW ? DispatchClock::now() : when;
  DispatchClock::schedule(
      deadline, [queue, block = std::move(block)]() mutable { queue->async(std::move(block)); });
}

void dispatch_queue_set_specific(const dispatch_queue_t& queue, const void* key, void* context,
                                 dispatch_function_t destructor) {
  if (queue && key != nullptr) queue->setSpecific(key, context, destructor);
}

void* dispatch_queue_get_specific(const dispatch_queue_t& queue, const void* key) {
  return queue && key != nullptr ? queue->getSpecific(key) : nullptr;
}

void* dispatch_get_specific(const void* key) {
  DispatchQueue* queue = DispatchQueue::current();
  return queue != nullptr && key != nullptr ? queue->getSpecific(key) : nullptr;
}

void dispatch_once(dispatch_once_t* predicate, const dispatch_block_t& block) {
  if (predicate == nullptr) return;
  std::call_once(*predicate, [&block] {
    if (block) block();
  });
}

}  // namespace zu
