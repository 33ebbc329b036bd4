#include "zukit/platform/dispatch/DispatchSource.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "zukit/platform/dispatch/DispatchClock.h"

namespace zu {

namespace {

constexpr std::uint64_t kMinimumInterval = NSEC_PER_MSEC;

std::uint64_t nowNanoseconds() {
  return DispatchClock::now();
}

}  // namespace

DispatchSource::DispatchSource(dispatch_queue_t queue) : _queue(std::move(queue)) {}

DispatchSource::~DispatchSource() = default;

void DispatchSource::setTimer(dispatch_time_t start, std::uint64_t interval,
                              std::uint64_t /*leeway*/) {
  std::uint64_t replaced = 0;
  {
    MutexLock lock(_mutex);
    if (_cancelled) return;
    _start = start == DISPATCH_TIME_NOW ? nowNanoseconds() : start;
    _interval = interval == DISPATCH_TIME_FOREVER ? interval : std::max(interval, kMinimumInterval);
    _nextDeadline = _start;
    if (_suspendCount == 0) replaced = armLocked();
  }
  DispatchClock::cancel(replaced);
}

void DispatchSource::setEventHandler(dispatch_block_t handler) {
  MutexLock lock(_mutex);
  _eventHandler = std::move(handler);
}

void DispatchSource::setCancelHandler(dispatch_block_t handler) {
  MutexLock lock(_mutex);
  _cancelHandler = std::move(handler);
}

void DispatchSource::resume() {
  std::uint64_t replaced = 0;
  {
    MutexLock lock(_mutex);
    if (_cancelled || _suspendCount == 0) return;
    if (--_suspendCount > 0) return;
    replaced = armLocked();
    if (_pendingFires > 0) queueDeliveryLocked();
  }
  DispatchClock::cancel(replaced);
}

void DispatchSource::suspend() {
  MutexLock lock(_mutex);
  if (_cancelled) return;
  ++_suspendCount;
}

void DispatchSource::cancel() {
  dispatch_block_t cancelHandler;
  std::uint64_t scheduled = 0;
  {
    MutexLock lock(_mutex);
    if (_cancelled) return;
    _cancelled = true;
    ++_generation;
    cancelHandler = std::move(_cancelHandler);
    _eventHandler = nullptr;
    scheduled = std::exchange(_ticket, 0);
  }
  // Keeps the source alive while the scheduled job, which may hold its last reference, goes.
  const auto self = shared_from_this();
  DispatchClock::cancel(scheduled);
  if (cancelHandler) _queue->async(std::move(cancelHandler));
}

bool DispatchSource::isCancelled() const {
  MutexLock lock(_mutex);
  return _cancelled;
}

unsigned long DispatchSource::data() const {
  MutexLock lock(_mutex);
  return _deliveredFires;
}

std::uint64_t DispatchSource::armLocked() {
  const std::uint64_t replaced = std::exchange(_ticket, 0);
  if (_nextDeadline == DISPATCH_TIME_FOREVER) return replaced;
  const std::uint64_t generation = ++_generation;
  auto self = std::static_pointer_cast<DispatchSource>(shared_from_this());
  _ticket = DispatchClock::schedule(_nextDeadline, [self, generation] { self->fired(generation); });
  return replaced;
}

void DispatchSource::fired(std::uint64_t generation) {
  MutexLock lock(_mutex);
  if (_cancelled || generation != _generation) return;
  // This fire's job has started: its ticket names nothing to cancel any more.
  _ticket = 0;
  ++_pendingFires;
  if (_interval == DISPATCH_TIME_FOREVER) {
    _nextDeadline = DISPATCH_TIME_FOREVER;
  } else {
    const std::uint64_t now = nowNanoseconds();
    std::uint64_t next = _nextDeadline + _interval;
    if (next <= now) {
      // Missed fires are merged into this one, as the platform does.
      const std::uint64_t missed = (now - _nextDeadline) / _interval;
      _pendingFires += missed;
      next = _nextDeadline + (missed + 1) * _interval;
    }
    _nextDeadline = next;
    armLocked();
  }
  if (_suspendCount == 0) queueDeliveryLocked();
}

void DispatchSource::queueDeliveryLocked() {
  if (_deliveryQueued) return;
  _deliveryQueued = true;
  auto self = std::static_pointer_cast<DispatchSource>(shared_from_this());
  _queue->async([self] { self->deliver(); });
}

void DispatchSource::deliver() {
  dispatch_block_t handler;
  {
    MutexLock lock(_mutex);
    _deliveryQueued = false;
    if (_cancelled || _suspendCount > 0 || _pendingFires == 0) return;
    _deliveredFires = _pendingFires;
    _pendingFires = 0;
    handler = _eventHandler;
  }
  if (handler) handler();
}

dispatch_source_t dispatch_source_create(DispatchSourceType /*type*/, std::uintptr_t /*handle*/,
                                         unsigned long /*mask*/, const dispatch_queue_t& queue) {
  if (!queue) return nullptr;
  return std::make_shared<DispatchSource>(queue);
}

void dispatch_source_set_timer(const dispatch_source_t& source, dispatch_time_t start,
                               std::uint64_t interval, std::uint64_t leeway) {
  if (source) source->setTimer(start, interval, leeway);
}

void dispatch_source_set_event_handler(const dispatch_source_t& source, dispatch_block_t handler) {
  if (source) source->setEventHandler(std::move(handler));
}

void dispatch_source_set_cancel_handler(const dispatch_source_t& source, dispatch_block_t handler) {
  if (source) source->setCancelHandler(std::move(handler));
}

void dispatch_source_cancel(const dispatch_source_t& source) {
  if (source) source->cancel();
}

long dispatch_source_testcancel(const dispatch_source_t& source) {
  return source && source->isCancelled() ? 1 : 0;
}

unsigned long dispatch_source_get_data(const dispatch_source_t& source) {
  return source ? source->data() : 0;
}

void dispatch_resume(const dispatch_source_t& source) {
  if (source) source->resume();
}

void dispatch_suspend(const dispatch_source_t& source) {
  if (source) source->suspend();
}

}  // namespace zu
