#pragma once

// What the floating-ball tests share: a key window on an active scene (release 13), the dispatch
// clock in manual time, and touches played through UIApplication::sendEvent.

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/UIApplicationScope.h"
#include "zukit/platform/dispatch/DispatchClock.h"
#include "zukit/platform/dispatch/ManualClock.h"
#include "zukit/platform/ui/TouchSequence.h"
#include "zukit/platform/ui/UIApplication.h"
#include "zukit/platform/ui/UIDevice.h"
#include "zukit/platform/ui/UIEvent.h"
#include "zukit/platform/ui/UIScreen.h"
#include "zukit/platform/ui/UIWindow.h"
#include "zukit/platform/ui/UIWindowScene.h"
#include "zukit/ui/ZuFloatingBall.h"

namespace zukit::test {

class FloatingBallStage : public testing::Test {
 protected:
  // The screen of the tests: a phone's 390 x 844 points.
  static constexpr zu::CGFloat kW = 390;
  static constexpr zu::CGFloat kH = 844;

  FloatingBallStage() {
    zu::UIDevice::currentDevice()->setSystemVersion(std::string("13.0"));
    scene->setActivationState(zu::UISceneActivationStateForegroundActive);
    zu::UIApplication::sharedApplication()->connectScene(scene);
    window = zu::UIWindow::windowWithWindowScene(scene);
    window->makeKeyAndVisible();
  }

  // The ball's centre in the window's coordinates.
  zu::CGPoint centreOf(const std::shared_ptr<zu::UIView>& view) const {
    const zu::CGRect bounds = view->bounds();
    return view->convertPointToView(
        zu::CGPointMake(zu::CGRectGetMidX(bounds), zu::CGRectGetMidY(bounds)), window);
  }

  // The colour `view`'s background is drawn in, or nothing.
  static std::optional<zu::CGColorRef> backgroundOf(const std::shared_ptr<zu::UIView>& view) {
    const auto color = view->backgroundColor();
    return color ? std::optional(color->CGColor()) : std::nullopt;
  }

  // A whole tap at `point` of the window.
  void tapAt(zu::CGPoint point) const { zu::TouchSequence::tap(window, point); }
  // A tap on the middle of `view`.
  void tapOn(const std::shared_ptr<zu::UIView>& view) const { tapAt(centreOf(view)); }

  // A gesture that starts on the middle of `view`, moves by (dx, dy) in `steps` even moves and
  // ends there (a power of two keeps every step exact).
  void dragBy(const std::shared_ptr<zu::UIView>& view, zu::CGFloat dx, zu::CGFloat dy,
              int steps = 4) const {
    const zu::CGPoint from = centreOf(view);
    zu::TouchSequence::drag(window, from, zu::CGPointMake(from.x + dx, from.y + dy), steps);
  }

  // The view the window's hit test (through the runtime) finds at `point`.
  std::shared_ptr<zu::UIView> hitAt(zu::CGPoint point) const {
    return zu::objc_msgSend<std::shared_ptr<zu::UIView>, zu::CGPoint,
                            const std::shared_ptr<zu::UIEvent>&>(window, zu::hitTestSelector(),
                                                                 point, nullptr);
  }

  // Advances the clock by `milliseconds`.
  void advanceMs(int milliseconds) const { clock.advance(std::chrono::milliseconds(milliseconds)); }

  // True when the running animations end exactly `milliseconds` from now: something is still
  // waiting a millisecond before, and nothing after.
  ::testing::AssertionResult animationsEndAfter(int milliseconds) const {
    if (zu::DispatchClock::pendingJobCount() == 0) {
      return ::testing::AssertionFailure() << "nothing is animating";
    }
    advanceMs(milliseconds - 1);
    if (zu::DispatchClock::pendingJobCount() == 0) {
      return ::testing::AssertionFailure() << "over before " << milliseconds << " ms";
    }
    advanceMs(1);
    if (zu::DispatchClock::pendingJobCount() != 0) {
      return ::testing::AssertionFailure() << "still animating after " << milliseconds << " ms";
    }
    return ::testing::AssertionSuccess();
  }

  const UIApplicationScope application;
  const zu::ManualClock clock;
  const std::shared_ptr<zu::UIWindowScene> scene = std::make_shared<zu::UIWindowScene>();
  std::shared_ptr<zu::UIWindow> window;
};

}  // namespace zukit::test
