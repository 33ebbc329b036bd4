// ZuFloatingBall's fan menu: adding entries, opening them around the ball from a table of
// stored places, folding them back, and an entry's tap.

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include "zukit/platform/ui/UIControl.h"
#include "zukit/platform/ui/UIScreen.h"
#include "zukit/ui/ZuFloatingBall.h"

namespace {

// The most entries a ball carries.
constexpr std::size_t kMaximumChildren = 6;
// How long the fan takes to open or to fold.
constexpr zu::NSTimeInterval kFanDuration = 0.25;

// 45 x sqrt(3), that is 90 x cos 30 degrees, kept as a stored value so that every place of the
// table is exact and the same on every run.
constexpr zu::CGFloat kC = 77.94228634059948;

// Where each entry of a fan of n (the row n - 1) goes when the fan opens to the left, entry by
// entry: all on a circle of radius 90 around the ball's centre, neighbours 60 degrees apart.
// The first five are centred on the opening direction and a sixth closes the ring on the far
// side. A fan that opens to the right uses the mirror image (-x, y).
constexpr std::array<std::array<ZuOffset, kMaximumChildren>, kMaximumChildren> kFanLayouts{{
    {{{-90, 0}}},
    {{{-kC, -45}, {-kC, 45}}},
    {{{-45, -kC}, {-90, 0}, {-45, kC}}},
    {{{0, -90}, {-kC, -45}, {-kC, 45}, {0, 90}}},
    {{{45, -kC}, {-45, -kC}, {-90, 0}, {-45, kC}, {45, kC}}},
    {{{45, -kC}, {-45, -kC}, {-90, 0}, {-45, kC}, {45, kC}, {90, 0}}},
}};

zu::SEL childClickedSelector() {
  static const zu::SEL selector = zu::sel_registerName("childClicked:");
  return selector;
}

zu::CGPoint middleOf(zu::CGRect rect) {
  return zu::CGPointMake(zu::CGRectGetMidX(rect), zu::CGRectGetMidY(rect));
}

}  // namespace

void ZuFloatingBall::addChild(const std::shared_ptr<ZuFloatingBallChild>& child) {
  if (!child || _children.size() >= kMaximumChildren) return;
  if (std::find(_children.begin(), _children.end(), child) != _children.end()) return;
  _children.push_back(child);
}

void ZuFloatingBall::popSubBtn() {
  // The left edge decides here, where the resting place looks at the centre.
  const bool toLeft = frame().origin.x >= zu::UIScreen::mainScreen()->bounds().size.width / 2;
  _popDirection = toLeft ? 0 : 1;
  _popSubBtnToLeft(toLeft);
}

void ZuFloatingBall::_popSubBtnToLeft(bool toLeft) {
  const std::shared_ptr<ZuFloatingBall> ball = strongBall();
  if (!ball) return;
  const zu::CGRect bounds = this->bounds();
  for (std::size_t index = 0; index < _children.size(); ++index) {
    const std::shared_ptr<ZuFloatingBallChild>& child = _children[index];
    // Beneath the face, in the entries' order.
    child->removeFromSuperview();
    insertSubview(child, static_cast<zu::NSInteger>(index));
    child->setBounds(bounds);
    child->setCenter(middleOf(bounds));
    // Removed first, so that reopening never registers the ball twice.
    child->removeTarget(ball, childClickedSelector(), zu::UIControlEventTouchUpInside);
    child->addTarget(ball, childClickedSelector(), zu::UIControlEventTouchUpInside);
  }
  UIView::animateWithDuration(
      kFanDuration,
      [ball, toLeft] {
        const std::vector<std::shared_ptr<ZuFloatingBallChild>>& children = ball->_children;
        const std::size_t count = children.size();
        if (count > 0 && count <= kMaximumChildren) {
          const auto& layout = kFanLayouts.at(count - 1);
          for (std::size_t index = 0; index < count; ++index)
            children[index]->setOffset(layout.at(index));
        }
        for (const std::shared_ptr<ZuFloatingBallChild>& child : children) {
          if (!toLeft) child->setOffset(ZuOffset{-child->offset().x, child->offset().y});
          const zu::CGPoint center = child->center();
          child->setCenter(
              zu::CGPointMake(center.x + child->offset().x, center.y + child->offset().y));
        }
      },
      [ball](bool /*finished*/) {
        ball->_isPopped = true;
        ball->resetFrame();
      });
}

void ZuFloatingBall::hideSubBtn() {
  const std::shared_ptr<ZuFloatingBall> ball = strongBall();
  if (!ball) return;
  UIView::animateWithDuration(
      kFanDuration,
      [ball] {
        const zu::CGPoint middle = middleOf(ball->bounds());
        for (const std::shared_ptr<ZuFloatingBallChild>& child : ball->_children)
          child->setCenter(middle);
      },
      [ball](bool /*finished*/) {
        // A copy: taking an entry off the ball must not disturb the walk.
        const std::vector<std::shared_ptr<ZuFloatingBallChild>> children = ball->_children;
        for (const std::shared_ptr<ZuFloatingBallChild>& child : children)
          child->removeFromSuperview();
        ball->_isPopped = false;
      });
}

void ZuFloatingBall::childClicked(const std::shared_ptr<ZuFloatingBallChild>& child) {
  hideSubBtn();
  if (child && child->action()) {
    // A copy: the action may replace itself.
    const std::function<void()> action = child->action();
    action();
  }
}

void ZuFloatingBall::childClickedEntry(zu::Object* self, zu::SEL /*selector*/,
                                       const zu::id& child) {
  if (auto* ball = dynamic_cast<ZuFloatingBall*>(self)) {
    ball->childClicked(std::dynamic_pointer_cast<ZuFloatingBallChild>(child));
  }
}
