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
  constexpr int kCalls = 5000;
  std::atomic<int> extraRuns{0};
  std::atomic<int> finished{0};
  std::vector<std::shared_ptr<CcScreen>> screens;
  std::vector<std::thread> threads;
  screens.reserve(kThreads);
  threads.reserve(kThreads);
  for (int t = 0; t < kThreads; ++t)
    screens.push_back(std::make_shared<CcScreen>());
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&finished, screen = screens[static_cast<std::size_t>(t)]] {
      for (int n = 0; n < kCalls; ++n)
        zu::viewControllerDidAppear(screen, (n % 2) == 0);
      ++finished;
    });
  }
  // Meanwhile callbacks are added under other names, replaced and removed (a bounded number of
  // times: every change keeps its replaced snapshot for the record's lifetime).
  int installs = 0;
  while (finished.load() < kThreads && installs < 3000) {
    const std::string name = "extra" + std::to_string(installs % 3);
    ZuSwizzler::swizzleSelector(
        selector, CcScreen::staticClass(),
        ZuBlock::make<ZuViewAppearanceBlock>(
            [&extraRuns](zu::Object*, zu::SEL, const zu::Value&) { ++extraRuns; }),
        name);
    if (installs % 2 == 1) ZuSwizzler::unswizzleSelector(selector, nullptr, name);
    ++installs;
  }
  for (auto& thread : threads)
    thread.join();

  for (const auto& screen : screens) {
    EXPECT_EQ(screen->ownRuns, kCalls);
    EXPECT_EQ(screen->steadyRuns, kCalls);
  }
  EXPECT_GT(installs, 0);
  EXPECT_LE(extraRuns, 3 * kThreads * kCalls);
  const ZuBlockMap blocks = UIViewControllerViewDidAppearSwizzle.get()->blocks();
  EXPECT_NE(blocks.objectForKey("steady"), nullptr);
}

}  // namespace
