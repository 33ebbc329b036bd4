#include "zukit/core/ZuTimer.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include "zukit/platform/foundation/NSException.h"
#include "zukit/platform/runtime/MessageSend.h"

namespace {

// Seconds as signed nanoseconds, truncated; out-of-range values saturate and NaN counts as 0,
// where a plain conversion would be undefined.
std::int64_t signedNanoseconds(double seconds) {
  const double nanoseconds = seconds * 1e9;
  if (std::isnan(nanoseconds)) return 0;
  if (nanoseconds >= 9.2e18) return std::numeric_limits<std::int64_t>::max();
  if (nanoseconds <= -9.2e18) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(nanoseconds);
}

// Seconds as unsigned nanoseconds, truncated; negative values and NaN count as 0 (the source
// then ticks at its shortest interval) and values out of range saturate.
std::uint64_t unsignedNanoseconds(double seconds) {
  const double nanoseconds = seconds * 1e9;
  if (std::isnan(nanoseconds) || nanoseconds <= 0) return 0;
  if (nanoseconds >= 1.8e19) return std::numeric_limits<std::uint64_t>::max() - 1;
  return static_cast<std::uint64_t>(nanoseconds);
}

}  // namespace

class ZuTimer::Locker {
 public:
  explicit Locker(const zu::dispatch_semaphore_t& lock) : _lock(lock) {
    zu::dispatch_semaphore_wait(_lock, zu::DISPATCH_TIME_FOREVER);
  }
  ~Locker() { zu::dispatch_semaphore_signal(_lock); }
  Locker(const Locker&) = delete;
  Locker& operator=(const Locker&) = delete;

 private:
  const zu::dispatch_semaphore_t& _lock;
};

std::shared_ptr<ZuTimer> ZuTimer::timerWithTimeInterval(double interval, const zu::id& target,
                                                        zu::SEL selector, bool repeats) {
  return initWithFireTime(interval, interval, target, selector, repeats);
}

std::shared_ptr<ZuTimer> ZuTimer::initWithFireTime(double fireTime, double interval,
                                                   const zu::id& target, zu::SEL selector,
                                                   bool repeats) {
  auto timer = std::make_shared<ZuTimer>(Passkey(), interval, target, selector, repeats);
  timer->start(fireTime);
  return timer;
}

std::shared_ptr<ZuTimer> ZuTimer::init() {
  zu::NSException::raise("ZuTimer init error", "Use the designated initializer to init.");
}

ZuTimer::ZuTimer() : _timeInterval(0), _repeats(false), _selector(nullptr) {
  init();
}

ZuTimer::ZuTimer(Passkey /*unused*/, double interval, const zu::id& target, zu::SEL selector,
                 bool repeats)
    : _timeInterval(interval),
      _repeats(repeats),
      _target(target),
      _selector(selector),
      _lock(zu::dispatch_semaphore_create(1)) {}

ZuTimer::~ZuTimer() {
  invalidate();
}

void ZuTimer::start(double fireTime) {
  const zu::dispatch_source_t source = zu::dispatch_source_create(zu::DISPATCH_SOURCE_TYPE_TIMER, 0,
                                                                  0, zu::dispatch_get_main_queue());
  // Every interval, even for a timer that does not repeat: its first tick ends it (see fire()).
  zu::dispatch_source_set_timer(
      source, zu::dispatch_time(zu::DISPATCH_TIME_NOW, signedNanoseconds(fireTime)),
      unsignedNanoseconds(_timeInterval), 0);
  // The handler holds the timer weakly: the source must not keep it alive.
  const std::weak_ptr<ZuTimer> weakTimer = std::static_pointer_cast<ZuTimer>(shared_from_this());
  zu::dispatch_source_set_event_handler(source, [weakTimer] {
    if (const std::shared_ptr<ZuTimer> timer = weakTimer.lock()) timer->fire();
  });
  {
    const Locker locker(_lock);
    _source = source;
  }
  zu::dispatch_resume(source);
}

void ZuTimer::fire() {
  // The one unlocked read: a timer invalidated meanwhile is caught below by the target read,
  // which invalidation clears under the lock.
  if (!_valid.load(std::memory_order_acquire)) return;
  zu::id target;
  {
    const Locker locker(_lock);
    target = _target.lock();
  }
  if (target) {
    zu::performSelector(target, _selector, zu::Value(shared_from_this()));
    if (_repeats) return;
  }
  invalidate();
}

void ZuTimer::invalidate() {
  const Locker locker(_lock);
  if (!_valid.load(std::memory_order_relaxed)) return;
  zu::dispatch_source_cancel(_source);
  _source = nullptr;
  _target.reset();
  _valid.store(false, std::memory_order_release);
}

bool ZuTimer::isValid() const {
  const Locker locker(_lock);
  return _valid.load(std::memory_order_relaxed);
}

bool ZuTimer::repeats() const {
  const Locker locker(_lock);
  return _repeats;
}

double ZuTimer::timeInterval() const {
  const Locker locker(_lock);
  return _timeInterval;
}
