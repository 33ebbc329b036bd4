#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/MainLoop.h"
#include "tests/support/Probe.h"
#include "zukit/core/ZuConstants.h"
#include "zukit/core/ZuDispatchQueueManager.h"
#include "zukit/core/ZuSerialQueue.h"
#include "zukit/platform/dispatch/RunLoop.h"

namespace {

using namespace std::chrono_literals;
using zukit::test::pumpMainUntil;
using zukit::test::waitUntil;

void* tag() {
  return QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD;
}

TEST(DispatchInMainThread, RunsInlineOnTheMainQueueWhateverAsyncSays) {
  for (const bool async : {true, false}) {
    bool ran = false;
    ZuDispatchQueueManager::dispatchInMainThread([&ran] { ran = true; }, async);
    EXPECT_TRUE(ran) << "async " << async;
  }
  // A main-queue block that dispatches again nests inline too.
  std::vector<std::string> order;
  zu::dispatch_async(zu::dispatch_get_main_queue(), [&order] {
    order.emplace_back("outer");
    ZuDispatchQueueManager::dispatchInMainThread([&order] { order.emplace_back("inner"); }, true);
    order.emplace_back("after");
  });
  ASSERT_TRUE(pumpMainUntil([&order] { return order.size() == 3; }));
  EXPECT_EQ(order, (std::vector<std::string>{"outer", "inner", "after"}));
}

TEST(DispatchInMainThread, BlocksFromBackgroundThreadsRunOnTheMainThread) {
  const std::thread::id mainThread = std::this_thread::get_id();
  std::atomic<int> ran{0};
  std::atomic<int> ranOnMain{0};
  const auto block = [&] {
    if (zu::RunLoop::isMainThread() && std::this_thread::get_id() == mainThread) ++ranOnMain;
    ++ran;
  };
  std::atomic<bool> submitted{false};
  std::thread background([&] {
    ZuDispatchQueueManager::dispatchInMainThread(block, true);
    ZuDispatchQueueManager::dispatchInMainThread(block, false);
    submitted = true;
  });
  ASSERT_TRUE(pumpMainUntil([&] { return submitted.load(); }));
  background.join();
  EXPECT_EQ(ran.load(), 2);
  EXPECT_EQ(ranOnMain.load(), 2);
  // From a serial-queue block too.
  std::atomic<bool> fromQueue{false};
  ZuDispatchQueueManager::dispatchInSerialQueue(tag(), [&] {
    ZuDispatchQueueManager::dispatchInMainThread(block, true);
    fromQueue = true;
  });
  ASSERT_TRUE(pumpMainUntil([&] { return fromQueue.load() && ran.load() == 3; }));
  EXPECT_EQ(ranOnMain.load(), 3);
}

TEST(DispatchInMainThread, FromABackgroundThreadAsyncReturnsFirstAndSyncWaits) {
  std::atomic<bool> asyncRan{false};
  std::atomic<bool> asyncReturnedBeforeRun{false};
  std::thread([&] {
    ZuDispatchQueueManager::dispatchInMainThread([&] { asyncRan = true; }, true);
    asyncReturnedBeforeRun = !asyncRan.load();
  }).join();
  EXPECT_TRUE(asyncReturnedBeforeRun.load());
  ASSERT_TRUE(pumpMainUntil([&] { return asyncRan.load(); }));

  std::atomic<bool> blockDone{false};
  std::atomic<bool> returnedAfterBlock{false};
  std::atomic<bool> returned{false};
  std::thread background([&] {
    ZuDispatchQueueManager::dispatchInMainThread(
        [&] {
          std::this_thread::sleep_for(20ms);
          blockDone = true;
        },
        false);
    returnedAfterBlock = blockDone.load();
    returned = true;
  });
  ASSERT_TRUE(pumpMainUntil([&] { return returned.load(); }));
  background.join();
  EXPECT_TRUE(returnedAfterBlock.load());
}

TEST(DispatchInSerialQueue, ANestedSubmissionRunsInlineAheadOfQueuedBlocks) {
  std::vector<std::string> order;  // Touched only on the serial queue.
  std::atomic<bool> outerStarted{false};
  std::atomic<bool> queuedSubmitted{false};
  std::atomic<bool> done{false};
  ZuDispatchQueueManager::dispatchInSerialQueue(tag(), [&] {
    outerStarted = true;
    order.emplace_back("outer-start");
    // Wait until a block from outside is queued behind this one.
    while (!queuedSubmitted.load())
      std::this_thread::yield();
    ZuDispatchQueueManager::dispatchInSerialQueue(tag(), [&] { order.emplace_back("nested"); });
    order.emplace_back("outer-end");
  });
  ASSERT_TRUE(waitUntil([&] { return outerStarted.load(); }));
  ZuDispatchQueueManager::dispatchInSerialQueue(tag(), [&] {
    order.emplace_back("queued");
    done = true;
  });
  queuedSubmitted = true;
  ASSERT_TRUE(waitUntil([&] { return done.load(); }));
  EXPECT_EQ(order, (std::vector<std::string>{"outer-start", "nested", "outer-end", "queued"}));

  std::vector<int> seen;
  std::atomic<bool> finished{false};
  std::thread([&] {
    ZuDispatchQueueManager::dispatchInSerialQueue(tag(), [&] {
      std::this_thread::sleep_for(20ms);
      seen.push_back(1);
    });
  }).join();
  ZuDispatchQueueManager::dispatchInSerialQueue(tag(), [&] {
    seen.push_back(2);
    finished = true;
  });
  ASSERT_TRUE(waitUntil([&] { return finished.load(); }));
  EXPECT_EQ(seen, (std::vector<int>{1, 2})) << "submissions from outside wait their turn";
}

TEST(DispatchInSerialQueue, BlocksFromTwoThreadsNeverOverlap) {
  std::atomic<int> inFlight{0};
  std::atomic<bool> overlapped{false};
  std::atomic<int> completed{0};
  constexpr int kPerThread = 500;
  auto submit = [&] {
    for (int i = 0; i < kPerThread; ++i) {
      ZuDispatchQueueManager::dispatchInSerialQueue(tag(), [&] {
        if (inFlight.fetch_add(1) != 0) overlapped = true;
        std::this_thread::yield();
        inFlight.fetch_sub(1);
        completed.fetch_add(1);
      });
    }
  };
  std::thread first(submit);
  std::thread second(submit);
  first.join();
  second.join();
  ASSERT_TRUE(waitUntil([&] { return completed.load() == 2 * kPerThread; }));
  EXPECT_FALSE(overlapped.load());
  const auto queue = getSerialQueue(tag());
  ASSERT_NE(queue, nullptr);
  EXPECT_STREQ(zu::dispatch_queue_get_label(queue), "cn.com.Zu.asyncTask");
  EXPECT_EQ(zu::dispatch_queue_get_specific(queue, tag()), tag());
}

TEST(DispatchInSerialQueue, OnlyAFirstCallWithTheExportedTagCreatesTheQueue) {
  const auto exported = zukit::test::runProbe({"serial-queue-first-tag", "exported"});
  EXPECT_EQ(exported.exitCode, 0) << exported.standardError;
  EXPECT_EQ(exported.standardOutput, "first: ran\nsecond: ran\nqueue: present\n");

  const auto other = zukit::test::runProbe({"serial-queue-first-tag", "other"});
  EXPECT_EQ(other.exitCode, 0) << other.standardError;
  EXPECT_EQ(other.standardOutput, "first: dropped\nsecond: dropped\nqueue: none\n");
}

TEST(DispatchQueueManager, EmptyBlocksAreIgnored) {
  ZuDispatchQueueManager::dispatchInMainThread(nullptr, true);
  ZuDispatchQueueManager::dispatchInMainThread(nullptr, false);
  ZuDispatchQueueManager::dispatchInSerialQueue(tag(), nullptr);
  std::atomic<bool> ran{false};
  ZuDispatchQueueManager::dispatchInSerialQueue(tag(), [&ran] { ran = true; });
  EXPECT_TRUE(waitUntil([&ran] { return ran.load(); }));
}

}  // namespace
