#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/MainLoop.h"
#include "tests/support/StderrCapture.h"
#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/dispatch/DispatchPool.h"
#include "zukit/platform/dispatch/RunLoop.h"

namespace {

using namespace std::chrono_literals;
using zukit::test::pumpMainUntil;
using zukit::test::waitUntil;

std::int64_t milliseconds(std::int64_t count) {
  return count * static_cast<std::int64_t>(zu::NSEC_PER_MSEC);
}

TEST(SerialQueue, RunsBlocksOneAtATimeInEachSubmittersOrder) {
  const auto queue = zu::dispatch_queue_create("test.serial", zu::DISPATCH_QUEUE_SERIAL);
  constexpr int kPerThread = 2000;
  std::atomic<int> running{0};
  std::atomic<bool> overlapped{false};
  std::vector<int> seen;  // Touched only by blocks of the serial queue.
  auto submitter = [&](int thread) {
    for (int i = 0; i < kPerThread; ++i) {
      zu::dispatch_async(queue, [&, thread, i] {
        if (running.fetch_add(1) != 0) overlapped = true;
        seen.push_back(thread * kPerThread + i);
        running.fetch_sub(1);
      });
    }
  };
  std::thread first(submitter, 0);
  std::thread second(submitter, 1);
  first.join();
  second.join();
  zu::dispatch_sync(queue, [] {});
  ASSERT_EQ(seen.size(), 2U * kPerThread);
  EXPECT_FALSE(overlapped);
  int next[2] = {0, 0};
  for (int value : seen) {
    const int thread = value / kPerThread;
    EXPECT_EQ(value % kPerThread, next[thread]++) << "thread " << thread << " out of order";
  }
}

TEST(SerialQueue, SyncWaitsForTheBlockAndRunsInlineOnItsOwnQueue) {
  const auto queue = zu::dispatch_queue_create("test.sync", zu::DISPATCH_QUEUE_SERIAL);
  std::atomic<bool> slowDone{false};
  zu::dispatch_async(queue, [&slowDone] {
    std::this_thread::sleep_for(50ms);
    slowDone = true;
  });
  bool ranAfterSlow = false;
  zu::dispatch_sync(queue, [&] { ranAfterSlow = slowDone.load(); });
  EXPECT_TRUE(ranAfterSlow);

  std::vector<std::string> order;
  zu::dispatch_sync(queue, [&] {
    order.emplace_back("outer");
    zu::dispatch_sync(queue, [&] { order.emplace_back("nested"); });
    order.emplace_back("after");
  });
  EXPECT_EQ(order, (std::vector<std::string>{"outer", "nested", "after"}));
}

TEST(DispatchQueue, LabelsAndSpecificValuesBelongToTheRunningQueue) {
  const auto queue = zu::dispatch_queue_create("test.labelled", zu::DISPATCH_QUEUE_SERIAL);
  static int key = 0;
  static int context = 0;
  zu::dispatch_queue_set_specific(queue, &key, &context, nullptr);
  const char* label = nullptr;
  void* specific = nullptr;
  zu::dispatch_sync(queue, [&] {
    label = zu::dispatch_queue_get_label(zu::DISPATCH_CURRENT_QUEUE_LABEL);
    specific = zu::dispatch_get_specific(&key);
  });
  EXPECT_EQ(label, zu::dispatch_queue_get_label(queue)) << "the same label pointer";
  EXPECT_STREQ(label, "test.labelled");
  EXPECT_EQ(specific, &context);
  EXPECT_EQ(zu::dispatch_queue_get_specific(queue, &key), &context);
  EXPECT_EQ(zu::dispatch_get_specific(&key), nullptr) << "not on the queue";

  const auto other = zu::dispatch_queue_create("test.other", zu::DISPATCH_QUEUE_SERIAL);
  void* seenOnOther = &context;
  zu::dispatch_sync(other, [&] { seenOnOther = zu::dispatch_get_specific(&key); });
  EXPECT_EQ(seenOnOther, nullptr);

  // The main thread outside any queue's block counts as the main queue.
  EXPECT_EQ(zu::dispatch_queue_get_label(zu::DISPATCH_CURRENT_QUEUE_LABEL),
            zu::dispatch_queue_get_label(zu::dispatch_get_main_queue()));
  std::atomic<const char*> fromThread{nullptr};
  std::thread([&fromThread] {
    fromThread = zu::dispatch_queue_get_label(zu::DISPATCH_CURRENT_QUEUE_LABEL);
  }).join();
  EXPECT_STREQ(fromThread.load(), "");
}

TEST(DispatchQueue, SpecificValueDestructorsRunOnReplacementAndRemoval) {
  static int key = 0;
  static std::atomic<int> destroyed{0};
  const auto destructor = [](void* /*context*/) { destroyed.fetch_add(1); };
  {
    const auto queue = zu::dispatch_queue_create("test.destructors", zu::DISPATCH_QUEUE_SERIAL);
    int first = 1;
    int second = 2;
    zu::dispatch_queue_set_specific(queue, &key, &first, destructor);
    zu::dispatch_queue_set_specific(queue, &key, &second, destructor);
    EXPECT_EQ(destroyed.load(), 1);
    zu::dispatch_queue_set_specific(queue, &key, nullptr, nullptr);
    EXPECT_EQ(destroyed.load(), 2);
    zu::dispatch_queue_set_specific(queue, &key, &first, destructor);
  }
  EXPECT_EQ(destroyed.load(), 3) << "the queue's own destruction releases its contexts";
}

TEST(MainQueue, BlocksRunOnTheMainThreadWhenTheMainLoopRuns) {
  std::atomic<bool> ran{false};
  std::atomic<bool> onMainThread{false};
  std::thread([&] {
    zu::dispatch_async(zu::dispatch_get_main_queue(), [&] {
      onMainThread = zu::RunLoop::isMainThread();
      ran = true;
    });
  }).join();
  EXPECT_FALSE(ran.load()) << "nothing runs until the main loop does";
  ASSERT_TRUE(pumpMainUntil([&] { return ran.load(); }));
  EXPECT_TRUE(onMainThread.load());

  // A synchronous submission from a background thread returns after the main thread ran it.
  std::atomic<bool> syncReturned{false};
  bool blockFinished = false;
  std::thread background([&] {
    zu::dispatch_sync(zu::dispatch_get_main_queue(), [&] { blockFinished = true; });
    syncReturned = true;
  });
  ASSERT_TRUE(pumpMainUntil([&] { return syncReturned.load(); }));
  background.join();
  EXPECT_TRUE(blockFinished);

  // From the main thread itself a synchronous submission runs inline.
  bool inlineRan = false;
  zu::dispatch_sync(zu::dispatch_get_main_queue(), [&] { inlineRan = true; });
  EXPECT_TRUE(inlineRan);
}

TEST(DispatchAfter, SubmitsNoEarlierThanTheDeadlineOnTheTargetQueue) {
  const auto queue = zu::dispatch_queue_create("test.after", zu::DISPATCH_QUEUE_SERIAL);
  const auto start = std::chrono::steady_clock::now();
  std::atomic<bool> ran{false};
  std::atomic<const char*> label{nullptr};
  std::atomic<long long> elapsedMs{0};
  zu::dispatch_after(zu::dispatch_time(zu::DISPATCH_TIME_NOW, milliseconds(80)), queue, [&] {
    elapsedMs = std::chrono::duration_cast<std::chrono::milliseconds>(
                    std::chrono::steady_clock::now() - start)
                    .count();
    label = zu::dispatch_queue_get_label(zu::DISPATCH_CURRENT_QUEUE_LABEL);
    ran = true;
  });
  ASSERT_TRUE(waitUntil([&] { return ran.load(); }));
  EXPECT_GE(elapsedMs.load(), 80);
  EXPECT_LT(elapsedMs.load(), 5000);
  EXPECT_STREQ(label.load(), "test.after");

  std::atomic<bool> never{false};
  zu::dispatch_after(zu::DISPATCH_TIME_FOREVER, queue, [&never] { never = true; });
  zu::dispatch_after(zu::dispatch_time(zu::DISPATCH_TIME_NOW, 0), nullptr, [] {});
  zu::dispatch_sync(queue, [] {});
  EXPECT_FALSE(never.load());
}

TEST(DispatchSemaphore, CountsUnitsWakesWaitersAndTimesOut) {
  const auto semaphore = zu::dispatch_semaphore_create(1);
  EXPECT_EQ(zu::dispatch_semaphore_create(-1), nullptr);
  EXPECT_EQ(semaphore->wait(zu::DISPATCH_TIME_FOREVER), 0);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_NE(semaphore->wait(zu::dispatch_time(zu::DISPATCH_TIME_NOW, milliseconds(60))), 0);
  EXPECT_GE(std::chrono::steady_clock::now() - start, 60ms);

  std::atomic<bool> acquired{false};
  std::thread waiter([&] {
    semaphore->wait(zu::DISPATCH_TIME_FOREVER);
    acquired = true;
  });
  ASSERT_TRUE(waitUntil([&] { return semaphore->signal() != 0 || acquired.load(); }));
  waiter.join();
  EXPECT_TRUE(acquired.load());
  EXPECT_EQ(zu::dispatch_semaphore_wait(nullptr, zu::DISPATCH_TIME_FOREVER), 1);
  EXPECT_EQ(zu::dispatch_semaphore_signal(nullptr), 0);
}

TEST(DispatchOnce, RunsExactlyOnceAmongRacingCallers) {
  static zu::dispatch_once_t token;
  std::atomic<int> runs{0};
  std::vector<std::thread> threads;
  threads.reserve(8);
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&runs] { zu::dispatch_once(&token, [&runs] { runs.fetch_add(1); }); });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(runs.load(), 1);
}

