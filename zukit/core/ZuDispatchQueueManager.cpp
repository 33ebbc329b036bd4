#include "zukit/core/ZuDispatchQueueManager.h"

#include "zukit/core/ZuConstants.h"
#include "zukit/core/ZuSerialQueue.h"
#include "zukit/platform/foundation/NoDestructor.h"

zu::dispatch_queue_t getSerialQueue(void* tag) {
  static zu::NoDestructor<zu::dispatch_queue_t> serialQueue;
  static zu::dispatch_once_t onceToken;
  zu::dispatch_once(&onceToken, [tag] {
    // The one-shot rule: only a first call with the exported tag creates the queue.
    if (tag != QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD) return;
    *serialQueue = zu::dispatch_queue_create(QUEUE_NAME_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD,
                                             zu::DISPATCH_QUEUE_SERIAL);
    zu::dispatch_queue_set_specific(*serialQueue, QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD,
                                    &QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD, nullptr);
  });
  return *serialQueue;
}

void ZuDispatchQueueManager::dispatchInMainThread(const zu::dispatch_block_t& block, bool async) {
  if (!block) return;
  const char* running = zu::dispatch_queue_get_label(zu::DISPATCH_CURRENT_QUEUE_LABEL);
  const char* main = zu::dispatch_queue_get_label(zu::dispatch_get_main_queue());
  // Labels are compared as pointers: the same queue, not equal text.
  if (running == main) {
    block();
    return;
  }
  if (async) {
    zu::dispatch_async(zu::dispatch_get_main_queue(), block);
  } else {
    zu::dispatch_sync(zu::dispatch_get_main_queue(), block);
  }
}

void ZuDispatchQueueManager::dispatchInSerialQueue(void* tag, const zu::dispatch_block_t& block) {
  if (!block) return;
  if (zu::dispatch_get_specific(tag) != nullptr) {
    block();
    return;
  }
  zu::dispatch_async(getSerialQueue(tag), block);
}
