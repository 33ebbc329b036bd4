#pragma once

#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/runtime/Object.h"
#include "zukit/platform/runtime/RuntimeClass.h"

// Runs blocks on the main queue or on the library's private serial queue, inline when the
// caller is already there. A public service for SDKs; nothing in the library calls it.
class ZU_EXPORT ZuDispatchQueueManager : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(ZuDispatchQueueManager, zu::Object)
  // Runs `block` on the main queue. Called on the main queue it runs at once, whatever `async`
  // says; otherwise `async` submits and returns at once, and !async waits until it has run.
  // An empty block is ignored.
  static void dispatchInMainThread(const zu::dispatch_block_t& block, bool async);
  // Runs `block` on the private serial queue "cn.com.Zu.asyncTask". Called from a block of that
  // queue it runs at once, nested, ahead of queued blocks; otherwise it is submitted
  // asynchronously. Pass QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD as `tag`: the queue
  // is created by the first call only if that call passes this tag, and never afterwards.
  // An empty block is ignored.
  static void dispatchInSerialQueue(void* tag, const zu::dispatch_block_t& block);
};
