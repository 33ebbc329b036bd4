// ZuFloatingBall: construction and look, showing on the key window, and real touches through
// UIApplication::sendEvent: tap or drag, the screen's edges while dragging, and where the ball
// comes to rest, on the manual clock.

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/ui/FloatingBallStage.h"
#include "zukit/platform/ui/CALayer.h"
#include "zukit/platform/ui/UIColor.h"
#include "zukit/platform/ui/UIImage.h"
#include "zukit/platform/ui/UITouch.h"
#include "zukit/platform/ui/ViewRenderer.h"
#include "zukit/ui/ZuFloatingBall.h"
#include "zukit/ui/ZuNavigation.h"

namespace {

using zu::CGPointMake;
using zu::CGRectMake;
using zu::UIColor;
using Log = std::vector<std::string>;

// A ball that notes which touch methods reach the view system's own entries: what the ball
// passes to its superclass, and the cancellation it sends itself after a drag.
class RecordingBall : public ZuFloatingBall {
 public:
  using ZuFloatingBall::ZuFloatingBall;
  Log log;

  void touchesBegan(const std::shared_ptr<zu::NSSet>& touches,
                    const std::shared_ptr<zu::UIEvent>& event) override {
    log.emplace_back("began");
    ZuFloatingBall::touchesBegan(touches, event);
  }
  void touchesMoved(const std::shared_ptr<zu::NSSet>& touches,
                    const std::shared_ptr<zu::UIEvent>& event) override {
    log.emplace_back("moved");
    ZuFloatingBall::touchesMoved(touches, event);
  }
  void touchesEnded(const std::shared_ptr<zu::NSSet>& touches,
                    const std::shared_ptr<zu::UIEvent>& event) override {
    log.emplace_back("ended");
    ZuFloatingBall::touchesEnded(touches, event);
  }
  void touchesCancelled(const std::shared_ptr<zu::NSSet>& touches,
                        const std::shared_ptr<zu::UIEvent>& event) override {
    log.emplace_back("cancelled");
    ZuFloatingBall::touchesCancelled(touches, event);
  }
};

// A small PNG: a view drawn by the view system.
std::shared_ptr<zu::UIImage> smallImage() {
  const auto view = std::make_shared<zu::UIView>(CGRectMake(0, 0, 8, 8));
  view->setBackgroundColor(UIColor::redColor());
  const auto png = zu::ViewRenderer::pngData(*view);
  return png ? zu::UIImage::imageWithData(*png) : nullptr;
}

using ZuFloatingBallTest = zukit::test::FloatingBallStage;

TEST_F(ZuFloatingBallTest, ABallIsSixtyPointsAtTheRightEdgeWhateverItIsMadeWith) {
  int taps = 0;
  const auto ball = ZuFloatingBall::ballWithTitle(
      "Zu", UIColor::blueColor(), [&taps] { ++taps; }, ZuFloatingBallStayModeRight);
  EXPECT_EQ(ball->frame(), CGRectMake(kW - 60, 300, 60, 60));
  EXPECT_EQ(ball->stayMode(), ZuFloatingBallStayModeRight);
  EXPECT_EQ(ball->layer()->cornerRadius(), 0) << "half the width of the zero rectangle";
  EXPECT_EQ(backgroundOf(ball), (zu::CGColorRef{0, 0, 0, 0.3}));
  EXPECT_TRUE(ball->children().empty());
  EXPECT_FALSE(ball->isPopped());
  EXPECT_EQ(ball->superview(), nullptr) << "not shown yet";
  ASSERT_TRUE(ball->action());
  ball->action()();
  EXPECT_EQ(taps, 1);

  // The face: a round entry at the ball's bounds that leaves every touch to the ball.
  ASSERT_EQ(ball->subviewCount(), 1U);
  const auto face = std::dynamic_pointer_cast<ZuFloatingBallChild>(ball->subviews().front());
  ASSERT_NE(face, nullptr);
  EXPECT_EQ(face->frame(), CGRectMake(0, 0, 60, 60));
  EXPECT_FALSE(face->isUserInteractionEnabled());
  EXPECT_EQ(face->layer()->cornerRadius(), 30);
  EXPECT_EQ(face->currentTitle(), "Zu");
  EXPECT_EQ(face->currentTitleColor()->CGColor(), UIColor::blackColor()->CGColor());
  EXPECT_EQ(backgroundOf(face), UIColor::blueColor()->CGColor());
  EXPECT_FALSE(face->action());

  // The rectangle asked for gives only the corner radius; the screen's width is read anew.
  zu::UIScreen::mainScreen()->setBounds(CGRectMake(0, 0, 320, 480));
  const auto sized = std::make_shared<ZuFloatingBall>(CGRectMake(5, 7, 100, 20));
  EXPECT_EQ(sized->frame(), CGRectMake(260, 300, 60, 60));
  EXPECT_EQ(sized->layer()->cornerRadius(), 50);
  EXPECT_EQ(sized->stayMode(), ZuFloatingBallStayModeAuto);
  EXPECT_EQ(sized->subviewCount(), 0U);
  const auto moded =
      std::make_shared<ZuFloatingBall>(CGRectMake(0, 0, 60, 60), ZuFloatingBallStayMode{7});
  EXPECT_EQ(moded->stayMode(), 7U);
  EXPECT_EQ(moded->frame(), CGRectMake(260, 300, 60, 60));

  // An image background; anything else leaves the face bare.
  const auto image = smallImage();
  ASSERT_NE(image, nullptr);
  const auto pictured =
      ZuFloatingBall::ballWithTitle("", image, nullptr, ZuFloatingBallStayModeAuto);
  const auto pictureFace = std::static_pointer_cast<ZuFloatingBallChild>(pictured->subviews()[0]);
  EXPECT_EQ(pictureFace->currentBackgroundImage(), image);
  EXPECT_EQ(pictureFace->backgroundColor(), nullptr);
  EXPECT_FALSE(pictured->action());
  for (const zu::Value& odd : {zu::Value("#ff0000"), zu::Value::null(), zu::Value(),
                               zu::Value(std::make_shared<zu::UIView>())}) {
    const auto bare =
        ZuFloatingBall::ballWithTitle(zu::Value::null(), odd, nullptr, ZuFloatingBallStayModeAuto);
    const auto bareFace = std::static_pointer_cast<ZuFloatingBallChild>(bare->subviews()[0]);
    EXPECT_EQ(bareFace->backgroundColor(), nullptr) << odd;
    EXPECT_EQ(bareFace->currentBackgroundImage(), nullptr) << odd;
    EXPECT_EQ(bareFace->currentTitle(), "");
  }
}

TEST_F(ZuFloatingBallTest, ShowPutsTheBallInFrontOnTheKeyWindowWithItsShadow) {
  const auto ball = ZuFloatingBall::ballWithTitle("Zu", UIColor::blueColor(), nullptr,
                                                  ZuFloatingBallStayModeAuto);
  window->addSubview(std::make_shared<zu::UIView>(CGRectMake(0, 0, 50, 50)));
  ball->setHidden(true);
  ball->show();
  EXPECT_FALSE(ball->isHidden());
  EXPECT_EQ(ball->superview(), window);
  EXPECT_EQ(ZuNavigation::keyWindow(), window);
  EXPECT_EQ(window->subviews().back(), ball) << "in front";
  EXPECT_EQ(backgroundOf(ball), UIColor::clearColor()->CGColor());
  EXPECT_EQ(ball->layer()->zPosition(), 100);
  EXPECT_EQ(ball->layer()->shadowColor(), (zu::CGColorRef{0, 0, 0, 0.7}));
  EXPECT_EQ(ball->layer()->shadowOffset(), (zu::CGSize{-1, 1}));
  EXPECT_EQ(ball->layer()->shadowOpacity(), 0.6F);
  EXPECT_EQ(ball->frame(), CGRectMake(kW - 60, 300, 60, 60)) << "the position is kept";

  ball->showAtPoint(CGPointMake(20, 40));
  EXPECT_EQ(ball->frame(), CGRectMake(20, 40, 60, 60));
  ball->hide();
  EXPECT_TRUE(ball->isHidden());
  EXPECT_EQ(ball->superview(), nullptr);
  EXPECT_EQ(ball->frame(), CGRectMake(20, 40, 60, 60));

  // Another window has become key: show() follows it.
  scene->setActivationState(zu::UISceneActivationStateBackground);
  const auto other = std::make_shared<zu::UIWindowScene>();
  other->setActivationState(zu::UISceneActivationStateForegroundActive);
  zu::UIApplication::sharedApplication()->connectScene(other);
  const auto otherWindow = zu::UIWindow::windowWithWindowScene(other);
  ball->show();
  EXPECT_EQ(ball->superview(), otherWindow);
  EXPECT_FALSE(ball->isHidden());

  // No key window at all: the ball is shown nowhere, and nothing breaks.
  ball->hide();
  other->setActivationState(zu::UISceneActivationStateForegroundInactive);
  ASSERT_EQ(ZuNavigation::keyWindow(), nullptr);
  ball->show();
  EXPECT_EQ(ball->superview(), nullptr);
  EXPECT_FALSE(ball->isHidden());
}

TEST_F(ZuFloatingBallTest, AGestureEndingWithinTwoPointsIsATapAndBeyondIsADrag) {
  // Stay mode 3 keeps the ball where a gesture leaves it.
  const auto ball = std::make_shared<RecordingBall>(zu::CGRectZero, ZuFloatingBallStayMode{3});
  int taps = 0;
  ball->setAction([&taps] { ++taps; });
  ball->showAtPoint(CGPointMake(100, 300));

  // Out 30 points and back to 2 from the start in both axes: a tap.
  zu::TouchSequence finger(window);
  finger.begin(CGPointMake(130, 330));
  finger.moveTo(CGPointMake(160, 360));
  finger.moveTo(CGPointMake(132, 332));
  EXPECT_EQ(ball->frame(), CGRectMake(102, 302, 60, 60)) << "the ball follows the finger";
  finger.end();
  EXPECT_EQ(taps, 1);
  EXPECT_EQ(ball->log, (Log{"began", "ended"}))
      << "moves are not passed on; a tap's end is, before the action";
  EXPECT_EQ(zu::DispatchClock::pendingJobCount(), 0U) << "stay mode 3 does not glide";

  // Exactly 2 in both axes, in one move, is still a tap.
  ball->log.clear();
  dragBy(ball, -2, 2, 1);
  EXPECT_EQ(taps, 2);
  EXPECT_EQ(ball->log, (Log{"began", "ended"}));
  EXPECT_EQ(ball->frame().origin, CGPointMake(100, 304));

  // 2.0001 points in one axis, then in the other: drags, cancelled instead of ended.
  for (const zu::CGPoint step : {CGPointMake(2.0001, 0), CGPointMake(0, -2.0001)}) {
    ball->log.clear();
    ball->showAtPoint(CGPointMake(100, 300));
    dragBy(ball, step.x, step.y, 1);
    EXPECT_EQ(ball->log, (Log{"began", "cancelled"})) << step;
    EXPECT_EQ(taps, 2) << step;
    EXPECT_NEAR(ball->frame().origin.x, 100 + step.x, 1e-9);
    EXPECT_NEAR(ball->frame().origin.y, 300 + step.y, 1e-9);
  }
}

TEST_F(ZuFloatingBallTest, DraggingHoldsTheBallOnTheScreenWithUnequalEdges) {
  const auto ball = ZuFloatingBall::ballWithTitle("Zu", UIColor::blueColor(), nullptr,
                                                  ZuFloatingBallStayModeAuto);
  ball->show();
  zu::TouchSequence finger(window);
  finger.begin(centreOf(ball));  // (360, 330), the finger on the ball's middle

  // Past the top: the centre is held at 0.7 x 60 = 42, the top 12 points below the screen's.
  finger.moveTo(CGPointMake(300, -80));
  EXPECT_EQ(ball->center(), CGPointMake(300, 42));
  // Touching the top counts: an origin y of exactly 0 is corrected too.
  finger.moveTo(CGPointMake(300, 30));
  EXPECT_EQ(ball->center(), CGPointMake(300, 42));
  finger.moveTo(CGPointMake(300, 400));
  EXPECT_EQ(ball->center(), CGPointMake(300, 400));

  // On the right the ball may go until its left edge passes the screen's edge.
  finger.moveTo(CGPointMake(kW + 20, 400));
  EXPECT_EQ(ball->frame().origin.x, kW - 10) << "half off the screen, not corrected";
  finger.moveTo(CGPointMake(kW + 50, 400));
  EXPECT_EQ(ball->center(), CGPointMake(kW - 30, 400)) << "left edge past W: pulled back";
  // On the left it is held fully on the screen.
  finger.moveTo(CGPointMake(10, 400));
  EXPECT_EQ(ball->center(), CGPointMake(30, 400));
  // At the bottom, likewise.
  finger.moveTo(CGPointMake(100, kH - 10));
  EXPECT_EQ(ball->center(), CGPointMake(100, kH - 30));

  // Past the top and the left in one move: the vertical correction puts x back where the finger
  // took it.
  finger.moveTo(CGPointMake(100, 400));
  finger.moveTo(CGPointMake(-70, -200));
  EXPECT_EQ(ball->center(), CGPointMake(-70, 42));

  // Let go: flush to the left (the centre is left of the middle) with the top kept at 12.
  finger.end();
  EXPECT_EQ(ball->frame(), CGRectMake(0, 12, 60, 60));
  EXPECT_TRUE(animationsEndAfter(500));
}

TEST_F(ZuFloatingBallTest, ReleaseGlidesFlushToTheStayModesEdgeWhateverTheEntries) {
  struct Case {
    ZuFloatingBallStayMode mode;
    zu::CGFloat dx;  // the drag, from the ball's place at (W - 60, 300)
    zu::CGFloat restingX;
    bool glides;
  };
  const Case cases[] = {
      {ZuFloatingBallStayModeAuto, -165, kW - 60, true},  // the centre exactly at W/2
      {ZuFloatingBallStayModeAuto, -165.5, 0, true},      // just left of the middle
      {ZuFloatingBallStayModeAuto, -50, kW - 60, true},
      {ZuFloatingBallStayModeLeft, -50, 0, true},
      {ZuFloatingBallStayModeRight, -300, kW - 60, true},
      {ZuFloatingBallStayMode{3}, -200, kW - 260, false},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(testing::Message() << "stay mode " << test.mode << ", dx " << test.dx);
    const auto ball = ZuFloatingBall::ballWithTitle("Zu", UIColor::blueColor(), nullptr, test.mode);
    // Five entries would move resetFrame() in by 60 points; the release ignores them.
    for (int i = 0; i < 5; ++i) {
      ball->addChild(ZuFloatingBallChild::childWithTitle("", UIColor::redColor(), nullptr, 0));
    }
    ball->show();
    dragBy(ball, test.dx, 100);
    EXPECT_EQ(ball->frame(), CGRectMake(test.restingX, 400, 60, 60));
    EXPECT_FALSE(ball->isPopped()) << "a drag opens nothing";
    if (test.glides) {
      EXPECT_TRUE(animationsEndAfter(500));
    } else {
      EXPECT_EQ(zu::DispatchClock::pendingJobCount(), 0U);
    }
    ball->hide();
  }
}

TEST_F(ZuFloatingBallTest, ResetFrameMakesRoomForFiveAndSixEntries) {
  struct Case {
    ZuFloatingBallStayMode mode;
    zu::CGFloat startX;
    zu::CGFloat restingX;
    int entries;
    int milliseconds;  // 0: no animation
  };
  const Case cases[] = {
      {ZuFloatingBallStayModeAuto, 100, 0, 4, 250},
      {ZuFloatingBallStayModeAuto, 100, 60, 5, 250},
      {ZuFloatingBallStayModeAuto, 100, 90, 6, 250},
      {ZuFloatingBallStayModeAuto, kW / 2 - 30, kW - 60, 0, 250},  // centre at W/2: right
      {ZuFloatingBallStayModeAuto, 250, kW - 120, 5, 250},
      {ZuFloatingBallStayModeAuto, 250, kW - 150, 6, 250},
      {ZuFloatingBallStayModeLeft, 300, 0, 0, 500},
      {ZuFloatingBallStayModeLeft, 300, 60, 5, 500},
      {ZuFloatingBallStayModeLeft, 300, 90, 6, 500},
      {ZuFloatingBallStayModeRight, 10, kW - 60, 1, 500},
      {ZuFloatingBallStayModeRight, 10, kW - 120, 5, 500},
      {ZuFloatingBallStayModeRight, 10, kW - 150, 6, 500},
      {ZuFloatingBallStayMode{3}, 10, 10, 6, 0},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(testing::Message() << "stay mode " << test.mode << ", " << test.entries
                                    << " entries, from x " << test.startX);
    const auto ball = ZuFloatingBall::ballWithTitle("Zu", UIColor::blueColor(), nullptr, test.mode);
    for (int i = 0; i < test.entries; ++i) {
      ball->addChild(ZuFloatingBallChild::childWithTitle("", UIColor::redColor(), nullptr, 0));
    }
    ball->showAtPoint(CGPointMake(test.startX, 222));
    ball->resetFrame();
    EXPECT_EQ(ball->frame(), CGRectMake(test.restingX, 222, 60, 60));
    if (test.milliseconds > 0) {
      EXPECT_TRUE(animationsEndAfter(test.milliseconds));
    } else {
      EXPECT_EQ(zu::DispatchClock::pendingJobCount(), 0U);
    }
    ball->hide();
  }

  // The screen's width is read when the ball moves.
  const auto ball = ZuFloatingBall::ballWithTitle("Zu", UIColor::blueColor(), nullptr,
                                                  ZuFloatingBallStayModeRight);
  zu::UIScreen::mainScreen()->setBounds(CGRectMake(0, 0, 600, 900));
  ball->resetFrame();
  EXPECT_EQ(ball->frame(), CGRectMake(540, 300, 60, 60));
}

}  // namespace
