// ZuFloatingBall's fan menu, through real taps: the entries' look, adding entries, the stored
// fan places in both directions, states that change only when the animations complete, an
// entry's tap, the places the ball keeps claiming, and pictures of the ball and its open fan.

#include <array>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Snapshot.h"
#include "tests/ui/FloatingBallStage.h"
#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/ui/CALayer.h"
#include "zukit/platform/ui/UIColor.h"
#include "zukit/platform/ui/UIControl.h"
#include "zukit/ui/ZuFloatingBall.h"

namespace {

using zu::CGPointMake;
using zu::CGRectMake;
using zu::UIColor;
using Log = std::vector<std::string>;
using Children = std::vector<std::shared_ptr<ZuFloatingBallChild>>;

// 45 x sqrt(3), as the fan's places store it.
constexpr double kC = 77.94228634059948;

// The places of a fan of n entries opening to the left (row n - 1).
const std::array<std::vector<ZuOffset>, 6> kLeftFans{{
    {{-90, 0}},
    {{-kC, -45}, {-kC, 45}},
    {{-45, -kC}, {-90, 0}, {-45, kC}},
    {{0, -90}, {-kC, -45}, {-kC, 45}, {0, 90}},
    {{45, -kC}, {-45, -kC}, {-90, 0}, {-45, kC}, {45, kC}},
    {{45, -kC}, {-45, -kC}, {-90, 0}, {-45, kC}, {45, kC}, {90, 0}},
}};

std::string describe(const ZuOffset& offset) {
  return zu::format("(%.17g, %.17g)", offset.x, offset.y);
}

class ZuFloatingBallMenuTest : public zukit::test::FloatingBallStage {
 protected:
  // A shown ball in `mode` carrying `count` entries whose actions note their index in `log`.
  std::shared_ptr<ZuFloatingBall> ballWithEntries(
      int count, ZuFloatingBallStayMode mode = ZuFloatingBallStayModeAuto) {
    auto ball = ZuFloatingBall::ballWithTitle(
        "Zu", UIColor::blueColor(), [this] { log.emplace_back("ball"); }, mode);
    for (int i = 0; i < count; ++i) {
      ball->addChild(ZuFloatingBallChild::childWithTitle(
          std::to_string(i), UIColor::colorWithRed(0.2 * i, 0.6, 0.3, 1),
          [this, i] { log.push_back("entry " + std::to_string(i)); }, 0));
    }
    ball->show();
    return ball;
  }

  // Opens or folds the fan with a tap on the ball and lets every animation run out.
  void tapAndSettle(const std::shared_ptr<ZuFloatingBall>& ball) {
    tapOn(ball);
    advanceMs(1000);
  }

