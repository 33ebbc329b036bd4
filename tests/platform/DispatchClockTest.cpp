// The dispatch clock: real time by default, manual time that runs delayed work, timer sources and
// what they submit to the main queue only as it is advanced.

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/MainLoop.h"
#include "tests/support/StderrCapture.h"
#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/dispatch/DispatchClock.h"
#include "zukit/platform/dispatch/ManualClock.h"

namespace {

using namespace std::chrono_literals;
using zu::DispatchClock;

std::int64_t nanoseconds(std::chrono::nanoseconds duration) {
  return duration.count();
}

TEST(DispatchClock, RealTimeIsTheDefaultAndDelaysWaitInRealTime) {
  ASSERT_FALSE(DispatchClock::isManual());
  const auto started = std::chrono::steady_clock::now();
  const zu::dispatch_time_t before = DispatchClock::now();
  bool ran = false;
  zu::dispatch_after(zu::dispatch_time(zu::DISPATCH_TIME_NOW, nanoseconds(60ms)),
                     zu::dispatch_get_main_queue(), [&ran] { ran = true; });
  ASSERT_TRUE(zukit::test::pumpMainUntil([&ran] { return ran; }));
  EXPECT_GE(std::chrono::steady_clock::now() - started, 60ms);
  EXPECT_GE(DispatchClock::now() - before, static_cast<std::uint64_t>(nanoseconds(60ms)));
}

TEST(DispatchClock, ManualTimeRunsDelayedWorkWhenAdvancedInDeadlineOrder) {
  const zu::ManualClock clock;
  const zu::dispatch_time_t start = clock.now();
  std::vector<std::string> order;
  std::vector<zu::dispatch_time_t> times;
  const auto after = [&](std::chrono::milliseconds delay, std::string name) {
    zu::dispatch_after(zu::dispatch_time(start, nanoseconds(delay)), zu::dispatch_get_main_queue(),
                       [&, name = std::move(name)] {
                         order.push_back(name);
                         times.push_back(DispatchClock::now());
                       });
  };
  after(300ms, "c");
  after(100ms, "a1");
  after(200ms, "b");
  after(100ms, "a2");
  EXPECT_EQ(clock.now(), start) << "manual time stands still";

  clock.advance(99ms);
  EXPECT_TRUE(order.empty());
  clock.advance(1ms);
  EXPECT_EQ(order, (std::vector<std::string>{"a1", "a2"}));
  clock.advance(0.25s);
  EXPECT_EQ(order, (std::vector<std::string>{"a1", "a2", "b", "c"}));
  const auto at = [start](std::chrono::milliseconds delay) {
    return zu::dispatch_time(start, nanoseconds(delay));
  };
  EXPECT_EQ(times, (std::vector<zu::dispatch_time_t>{at(100ms), at(100ms), at(200ms), at(300ms)}))
      << "each job runs with the clock at its own deadline";
  EXPECT_EQ(clock.now(), at(350ms));
}

TEST(DispatchClock, TimerSourcesFireAsTheClockIsAdvanced) {
  const zu::ManualClock clock;
  const std::size_t baseline = DispatchClock::pendingJobCount();
  const auto timer = zu::dispatch_source_create(zu::DISPATCH_SOURCE_TYPE_TIMER, 0, 0,
                                                zu::dispatch_get_main_queue());
  std::vector<unsigned long> merged;
  zu::dispatch_source_set_timer(timer, zu::dispatch_time(zu::DISPATCH_TIME_NOW, nanoseconds(1s)),
                                static_cast<std::uint64_t>(nanoseconds(1s)), 0);
  zu::dispatch_source_set_event_handler(
      timer, [&merged, &timer] { merged.push_back(zu::dispatch_source_get_data(timer)); });
  zu::dispatch_resume(timer);
  clock.advance(999ms);
  EXPECT_TRUE(merged.empty());
  clock.advance(1ms);
  EXPECT_EQ(merged, std::vector<unsigned long>{1});
  clock.advance(2.5s);
  EXPECT_EQ(merged, (std::vector<unsigned long>{1, 1, 1}))
      << "each tick's handler runs before the next tick";

  // Suspended, ticks are counted and merged into one call at the resume.
  zu::dispatch_suspend(timer);
  clock.advance(2s);
  EXPECT_EQ(merged.size(), 3U);
  zu::dispatch_resume(timer);
  clock.advance(0s);
  EXPECT_EQ(merged.back(), 2UL);

  zu::dispatch_source_cancel(timer);
  clock.advance(5s);
  EXPECT_EQ(merged.size(), 4U);
  EXPECT_EQ(DispatchClock::pendingJobCount(), baseline) << "a cancelled timer leaves no job";

  // A source on a queue of the pool fires there.
  const auto queue = zu::dispatch_queue_create("test.clock.timer", zu::DISPATCH_QUEUE_SERIAL);
  const auto pooled = zu::dispatch_source_create(zu::DISPATCH_SOURCE_TYPE_TIMER, 0, 0, queue);
  std::atomic<int> fires{0};
  zu::dispatch_source_set_timer(pooled, zu::DISPATCH_TIME_NOW, zu::DISPATCH_TIME_FOREVER, 0);
  zu::dispatch_source_set_event_handler(pooled, [&fires] { fires.fetch_add(1); });
  zu::dispatch_resume(pooled);
  ASSERT_TRUE(zukit::test::waitUntil([&fires] { return fires.load() == 1; }))
      << "a start already reached fires without advancing";
  zu::dispatch_source_cancel(pooled);
}

TEST(DispatchClock, ReturningToRealTimeGoesOnFromTheManualTimeAndLosesNothing) {
  zu::dispatch_time_t shown = 0;
  bool late = false;
  bool farAway = false;
  zu::DispatchClock::Ticket farTicket = 0;
  {
    const zu::ManualClock clock;
    {
      const zu::ManualClock nested;
      nested.advance(10s);
    }
    EXPECT_TRUE(DispatchClock::isManual()) << "only the outermost scope returns to real time";
    shown = clock.now();
    zu::dispatch_after(zu::dispatch_time(zu::DISPATCH_TIME_NOW, nanoseconds(30ms)),
                       zu::dispatch_get_main_queue(), [&late] { late = true; });
    farTicket = DispatchClock::schedule(zu::dispatch_time(shown, nanoseconds(1h)),
                                        [&farAway] { farAway = true; });
  }
  EXPECT_FALSE(DispatchClock::isManual());
  EXPECT_GE(DispatchClock::now(), shown) << "the clock never goes back";
  ASSERT_TRUE(zukit::test::pumpMainUntil([&late] { return late; }))
      << "work scheduled in manual time runs in real time afterwards";
  EXPECT_TRUE(DispatchClock::cancel(farTicket));
  EXPECT_FALSE(DispatchClock::cancel(farTicket));
  EXPECT_FALSE(farAway);
}

TEST(DispatchClock, AdvanceOutsideManualTimeOrFromItsOwnJobIsRefusedWithAConsoleLine) {
  const zukit::test::StderrCapture console;
  const zu::dispatch_time_t before = DispatchClock::now();
  DispatchClock::advance(1h);
  EXPECT_LT(DispatchClock::now() - before, static_cast<std::uint64_t>(nanoseconds(1h)));
  EXPECT_NE(console.text().find("DispatchClock: advance() needs manual time"), std::string::npos);

  const zu::ManualClock clock;
  const zu::dispatch_time_t start = clock.now();
  clock.advance(-5s);
  EXPECT_EQ(clock.now(), start) << "a negative step stands still";
  DispatchClock::schedule(zu::dispatch_time(start, nanoseconds(1s)),
                          [] { DispatchClock::advance(1h); });
  clock.advance(2s);
  EXPECT_EQ(clock.now(), zu::dispatch_time(start, nanoseconds(2s)));
  EXPECT_NE(console.text().find("DispatchClock: advance() called from a job it runs; ignored"),
            std::string::npos);
  EXPECT_EQ(DispatchClock::schedule(zu::DISPATCH_TIME_FOREVER, [] {}), 0U);
}

TEST(DispatchClock, SemaphoreWaitsTimeOutInRealTimeUnderManualTime) {
  const zu::ManualClock clock;
  const auto semaphore = zu::dispatch_semaphore_create(0);
  const auto started = std::chrono::steady_clock::now();
  EXPECT_NE(zu::dispatch_semaphore_wait(
                semaphore, zu::dispatch_time(zu::DISPATCH_TIME_NOW, nanoseconds(40ms))),
            0);
  EXPECT_GE(std::chrono::steady_clock::now() - started, 40ms);
}

TEST(DispatchClock, JobsScheduledFromManyThreadsWhileAdvancingAllRunOnce) {
  const zu::ManualClock clock;
  const zu::dispatch_time_t start = clock.now();
  constexpr int kThreads = 4;
  constexpr int kJobsPerThread = 300;
  std::atomic<int> ran{0};
  std::atomic<bool> doubled{false};
  std::vector<std::atomic<int>> runs(static_cast<std::size_t>(kThreads) * kJobsPerThread);
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      for (int i = 0; i < kJobsPerThread; ++i) {
        const int index = thread * kJobsPerThread + i;
        const auto delay = std::chrono::milliseconds((index * 7) % 1000);
        DispatchClock::schedule(zu::dispatch_time(start, nanoseconds(delay)), [&, index] {
          if (runs[static_cast<std::size_t>(index)].fetch_add(1) != 0) doubled = true;
          ran.fetch_add(1);
        });
      }
    });
  }
  for (int step = 0; step < 50; ++step)
    clock.advance(10ms);
  for (std::thread& thread : threads)
    thread.join();
  clock.advance(1s);
  // Jobs whose deadline had passed when they were scheduled run on the timer thread.
  ASSERT_TRUE(zukit::test::waitUntil([&ran] { return ran.load() == kThreads * kJobsPerThread; }));
  EXPECT_FALSE(doubled);
}

}  // namespace
