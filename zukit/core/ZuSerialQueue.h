#pragma once

// Internal to libzukit (not installed, not exported): the queue behind
// ZuDispatchQueueManager::dispatchInSerialQueue().

#include "zukit/platform/dispatch/Dispatch.h"

// The private serial queue, created once per process by the first call if its tag is
// QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD (with that tag as queue-specific key);
// none if the first call passed another tag. Hosts cannot reach it by name: a host function
// called getSerialQueue is the host's own and never replaces this one.
zu::dispatch_queue_t getSerialQueue(void* tag);