  Log log;
};

TEST_F(ZuFloatingBallMenuTest, AnEntryIsASixtyPointButtonWithItsOwnLook) {
  int taps = 0;
  const auto round = ZuFloatingBallChild::childWithTitle(
      "设置", UIColor::greenColor(), [&taps] { ++taps; }, 0);
  EXPECT_EQ(round->bounds(), CGRectMake(0, 0, 60, 60));
  EXPECT_EQ(round->buttonType(), zu::UIButtonTypeCustom);
  EXPECT_EQ(round->currentTitle(), "设置");
  EXPECT_EQ(round->currentTitleColor()->CGColor(), UIColor::blackColor()->CGColor());
  EXPECT_EQ(backgroundOf(round), UIColor::greenColor()->CGColor());
  EXPECT_EQ(round->layer()->cornerRadius(), 30);
  EXPECT_EQ(round->offset(), (ZuOffset{0, 0}));
  ASSERT_TRUE(round->action());
  round->action()();
  EXPECT_EQ(taps, 1);
  EXPECT_TRUE(zu::isKindOfClass(round, zu::UIButton::staticClass()));

  const auto square = ZuFloatingBallChild::childWithTitle("", zu::Value(42), nullptr, 1);
  EXPECT_EQ(square->layer()->cornerRadius(), 0);
  EXPECT_EQ(square->backgroundColor(), nullptr);
  EXPECT_EQ(square->currentBackgroundImage(), nullptr);
  EXPECT_FALSE(square->action());
  square->setOffset(ZuOffset{-3.5, 7});
  EXPECT_EQ(square->offset(), (ZuOffset{-3.5, 7}));
}

TEST_F(ZuFloatingBallMenuTest, ABallKeepsAtMostSixDistinctEntries) {
  const auto ball = ballWithEntries(0);
  Children added;
  for (int i = 0; i < 7; ++i) {
    added.push_back(ZuFloatingBallChild::childWithTitle("", UIColor::redColor(), nullptr, 0));
    ball->addChild(added.back());
    ball->addChild(added.front());
  }
  ball->addChild(nullptr);
  EXPECT_EQ(ball->children(), Children(added.begin(), added.begin() + 6))
      << "duplicates, a seventh entry and nothing are dropped";
}

TEST_F(ZuFloatingBallMenuTest, FansOfOneToSixOpenToTheStoredPlacesOnEitherSide) {
  for (int count = 1; count <= 6; ++count) {
    const std::vector<ZuOffset>& places = kLeftFans.at(static_cast<std::size_t>(count - 1));
    for (const bool onRight : {true, false}) {
      SCOPED_TRACE(testing::Message()
                   << count << " entries, ball on the " << (onRight ? "right" : "left"));
      const auto ball = ballWithEntries(count);
      if (!onRight) ball->showAtPoint(CGPointMake(0, 300));
      tapOn(ball);
      EXPECT_EQ(ball->popDirection(), onRight ? 0 : 1);

      // Every entry is beneath the face, in order, moved out from the ball's middle.
      const auto subviews = ball->subviews();
      ASSERT_EQ(subviews.size(), static_cast<std::size_t>(count) + 1);
      EXPECT_FALSE(subviews.back()->isUserInteractionEnabled()) << "the face is in front";
      for (std::size_t i = 0; i < places.size(); ++i) {
        const auto& child = ball->children()[i];
        EXPECT_EQ(subviews[i], child) << i;
        const ZuOffset expected{onRight ? places[i].x : -places[i].x, places[i].y};
        EXPECT_EQ(child->offset(), expected)
            << "entry " << i << ": " << describe(child->offset()) << " for " << describe(expected);
        EXPECT_EQ(child->center(), CGPointMake(30 + expected.x, 30 + expected.y)) << i;
        EXPECT_EQ(child->bounds(), CGRectMake(0, 0, 60, 60)) << i;
      }
      ball->hide();
      advanceMs(1000);
    }
  }
}

TEST_F(ZuFloatingBallMenuTest, TheBallsLeftEdgeDecidesTheSideTheFanOpensTo) {
  // Stay mode 3: the tap does not move the ball before the fan opens.
  const auto ball = ballWithEntries(1, ZuFloatingBallStayMode{3});
  ball->showAtPoint(CGPointMake(kW / 2, 300));  // the left edge exactly at the middle
  tapAndSettle(ball);
  EXPECT_EQ(ball->popDirection(), 0);
  EXPECT_EQ(ball->children()[0]->offset(), (ZuOffset{-90, 0}));
  tapAndSettle(ball);
  ASSERT_FALSE(ball->isPopped());

  // The centre is right of the middle, but the left edge is not: the fan opens to the right.
  ball->showAtPoint(CGPointMake(kW / 2 - 20, 300));
  tapAndSettle(ball);
  EXPECT_EQ(ball->popDirection(), 1);
  EXPECT_EQ(ball->children()[0]->offset(), (ZuOffset{90, 0}));
  EXPECT_EQ(ball->children()[0]->center(), CGPointMake(120, 30));
}

TEST_F(ZuFloatingBallMenuTest, TheMenuChangesStateOnlyWhenItsAnimationsComplete) {
  const auto ball = ballWithEntries(5, ZuFloatingBallStayModeRight);
  tapOn(ball);
  EXPECT_TRUE(log.empty()) << "a ball with entries does not run its action";
  EXPECT_EQ(ball->frame().origin.x, kW - 60) << "the tap's glide is flush to the edge";
  advanceMs(249);
  EXPECT_FALSE(ball->isPopped());
  EXPECT_EQ(ball->frame().origin.x, kW - 60);
  advanceMs(1);
  EXPECT_TRUE(ball->isPopped());
  EXPECT_EQ(ball->frame().origin.x, kW - 120) << "resetFrame made room for five entries";
  advanceMs(500);

  tapOn(ball);
  advanceMs(249);
  EXPECT_TRUE(ball->isPopped());
  EXPECT_EQ(ball->subviewCount(), 6U) << "the entries stay until the fold completes";
  for (const auto& child : ball->children())
    EXPECT_EQ(child->center(), CGPointMake(30, 30));
  advanceMs(1);
  EXPECT_FALSE(ball->isPopped());
  EXPECT_EQ(ball->subviewCount(), 1U) << "only the face is left";
  EXPECT_EQ(ball->children()[4]->offset(), (ZuOffset{45, kC})) << "the offsets are kept";
  EXPECT_TRUE(log.empty());
  ball->hide();

  // Without entries, a ball with an action runs it and its menu stays closed; a ball with
  // neither toggles its empty menu.
  const auto plain = ballWithEntries(0);
  tapAndSettle(plain);
  EXPECT_EQ(log, Log{"ball"});
  EXPECT_FALSE(plain->isPopped());
  plain->setAction(nullptr);
  tapAndSettle(plain);
  EXPECT_TRUE(plain->isPopped());
  tapAndSettle(plain);
  EXPECT_FALSE(plain->isPopped());
  EXPECT_EQ(log, Log{"ball"});
}

TEST_F(ZuFloatingBallMenuTest, ATapWhileTheFanOpensOpensItAgain) {
  const auto ball = ballWithEntries(3, ZuFloatingBallStayMode{3});
  tapOn(ball);
  advanceMs(100);
  ASSERT_FALSE(ball->isPopped());
  tapOn(ball);
  // Opened again from the middle, not folded.
  EXPECT_EQ(ball->popDirection(), 0);
  EXPECT_EQ(ball->subviewCount(), 4U);
  EXPECT_EQ(ball->children()[1]->center(), CGPointMake(-60, 30));
  advanceMs(250);
  EXPECT_TRUE(ball->isPopped());
  EXPECT_EQ(ball->children()[1]->center(), CGPointMake(-60, 30));
  tapAndSettle(ball);
  EXPECT_FALSE(ball->isPopped());
  EXPECT_EQ(ball->subviewCount(), 1U);
}

TEST_F(ZuFloatingBallMenuTest, ATapOnAnEntryFoldsTheFanAndRunsItsActionAtOnce) {
  const auto ball = ballWithEntries(3);
  tapAndSettle(ball);
  ASSERT_TRUE(ball->isPopped());
  // Fold and open again: the ball stays the entries' only target.
  tapAndSettle(ball);
  tapAndSettle(ball);
  for (const auto& child : ball->children()) {
    EXPECT_EQ(child->actionsForTarget(ball, zu::UIControlEventTouchUpInside).size(), 1U);
  }

  const auto entry = ball->children()[1];
  EXPECT_EQ(hitAt(centreOf(entry)), entry);
  tapOn(entry);
  EXPECT_EQ(log, Log{"entry 1"}) << "once, before the fold completes";
  EXPECT_TRUE(ball->isPopped());
  advanceMs(250);
  EXPECT_FALSE(ball->isPopped());
  EXPECT_EQ(ball->subviewCount(), 1U);

  // An entry without an action only folds the fan.
  ball->children()[2]->setAction(nullptr);
  tapAndSettle(ball);
  tapOn(ball->children()[2]);
  advanceMs(250);
  EXPECT_FALSE(ball->isPopped());
  EXPECT_EQ(log, Log{"entry 1"});
}

TEST_F(ZuFloatingBallMenuTest, TheBallClaimsItsEntriesPlacesAfterTheFanHasFolded) {
  const auto ball = ballWithEntries(1);
  tapAndSettle(ball);
  const zu::CGPoint entryPlace = centreOf(ball->children()[0]);
  EXPECT_EQ(entryPlace, CGPointMake(kW - 30 - 90, 330));
  tapAndSettle(ball);
  ASSERT_FALSE(ball->isPopped());
  ASSERT_EQ(ball->children()[0]->superview(), nullptr);

  // The entry has gone, but its circle is still the ball's; its box corner is not.
  EXPECT_EQ(hitAt(entryPlace), ball);
  EXPECT_EQ(hitAt(CGPointMake(entryPlace.x - 29, entryPlace.y)), ball);
  EXPECT_EQ(hitAt(CGPointMake(entryPlace.x - 29, entryPlace.y - 29)), window);
  EXPECT_EQ(hitAt(CGPointMake(entryPlace.x - 31, entryPlace.y)), window);
  tapAt(entryPlace);
  advanceMs(250);
  EXPECT_TRUE(ball->isPopped()) << "the tap reached the ball and opened the fan";
  EXPECT_TRUE(log.empty());

  // The places are asked with the y offset mirrored: an entry set 90 points below the ball
  // claims the circle 90 points above it.
  const auto other = ballWithEntries(1, ZuFloatingBallStayMode{3});
  other->showAtPoint(CGPointMake(100, 400));
  other->children()[0]->setOffset(ZuOffset{0, 90});
  EXPECT_EQ(hitAt(CGPointMake(130, 430 - 90)), other);
  EXPECT_EQ(hitAt(CGPointMake(130, 430 + 90)), window);
}

TEST_F(ZuFloatingBallMenuTest, HidingAnOpenFanKeepsItOpenUntilTheNextTap) {
  const auto ball = ballWithEntries(2);
  tapAndSettle(ball);
  ball->hide();
  advanceMs(1000);
  EXPECT_TRUE(ball->isPopped());
  EXPECT_EQ(ball->subviewCount(), 3U);
  ball->show();
  tapOn(ball);
  advanceMs(250);
  EXPECT_FALSE(ball->isPopped());
  EXPECT_EQ(ball->subviewCount(), 1U);
  EXPECT_TRUE(log.empty());
}

TEST_F(ZuFloatingBallMenuTest, PicturesOfTheBallAtRestAndOfItsOpenFan) {
  // A smaller screen, so that the pictures stay small.
  zu::UIScreen::mainScreen()->setBounds(CGRectMake(0, 0, 320, 480));
  window->setFrame(CGRectMake(0, 0, 320, 480));
  window->setBackgroundColor(UIColor::colorWithWhite(0.94, 1));
  const char* titles[] = {"首页", "消息", "设置", "帮助", "分享", "退出"};
  const auto ball = ZuFloatingBall::ballWithTitle("Zu", UIColor::colorWithRed(0.2, 0.5, 0.95, 1),
                                                  nullptr, ZuFloatingBallStayModeAuto);
  for (int i = 0; i < 6; ++i) {
    ball->addChild(ZuFloatingBallChild::childWithTitle(
        titles[i], UIColor::colorWithRed(1, 0.55 + 0.07 * i, 0.25, 1), nullptr, 0));
  }
  ball->show();
  EXPECT_TRUE(zukit::test::matchesSnapshot(*window, "floating-ball-at-rest"));

  tapOn(ball);
  advanceMs(1000);
  ASSERT_TRUE(ball->isPopped());
  EXPECT_EQ(ball->frame(), CGRectMake(320 - 150, 300, 60, 60));
  EXPECT_TRUE(zukit::test::matchesSnapshot(*window, "floating-ball-fan-of-six"));
}

}  // namespace
