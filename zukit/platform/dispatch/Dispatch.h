#pragma once

// The dispatch vocabulary of the platform, on the worker pool and run loops of this layer:
// queues, queue-specific values, once-guards, delayed submission, semaphores and timer sources.

#include <cstdint>
#include <mutex>

#include "zukit/platform/dispatch/DispatchQueue.h"
#include "zukit/platform/dispatch/DispatchSemaphore.h"
#include "zukit/platform/dispatch/DispatchSource.h"
#include "zukit/platform/dispatch/DispatchTime.h"
#include "zukit/platform/foundation/Export.h"

namespace zu {

// Attributes of a created queue.
enum class DispatchQueueAttribute : std::uint8_t { Serial, Concurrent };
using dispatch_queue_attr_t = DispatchQueueAttribute;
inline constexpr dispatch_queue_attr_t DISPATCH_QUEUE_SERIAL = DispatchQueueAttribute::Serial;
inline constexpr dispatch_queue_attr_t DISPATCH_QUEUE_CONCURRENT =
    DispatchQueueAttribute::Concurrent;

// Priorities of the global concurrent queues.
inline constexpr long DISPATCH_QUEUE_PRIORITY_HIGH = 2;
inline constexpr long DISPATCH_QUEUE_PRIORITY_DEFAULT = 0;
inline constexpr long DISPATCH_QUEUE_PRIORITY_BACKGROUND = -2;

// Passed to dispatch_queue_get_label() for the label of the running queue.
inline constexpr std::nullptr_t DISPATCH_CURRENT_QUEUE_LABEL = nullptr;

// The run-exactly-once guard.
using dispatch_once_t = std::once_flag;

// The main queue: a serial queue served by the main run loop on the main thread.
ZU_EXPORT dispatch_queue_t dispatch_get_main_queue();
// A global concurrent queue: high for priorities above 0, background below 0, default at 0.
// The flags are reserved.
ZU_EXPORT dispatch_queue_t dispatch_get_global_queue(long priority, unsigned long flags);
// A new serial or concurrent queue on the worker pool. A null label gives the empty label.
ZU_EXPORT dispatch_queue_t dispatch_queue_create(const char* label,
                                                 dispatch_queue_attr_t attribute);
// The queue's label; "" for a missing queue.
ZU_EXPORT const char* dispatch_queue_get_label(const dispatch_queue_t& queue);
// With DISPATCH_CURRENT_QUEUE_LABEL: the running queue's label ("" outside any queue).
ZU_EXPORT const char* dispatch_queue_get_label(std::nullptr_t current);

// Submits `block` to `queue` and returns at once.
ZU_EXPORT void dispatch_async(const dispatch_queue_t& queue, dispatch_block_t block);
// Submits `block` to `queue` and waits until it has run.
ZU_EXPORT void dispatch_sync(const dispatch_queue_t& queue, dispatch_block_t block);
// Submits `block` to `queue` when the dispatch clock reaches `when` (DispatchClock.h);
// DISPATCH_TIME_FOREVER never submits it.
ZU_EXPORT void dispatch_after(dispatch_time_t when, const dispatch_queue_t& queue,
                              dispatch_block_t block);

// Stores `context` under `key` on `queue` (null removes it), with an optional destructor.
ZU_EXPORT void dispatch_queue_set_specific(const dispatch_queue_t& queue, const void* key,
                                           void* context, dispatch_function_t destructor);
// The context under `key` on `queue`, or nullptr.
ZU_EXPORT void* dispatch_queue_get_specific(const dispatch_queue_t& queue, const void* key);
// The context under `key` on the running queue, or nullptr outside any queue.
ZU_EXPORT void* dispatch_get_specific(const void* key);

// Runs `block` exactly once per guard, whatever the number of racing callers; the others wait
// until it has finished.
ZU_EXPORT void dispatch_once(dispatch_once_t* predicate, const dispatch_block_t& block);

}  // namespace zu