TEST(DispatchPool, GrowsWhileEveryWorkerIsBlocked) {
  const std::size_t before = zu::DispatchPool::shared().threadCount();
  const auto queue = zu::dispatch_queue_create("test.blocking", zu::DISPATCH_QUEUE_CONCURRENT);
  const auto gate = zu::dispatch_semaphore_create(0);
  const std::size_t blockers = before + 2;
  for (std::size_t i = 0; i < blockers; ++i) {
    zu::dispatch_async(queue, [gate] { gate->wait(zu::DISPATCH_TIME_FOREVER); });
  }
  std::atomic<bool> laterRan{false};
  zu::dispatch_async(zu::dispatch_get_global_queue(zu::DISPATCH_QUEUE_PRIORITY_DEFAULT, 0),
                     [&laterRan] { laterRan = true; });
  EXPECT_TRUE(waitUntil([&] { return laterRan.load(); }))
      << "work submitted while every worker waits still runs";
  EXPECT_GT(zu::DispatchPool::shared().threadCount(), before);
  for (std::size_t i = 0; i < blockers; ++i)
    gate->signal();
}

TEST(DispatchQueue, AnExceptionEscapingABlockIsReportedAndTheQueueGoesOn) {
  const zukit::test::StderrCapture capture;
  const auto queue = zu::dispatch_queue_create("test.throwing", zu::DISPATCH_QUEUE_SERIAL);
  zu::dispatch_async(queue, [] { throw std::runtime_error("boom"); });
  bool next = false;
  zu::dispatch_sync(queue, [&next] { next = true; });
  EXPECT_TRUE(next);
  EXPECT_NE(capture.text().find("Uncaught exception in a block on queue \"test.throwing\": boom"),
            std::string::npos);
}

