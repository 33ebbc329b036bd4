// ZuTimer: ticks against the manual dispatch clock, the weak target and the weak source, fire and
// invalidate, the refusal of plain init, and one run in real time.

#include <atomic>
#include <chrono>
#include <cmath>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/MainLoop.h"
#include "zukit/core/ZuTimer.h"
#include "zukit/platform/dispatch/DispatchClock.h"
#include "zukit/platform/dispatch/ManualClock.h"
#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/foundation/NSException.h"

namespace {

using namespace std::chrono_literals;

// A target that records each action it is sent: the argument and whether it ran on the main
// thread. It can be told to invalidate the timer from inside its action.
class TickTarget : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(TickTarget, zu::Object, &addMethods)

  static zu::SEL tick() { return zu::sel_registerName("tick:"); }

  std::atomic<int> ticks{0};
  // The timers the actions were given (identities only: holding them would keep them alive).
  std::vector<const zu::Object*> arguments;
  std::atomic<bool> allOnMainThread{true};
  bool invalidateFromAction = false;

 private:
  static void addMethods(zu::Class* cls) {
    zu::class_addMethod(cls, tick(), zu::imp(&tickImplementation));
  }
  static void tickImplementation(zu::Object* self, zu::SEL /*selector*/, const zu::Value& timer) {
    auto* target = static_cast<TickTarget*>(self);
    if (zu::RunLoop::isMainThread()) target->arguments.push_back(timer.asObject().get());
    if (!zu::RunLoop::isMainThread()) target->allOnMainThread.store(false);
    target->ticks.fetch_add(1);
    if (target->invalidateFromAction) {
      if (auto owner = timer.asObject<ZuTimer>()) owner->invalidate();
    }
  }
};

TEST(ZuTimer, AOneShotTimerActsOnceAfterItsIntervalWithItselfAsArgument) {
  const zu::ManualClock clock;
  const std::size_t baseline = zu::DispatchClock::pendingJobCount();
  const auto target = std::make_shared<TickTarget>();
  const auto timer = ZuTimer::timerWithTimeInterval(1.0, target, TickTarget::tick(), false);
  EXPECT_TRUE(timer->isValid());
  EXPECT_FALSE(timer->repeats());
  EXPECT_DOUBLE_EQ(timer->timeInterval(), 1.0);

  clock.advance(999ms);
  EXPECT_EQ(target->ticks, 0) << "the first action comes one interval after creation";
  clock.advance(1ms);
  EXPECT_EQ(target->ticks, 1);
  ASSERT_EQ(target->arguments.size(), 1U);
  EXPECT_EQ(target->arguments[0], timer.get()) << "the timer is the argument";
  EXPECT_TRUE(target->allOnMainThread);
  EXPECT_FALSE(timer->isValid()) << "a one-shot timer ends after its first action";

  clock.advance(10s);
  EXPECT_EQ(target->ticks, 1) << "the source ticks on, but the timer is over";
  EXPECT_EQ(zu::DispatchClock::pendingJobCount(), baseline) << "its source was cancelled";
}

TEST(ZuTimer, ARepeatingTimerWhoseTargetIsReleasedStopsAtItsNextTick) {
  const zu::ManualClock clock;
  auto target = std::make_shared<TickTarget>();
  const std::weak_ptr<TickTarget> watched = target;
  const auto timer = ZuTimer::timerWithTimeInterval(0.5, target, TickTarget::tick(), true);
  EXPECT_TRUE(timer->repeats());
  clock.advance(1500ms);
  EXPECT_EQ(target->ticks, 3);
  EXPECT_TRUE(timer->isValid());

  target.reset();
  EXPECT_TRUE(watched.expired()) << "the timer does not keep its target alive";
  EXPECT_TRUE(timer->isValid()) << "nothing happens before the next tick";
  clock.advance(500ms);
  EXPECT_FALSE(timer->isValid());
}

TEST(ZuTimer, FireActsAtOnceSoTheScheduledTickOfAOneShotTimerNeverActs) {
  const zu::ManualClock clock;
  const auto target = std::make_shared<TickTarget>();
  const auto timer = ZuTimer::timerWithTimeInterval(1.0, target, TickTarget::tick(), false);
  timer->fire();
  EXPECT_EQ(target->ticks, 1);
  EXPECT_FALSE(timer->isValid());
  clock.advance(3s);
  EXPECT_EQ(target->ticks, 1);

  // Invalidating again and firing an invalid timer do nothing.
  timer->invalidate();
  timer->invalidate();
  timer->fire();
  EXPECT_EQ(target->ticks, 1);
  EXPECT_FALSE(timer->isValid());

  // fire() on a repeating timer adds an action without disturbing the schedule.
  const auto repeating = ZuTimer::timerWithTimeInterval(1.0, target, TickTarget::tick(), true);
  repeating->fire();
  EXPECT_EQ(target->ticks, 2);
  clock.advance(1s);
  EXPECT_EQ(target->ticks, 3);
  EXPECT_TRUE(repeating->isValid());
}

