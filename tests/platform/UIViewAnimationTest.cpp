// View animations: values applied at once, completions after the duration on the dispatch
// clock (finished NO when a later animation takes a property over), on the main queue.

#include <chrono>
#include <cmath>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/MainLoop.h"
#include "tests/support/StderrCapture.h"
#include "tests/support/UIApplicationScope.h"
#include "zukit/platform/dispatch/ManualClock.h"
#include "zukit/platform/ui/UIScreen.h"
#include "zukit/platform/ui/UIView.h"
#include "zukit/platform/ui/UIViewController.h"
#include "zukit/platform/ui/UIWindow.h"

namespace {

using namespace std::chrono_literals;
using zu::CGPointMake;
using zu::CGRectMake;
using zu::UIView;
using Finished = std::vector<bool>;

TEST(UIViewAnimation, ValuesApplyAtOnceAndTheCompletionComesAfterTheDuration) {
  const zu::ManualClock clock;
  const auto view = std::make_shared<UIView>(CGRectMake(0, 0, 60, 60));
  Finished finished;
  UIView::animateWithDuration(
      0.25,
      [&] {
        view->setFrame(CGRectMake(100, 300, 60, 60));
        view->setAlpha(0.5);
      },
      [&finished](bool done) { finished.push_back(done); });
  EXPECT_EQ(view->frame(), CGRectMake(100, 300, 60, 60)) << "the model value at once";
  EXPECT_EQ(view->alpha(), 0.5);
  clock.advance(249ms);
  EXPECT_TRUE(finished.empty()) << "not before the duration";
  clock.advance(1ms);
  EXPECT_EQ(finished, Finished{true});
  clock.advance(10s);
  EXPECT_EQ(finished, Finished{true}) << "exactly once";

  // Without a completion the values still apply.
  UIView::animateWithDuration(0.5, [&] { view->setCenter(CGPointMake(10, 10)); });
  EXPECT_EQ(view->center(), CGPointMake(10, 10));
}

TEST(UIViewAnimation, ALaterAnimationOfTheSamePropertyEndsTheEarlierUnfinished) {
  const zu::ManualClock clock;
  const auto view = std::make_shared<UIView>(CGRectMake(0, 0, 60, 60));
  const auto other = std::make_shared<UIView>(CGRectMake(0, 0, 60, 60));
  Finished first;
  Finished second;
  Finished unrelated;
  UIView::animateWithDuration(
      0.5, [&] { view->setCenter(CGPointMake(200, 200)); },
      [&first](bool done) { first.push_back(done); });
  // Another property of the view, and the same property of another view: no takeover.
  UIView::animateWithDuration(
      0.5,
      [&] {
        view->setAlpha(0.2);
        other->setCenter(CGPointMake(1, 1));
      },
      [&unrelated](bool done) { unrelated.push_back(done); });
  clock.advance(100ms);
  EXPECT_TRUE(first.empty());

  // setFrame moves the view: it takes the position over.
  UIView::animateWithDuration(
      0.5, [&] { view->setFrame(CGRectMake(0, 300, 60, 60)); },
      [&second](bool done) { second.push_back(done); });
  clock.advance(0s);
  EXPECT_EQ(first, Finished{false}) << "ended at once, unfinished";
  clock.advance(400ms);
  EXPECT_EQ(unrelated, Finished{true});
  EXPECT_TRUE(second.empty());
  clock.advance(100ms);
  EXPECT_EQ(second, Finished{true});
  EXPECT_EQ(first, Finished{false}) << "the superseded completion does not run again";
}

TEST(UIViewAnimation, WithoutADurationOrAChangeTheCompletionComesOnTheNextTurn) {
  const zu::ManualClock clock;
  const auto view = std::make_shared<UIView>();
  Finished finished;
  const auto record = [&finished](bool done) { finished.push_back(done); };
  UIView::animateWithDuration(
      5, [] {}, record);
  UIView::animateWithDuration(5, nullptr, record);
  UIView::animateWithDuration(
      0, [&] { view->setAlpha(0); }, record);
  UIView::animateWithDuration(
      -1, [&] { view->setAlpha(1); }, record);
  UIView::animateWithDuration(
      std::nan(""), [&] { view->setAlpha(0.3); }, record);
  EXPECT_TRUE(finished.empty()) << "never inside the call";
  clock.advance(0s);
  EXPECT_EQ(finished, (Finished{true, true, true, true, true}));
}

TEST(UIViewAnimation, NestedBlocksKeepTheirOwnDurations) {
  const zu::ManualClock clock;
  const auto view = std::make_shared<UIView>();
  std::vector<std::string> order;
  UIView::animateWithDuration(
      1,
      [&] {
        view->setAlpha(0.5);
        UIView::animateWithDuration(
            0.2, [&] { view->setCenter(CGPointMake(5, 5)); },
            [&order](bool done) { order.emplace_back(done ? "inner" : "inner unfinished"); });
      },
      [&order](bool done) { order.emplace_back(done ? "outer" : "outer unfinished"); });
  clock.advance(200ms);
  EXPECT_EQ(order, std::vector<std::string>{"inner"});
  clock.advance(800ms);
  EXPECT_EQ(order, (std::vector<std::string>{"inner", "outer"}));
}

TEST(UIViewAnimation, TheCompletionKeepsWhatItHoldsAliveUntilItRuns) {
  const zu::ManualClock clock;
  auto view = std::make_shared<UIView>();
  const std::weak_ptr<UIView> watch = view;
  bool ran = false;
  UIView::animateWithDuration(
      0.3, [&] { view->setAlpha(0); }, [view, &ran](bool) { ran = view->alpha() == 0; });
  view.reset();
  EXPECT_FALSE(watch.expired());
  clock.advance(300ms);
  EXPECT_TRUE(ran);
  EXPECT_TRUE(watch.expired()) << "released once the completion has run";
}

TEST(UIViewAnimation, AKeyWindowCollapsesAroundItsCentreAndItsScreenFollows) {
  const zukit::test::UIApplicationScope application;
  const zu::ManualClock clock;
  const auto window = std::make_shared<zu::UIWindow>();
  const auto screen = std::make_shared<zu::UIViewController>();
  window->setRootViewController(screen);
  window->makeKeyAndVisible();
  const double width = zu::UIScreen::mainScreen()->bounds().size.width;
  const double height = zu::UIScreen::mainScreen()->bounds().size.height;
  bool collapsed = false;
  UIView::animateWithDuration(
      0.3, [&] { window->setBounds(CGRectMake(0, 0, width, 0)); },
      [&collapsed](bool) { collapsed = true; });
  EXPECT_EQ(window->frame(), CGRectMake(0, height / 2, width, 0));
  EXPECT_EQ(screen->view()->frame(), CGRectMake(0, 0, width, 0));
  clock.advance(299ms);
  EXPECT_FALSE(collapsed);
  clock.advance(1ms);
  EXPECT_TRUE(collapsed);
}

TEST(UIViewAnimation, OffTheMainThreadNeitherBlockRuns) {
  const zu::ManualClock clock;
  const zukit::test::StderrCapture console;
  bool animated = false;
  bool completed = false;
  std::thread worker([&] {
    UIView::animateWithDuration(
        0.1, [&animated] { animated = true; }, [&completed](bool) { completed = true; });
  });
  worker.join();
  clock.advance(1s);
  EXPECT_FALSE(animated);
  EXPECT_FALSE(completed);
  EXPECT_NE(console.text().find("+[UIView animateWithDuration:animations:completion:] must be "
                                "called on the main thread; ignored"),
            std::string::npos);
}

TEST(UIViewAnimation, InRealTimeTheCompletionArrivesAfterTheDuration) {
  const auto view = std::make_shared<UIView>();
  const auto started = std::chrono::steady_clock::now();
  bool finished = false;
  UIView::animateWithDuration(
      0.05, [&] { view->setAlpha(0.4); }, [&finished](bool done) { finished = done; });
  ASSERT_TRUE(zukit::test::pumpMainUntil([&finished] { return finished; }));
  EXPECT_GE(std::chrono::steady_clock::now() - started, 50ms);
}

}  // namespace