TEST(TimerSource, FiresRepeatedlyHoldsBackWhileSuspendedAndStopsWhenCancelled) {
  const auto queue = zu::dispatch_queue_create("test.timer", zu::DISPATCH_QUEUE_SERIAL);
  const auto timer = zu::dispatch_source_create(zu::DISPATCH_SOURCE_TYPE_TIMER, 0, 0, queue);
  std::atomic<int> fires{0};
  std::atomic<bool> cancelled{false};
  zu::dispatch_source_set_timer(timer, zu::dispatch_time(zu::DISPATCH_TIME_NOW, milliseconds(10)),
                                static_cast<std::uint64_t>(milliseconds(20)), 0);
  zu::dispatch_source_set_event_handler(timer, [&fires] { fires.fetch_add(1); });
  zu::dispatch_source_set_cancel_handler(timer, [&cancelled] { cancelled = true; });
  std::this_thread::sleep_for(60ms);
  EXPECT_EQ(fires.load(), 0) << "a new source is suspended";
  zu::dispatch_resume(timer);
  ASSERT_TRUE(waitUntil([&] { return fires.load() >= 3; }));

  zu::dispatch_suspend(timer);
  zu::dispatch_sync(queue, [] {});
  const int whileSuspended = fires.load();
  std::this_thread::sleep_for(100ms);
  EXPECT_EQ(fires.load(), whileSuspended);
  zu::dispatch_resume(timer);
  ASSERT_TRUE(waitUntil([&] { return fires.load() > whileSuspended; }));
  EXPECT_GE(zu::dispatch_source_get_data(timer), 1UL) << "fires while suspended are merged";

  zu::dispatch_source_cancel(timer);
  ASSERT_TRUE(waitUntil([&] { return cancelled.load(); }));
  EXPECT_EQ(zu::dispatch_source_testcancel(timer), 1);
  zu::dispatch_sync(queue, [] {});
  const int afterCancel = fires.load();
  std::this_thread::sleep_for(80ms);
  EXPECT_EQ(fires.load(), afterCancel);
}

TEST(TimerSource, AOneShotTimerFiresOnce) {
  const auto queue = zu::dispatch_queue_create("test.oneshot", zu::DISPATCH_QUEUE_SERIAL);
  const auto timer = zu::dispatch_source_create(zu::DISPATCH_SOURCE_TYPE_TIMER, 0, 0, queue);
  std::atomic<int> fires{0};
  zu::dispatch_source_set_timer(timer, zu::dispatch_time(zu::DISPATCH_TIME_NOW, milliseconds(5)),
                                zu::DISPATCH_TIME_FOREVER, 0);
  zu::dispatch_source_set_event_handler(timer, [&fires] { fires.fetch_add(1); });
  zu::dispatch_resume(timer);
  ASSERT_TRUE(waitUntil([&] { return fires.load() == 1; }));
  std::this_thread::sleep_for(60ms);
  EXPECT_EQ(fires.load(), 1);
  EXPECT_EQ(zu::dispatch_source_create(zu::DISPATCH_SOURCE_TYPE_TIMER, 0, 0, nullptr), nullptr);
}

TEST(DispatchTime, MovesAndSaturates) {
  EXPECT_EQ(zu::dispatch_time(zu::DISPATCH_TIME_FOREVER, 5), zu::DISPATCH_TIME_FOREVER);
  EXPECT_EQ(zu::dispatch_time(1000, 500), 1500U);
  EXPECT_EQ(zu::dispatch_time(1000, -400), 600U);
  EXPECT_EQ(zu::dispatch_time(1000, -5000), 1U);
  EXPECT_LT(zu::dispatch_time(10, std::numeric_limits<std::int64_t>::max()),
            zu::DISPATCH_TIME_FOREVER);
}

}  // namespace
