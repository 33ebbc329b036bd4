// What the swizzler replaces is released: callbacks replaced under their name or removed,
// records replaced in their slot and the callback maps behind them, once no hooked call that
// may still be running them is in flight; calls in flight keep what they read.

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/hooks/HookTestSupport.h"
#include "zukit/hooks/ZuHookPoints.h"
#include "zukit/hooks/ZuHookReclaimer.h"
#include "zukit/hooks/ZuSwizzler.h"
#include "zukit/platform/runtime/MessageSend.h"

namespace {

using zukit::test::HookRecorder;
using zukit::test::recordOn;

zu::SEL didAppear() {
  return zu::sel_registerName("viewDidAppear:");
}
zu::SEL willDisappear() {
  return zu::sel_registerName("viewWillDisappear:");
}

void ownAppearance(zu::Object* self, zu::SEL /*selector*/, bool /*animated*/) {
  recordOn(self, "own");
}

class RcScreen : public HookRecorder {
 public:
  ZU_RUNTIME_CLASS(RcScreen, HookRecorder, &addMethods)

 private:
  static void addMethods(zu::Class* cls) {
    zu::class_addMethod(cls, didAppear(), zu::imp(&ownAppearance));
    zu::class_addMethod(cls, willDisappear(), zu::imp(&ownAppearance));
  }
};
class RcFirstChild : public RcScreen {
 public:
  ZU_RUNTIME_CLASS(RcFirstChild, RcScreen)
};
class RcSecondChild : public RcScreen {
 public:
  ZU_RUNTIME_CLASS(RcSecondChild, RcScreen)
};

// What a callback captures: counts the live ones, and carries some weight.
struct Capture {
  Capture() { ++live; }
  ~Capture() { --live; }
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;
  static inline std::atomic<int> live{0};
  std::vector<char> weight = std::vector<char>(4096, 'x');
  std::string name;
};

// A callback holding `capture`, recording its name on the receiver.
std::shared_ptr<ZuBlock> holding(std::shared_ptr<Capture> capture) {
  return ZuBlock::make<ZuViewAppearanceBlock>(
      [capture = std::move(capture)](zu::Object* receiver, zu::SEL, const zu::Value&) {
        recordOn(receiver, capture->name);
      });
}

std::shared_ptr<Capture> capture(const std::string& name) {
  auto made = std::make_shared<Capture>();
  made->name = name;
  return made;
}

TEST(ZuSwizzleReclaimTest, ACallbackIsReleasedOnceReplacedOrRemoved) {
  ZU_REQUIRE_EMPTY_SLOT(UIViewControllerViewDidAppearSwizzle);
  std::weak_ptr<Capture> first;
  std::weak_ptr<Capture> second;
  {
    auto one = capture("first");
    auto two = capture("second");
    first = one;
    second = two;
    ZuSwizzler::swizzleSelector(didAppear(), RcScreen::staticClass(), holding(std::move(one)), "x");
    ZuSwizzler::swizzleSelector(didAppear(), RcScreen::staticClass(), holding(capture("kept")),
                                "kept");
    const auto screen = std::make_shared<RcScreen>();
    zu::objc_msgSend<void, bool>(screen, didAppear(), true);
    EXPECT_FALSE(first.expired());
    // The same name again: the first callback, and all it captured, go at once.
    ZuSwizzler::swizzleSelector(didAppear(), RcScreen::staticClass(), holding(std::move(two)), "x");
  }
  EXPECT_TRUE(first.expired()) << "a replaced callback is kept";
  EXPECT_FALSE(second.expired());
  ZuSwizzler::unswizzleSelector(didAppear(), RcScreen::staticClass(), "x");
  EXPECT_TRUE(second.expired()) << "a removed callback is kept";
  EXPECT_EQ(Capture::live, 1) << "only the callback still installed holds its capture";
  EXPECT_EQ(ZuHookReclaimer::waitingCount(), 0U);

  const auto screen = std::make_shared<RcScreen>();
  zu::objc_msgSend<void, bool>(screen, didAppear(), false);
  EXPECT_EQ(screen->events, (std::vector<std::string>{"own", "kept"}));
}

TEST(ZuSwizzleReclaimTest, ARecordReplacedInItsSlotIsReleasedWithItsCallbacks) {
  ZU_REQUIRE_EMPTY_SLOT(UIViewControllerViewWillDisappearSwizzle);
  std::weak_ptr<Capture> firstCapture;
  {
    auto held = capture("first child");
    firstCapture = held;
    ZuSwizzler::swizzleSelector(willDisappear(), RcFirstChild::staticClass(),
                                holding(std::move(held)), "first");
  }
  const std::weak_ptr<ZuSwizzle> firstRecord = UIViewControllerViewWillDisappearSwizzle.record();
  ASSERT_FALSE(firstRecord.expired());

  // An inherited method hooked on a second class: a new record takes the slot.
  ZuSwizzler::swizzleSelector(willDisappear(), RcSecondChild::staticClass(),
                              holding(capture("second child")), "second");
  EXPECT_TRUE(firstRecord.expired()) << "the replaced record is kept";
  EXPECT_TRUE(firstCapture.expired()) << "the replaced record's callbacks are kept";
  EXPECT_EQ(ZuHookReclaimer::waitingCount(), 0U);

  const auto child = std::make_shared<RcSecondChild>();
  zu::objc_msgSend<void, bool>(child, willDisappear(), true);
  EXPECT_EQ(child->events, (std::vector<std::string>{"own", "second child"}));
}

TEST(ZuSwizzleReclaimTest, ACallbackReplacedWhileItRunsLivesUntilItsCallReturns) {
  ZU_REQUIRE_EMPTY_SLOT(UIViewControllerViewDidAppearSwizzle);
  std::weak_ptr<Capture> watched;
  std::vector<std::string> seen;
  {
    auto held = capture("self-replacing");
    watched = held;
    // Replaces itself under its own name, then goes on using what it captured.
    ZuSwizzler::swizzleSelector(
        didAppear(), RcScreen::staticClass(),
        ZuBlock::make<ZuViewAppearanceBlock>(
            [held, &seen](zu::Object* receiver, zu::SEL, const zu::Value&) {
              ZuSwizzler::swizzleSelector(didAppear(), RcScreen::staticClass(),
                                          holding(capture("successor")), "me");
              seen.push_back(held->name + " " + std::to_string(held->weight.size()));
              recordOn(receiver, held->name);
            }),
        "me");
  }
  const auto screen = std::make_shared<RcScreen>();
  zu::objc_msgSend<void, bool>(screen, didAppear(), true);
  EXPECT_EQ(seen, (std::vector<std::string>{"self-replacing 4096"}));
  EXPECT_TRUE(watched.expired()) << "released when the call that ran it returned";
  EXPECT_EQ(ZuHookReclaimer::waitingCount(), 0U);
  zu::objc_msgSend<void, bool>(screen, didAppear(), true);
  EXPECT_EQ(screen->events,
            (std::vector<std::string>{"own", "self-replacing", "own", "successor"}));
}

TEST(ZuSwizzleReclaimTest, ACallInFlightOnAnotherThreadKeepsWhatItRuns) {
  ZU_REQUIRE_EMPTY_SLOT(UIViewControllerViewDidAppearSwizzle);
  std::mutex mutex;
  std::condition_variable changed;
  bool inside = false;
  bool proceed = false;
  std::weak_ptr<Capture> watched;
  std::string readAfterRemoval;
  {
    auto held = capture("slow");
    watched = held;
    ZuSwizzler::swizzleSelector(
        didAppear(), RcScreen::staticClass(),
        ZuBlock::make<ZuViewAppearanceBlock>([&, held](zu::Object*, zu::SEL, const zu::Value&) {
          std::unique_lock<std::mutex> lock(mutex);
          inside = true;
          changed.notify_all();
          changed.wait_for(lock, std::chrono::seconds(30), [&] { return proceed; });
          readAfterRemoval = held->name;
        }),
        "slow");
  }
  std::thread caller([] {
    const auto screen = std::make_shared<RcScreen>();
    zu::objc_msgSend<void, bool>(screen, didAppear(), true);
  });
  {
    std::unique_lock<std::mutex> lock(mutex);
    ASSERT_TRUE(changed.wait_for(lock, std::chrono::seconds(30), [&] { return inside; }));
  }
  // Removed while the other thread is still running it: kept until that call ends.
  ZuSwizzler::unswizzleSelector(didAppear(), RcScreen::staticClass(), "slow");
  EXPECT_FALSE(watched.expired());
  EXPECT_EQ(ZuHookReclaimer::waitingCount(), 1U);
  {
    const std::lock_guard<std::mutex> lock(mutex);
    proceed = true;
  }
  changed.notify_all();
  caller.join();
  EXPECT_EQ(readAfterRemoval, "slow");
  EXPECT_TRUE(watched.expired()) << "released when the call in flight returned";
  EXPECT_EQ(ZuHookReclaimer::waitingCount(), 0U);
}

// AddressSanitizer keeps freed memory in quarantine, so resident memory says nothing there.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kResidentMemoryTellsFreedMemory = false;
#else
constexpr bool kResidentMemoryTellsFreedMemory = true;
#endif

// Resident memory of this process, in bytes.
std::size_t residentBytes() {
  std::ifstream statm("/proc/self/statm");
  std::size_t pages = 0;
  std::size_t resident = 0;
  statm >> pages >> resident;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

TEST(ZuSwizzleReclaimTest, MemoryStaysFlatOverAHundredThousandReRegistrations) {
  ZU_REQUIRE_EMPTY_SLOT(UIViewControllerViewDidAppearSwizzle);
  const auto screen = std::make_shared<RcScreen>();
  ZuSwizzler::swizzleSelector(didAppear(), RcScreen::staticClass(), holding(capture("warm-up")),
                              "handler");
  zu::objc_msgSend<void, bool>(screen, didAppear(), true);
  const std::size_t before = residentBytes();
  int mostAlive = 0;
  constexpr int kRegistrations = 100000;
  for (int i = 0; i < kRegistrations; ++i) {
    // As a mail composer registering its handler on every presentation.
    ZuSwizzler::swizzleSelector(didAppear(), RcScreen::staticClass(),
                                holding(capture("handler " + std::to_string(i))), "handler");
    if (i % 1000 == 0) zu::objc_msgSend<void, bool>(screen, didAppear(), true);
    mostAlive = std::max(mostAlive, Capture::live.load());
  }
  const std::size_t after = residentBytes();
  EXPECT_EQ(Capture::live, 1) << "only the last handler's capture is alive";
  EXPECT_LE(mostAlive, 2);
  EXPECT_EQ(ZuHookReclaimer::waitingCount(), 0U);
  EXPECT_EQ(UIViewControllerViewDidAppearSwizzle.get()->blocks().count(), 1U);
  // Kept, every handler would hold its 4 KiB: 400 MB.
  if (kResidentMemoryTellsFreedMemory) {
    EXPECT_LT(after - std::min(after, before), std::size_t{64} << 20U)
        << "resident memory grew from " << before << " to " << after << " bytes";
  }
}

}  // namespace