TEST(ZuTimer, ReleasingTheTimerStopsItAndCancelsItsSource) {
  const zu::ManualClock clock;
  const std::size_t baseline = zu::DispatchClock::pendingJobCount();
  const auto target = std::make_shared<TickTarget>();
  auto timer = ZuTimer::timerWithTimeInterval(1.0, target, TickTarget::tick(), true);
  const std::weak_ptr<ZuTimer> watched = timer;
  clock.advance(2s);
  EXPECT_EQ(target->ticks, 2);

  timer.reset();
  EXPECT_TRUE(watched.expired()) << "the source holds the timer only weakly";
  EXPECT_EQ(zu::DispatchClock::pendingJobCount(), baseline) << "teardown cancels the source";
  clock.advance(5s);
  EXPECT_EQ(target->ticks, 2);
}

TEST(ZuTimer, TheFireTimeSetsOnlyTheFirstTickAndTimeIntervalReportsTheRepeatInterval) {
  const zu::ManualClock clock;
  const auto target = std::make_shared<TickTarget>();
  const auto timer = ZuTimer::initWithFireTime(0.25, 2.0, target, TickTarget::tick(), true);
  EXPECT_DOUBLE_EQ(timer->timeInterval(), 2.0);
  clock.advance(250ms);
  EXPECT_EQ(target->ticks, 1);
  clock.advance(1999ms);
  EXPECT_EQ(target->ticks, 1);
  clock.advance(1ms);
  EXPECT_EQ(target->ticks, 2);

  // A zero or negative fire time ticks at once, without the clock moving (a deadline already
  // reached is served by the dispatch layer's timer thread); a missing target ends the timer at
  // that tick.
  const auto soon = std::make_shared<TickTarget>();
  const auto immediate = ZuTimer::initWithFireTime(-3, 60, soon, TickTarget::tick(), true);
  ASSERT_TRUE(zukit::test::pumpMainUntil([&soon] { return soon->ticks.load() == 1; }));
  EXPECT_TRUE(immediate->isValid());
  const auto orphan = ZuTimer::initWithFireTime(0, 60, nullptr, TickTarget::tick(), true);
  ASSERT_TRUE(zukit::test::pumpMainUntil([&orphan] { return !orphan->isValid(); }));
  // The ticks keep to the schedule of the fire time: the next one is an interval after it, 57
  // seconds from now.
  clock.advance(56s);
  EXPECT_EQ(soon->ticks, 1);
  clock.advance(1s);
  EXPECT_EQ(soon->ticks, 2);

  // Nonsense intervals neither crash nor stop the clock: a negative or NaN interval ticks at the
  // source's shortest interval.
  const auto hurried = std::make_shared<TickTarget>();
  const auto negative = ZuTimer::initWithFireTime(0.001, -1, hurried, TickTarget::tick(), true);
  const auto notANumber =
      ZuTimer::initWithFireTime(0.001, std::nan(""), hurried, TickTarget::tick(), true);
  clock.advance(10ms);
  EXPECT_GE(hurried->ticks, 2);
}

TEST(ZuTimer, AnActionMayInvalidateItsOwnTimer) {
  const zu::ManualClock clock;
  const auto target = std::make_shared<TickTarget>();
  target->invalidateFromAction = true;
  const auto timer = ZuTimer::timerWithTimeInterval(1.0, target, TickTarget::tick(), true);
  clock.advance(1s);
  EXPECT_EQ(target->ticks, 1);
  EXPECT_FALSE(timer->isValid());
  clock.advance(3s);
  EXPECT_EQ(target->ticks, 1);
}

TEST(ZuTimer, PlainInitRaisesTheNamedExceptionWithoutUserInformation) {
  const auto expectRefusal = [](const auto& construct) {
    try {
      construct();
      ADD_FAILURE() << "plain init returned";
    } catch (const zu::NSException& exception) {
      EXPECT_EQ(exception.name(), "ZuTimer init error");
      EXPECT_EQ(exception.reason(), "Use the designated initializer to init.");
      EXPECT_TRUE(exception.userInfo().isAbsent());
    }
  };
  expectRefusal([] { ZuTimer::init(); });
  expectRefusal([] { std::make_shared<ZuTimer>(); });
}

TEST(ZuTimer, DirectFiresFromAnotherThreadRaceSafelyWithTicksAndInvalidation) {
  const auto target = std::make_shared<TickTarget>();
  const auto timer = ZuTimer::timerWithTimeInterval(0.001, target, TickTarget::tick(), true);
  std::atomic<bool> stop{false};
  std::thread firing([&timer, &stop] {
    while (!stop.load())
      timer->fire();
  });
  ASSERT_TRUE(zukit::test::pumpMainUntil([&target] { return target->ticks.load() > 200; }));
  timer->invalidate();
  stop.store(true);
  firing.join();
  EXPECT_FALSE(timer->isValid());
  const int settled = target->ticks.load();
  timer->fire();
  zu::RunLoop::main().runFor(20ms);
  EXPECT_EQ(target->ticks.load(), settled);
}

TEST(ZuTimer, TicksInRealTimeOnTheMainThread) {
  const auto target = std::make_shared<TickTarget>();
  const auto started = std::chrono::steady_clock::now();
  const auto timer = ZuTimer::timerWithTimeInterval(0.02, target, TickTarget::tick(), true);
  ASSERT_TRUE(zukit::test::pumpMainUntil([&target] { return target->ticks.load() >= 3; }));
  EXPECT_GE(std::chrono::steady_clock::now() - started, 60ms);
  EXPECT_TRUE(target->allOnMainThread);
  timer->invalidate();
}

}  // namespace
