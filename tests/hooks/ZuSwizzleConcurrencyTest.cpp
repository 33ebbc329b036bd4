// Hooked calls on several threads while callbacks are installed and removed on another.

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/hooks/HookTestSupport.h"
#include "zukit/hooks/ZuHookPoints.h"
#include "zukit/hooks/ZuSwizzler.h"
#include "zukit/platform/ui/UIViewController.h"

namespace {

// Counts its own implementation's runs.
class CcScreen : public zu::UIViewController {
 public:
  ZU_RUNTIME_CLASS(CcScreen, zu::UIViewController, &addMethods)
  std::atomic<int> ownRuns{0};
  std::atomic<int> steadyRuns{0};

 private:
  static void addMethods(zu::Class* cls);
};

void screenDidAppear(zu::Object* self, zu::SEL /*selector*/, bool /*animated*/) {
  ++dynamic_cast<CcScreen&>(*self).ownRuns;
}

void CcScreen::addMethods(zu::Class* cls) {
  zu::class_addMethod(cls, zu::sel_registerName("viewDidAppear:"), zu::imp(&screenDidAppear));
}

TEST(ZuSwizzleConcurrencyTest, HookedCallsRunWhileCallbacksComeAndGo) {
  ZU_REQUIRE_EMPTY_SLOT(UIViewControllerViewDidAppearSwizzle);
  const zu::SEL selector = zu::sel_registerName("viewDidAppear:");
  ZuSwizzler::swizzleSelector(
      selector, CcScreen::staticClass(),
      ZuBlock::make<ZuViewAppearanceBlock>([](zu::Object* receiver, zu::SEL, const zu::Value&) {
        ++dynamic_cast<CcScreen&>(*receiver).steadyRuns;
      }),
      "steady");

  constexpr int kThreads = 4;
  constexpr int kLeastCalls = 2000;
  constexpr int kInstalls = 3000;
  std::atomic<int> extraRuns{0};
  std::atomic<int> started{0};
  std::atomic<bool> stop{false};
  std::vector<std::shared_ptr<CcScreen>> screens;
  std::vector<std::thread> threads;
  screens.reserve(kThreads);
  threads.reserve(kThreads);
  for (int t = 0; t < kThreads; ++t)
    screens.push_back(std::make_shared<CcScreen>());
  // Each thread calls until the installs are over, and at least kLeastCalls times.
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&started, &stop, screen = screens[static_cast<std::size_t>(t)]] {
      ++started;
      for (int n = 0; n < kLeastCalls || !stop.load(); ++n)
        zu::viewControllerDidAppear(screen, (n % 2) == 0);
    });
  }
  while (started.load() < kThreads)
    std::this_thread::yield();
  // Meanwhile callbacks are added under three other names, replaced and removed; each holds a
  // token, so that what is still alive afterwards can be counted.
  const auto token = std::make_shared<int>(0);
  for (int installs = 0; installs < kInstalls; ++installs) {
    const std::string name = "extra" + std::to_string(installs % 3);
    ZuSwizzler::swizzleSelector(
        selector, CcScreen::staticClass(),
        ZuBlock::make<ZuViewAppearanceBlock>(
            [&extraRuns, token](zu::Object*, zu::SEL, const zu::Value&) { ++extraRuns; }),
        name);
    if (installs % 2 == 1) ZuSwizzler::unswizzleSelector(selector, nullptr, name);
  }
  stop = true;
  for (auto& thread : threads)
    thread.join();

  // Every call ran the method's own implementation and the steady callback exactly once.
  for (const auto& screen : screens) {
    EXPECT_GE(screen->ownRuns.load(), kLeastCalls);
    EXPECT_EQ(screen->steadyRuns.load(), screen->ownRuns.load());
  }
  // Callbacks installed while the calls ran were run by them.
  EXPECT_GT(extraRuns.load(), 0);
  // With no call in flight, only the callbacks still installed hold their token: every one
  // replaced or removed on the way has been released.
  const ZuBlockMap blocks = UIViewControllerViewDidAppearSwizzle.get()->blocks();
  EXPECT_NE(blocks.objectForKey("steady"), nullptr);
  const auto installedExtras = static_cast<long>(blocks.count()) - 1;
  EXPECT_EQ(token.use_count() - 1, installedExtras);
}

}  // namespace
