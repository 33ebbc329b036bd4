// ZuFloatingBall's runtime entries for touches and hit testing: the ball follows a dragging
// finger within the screen, tells a tap from a drag, glides to its edge when let go, and claims
// touches on its own disc and on its entries' places.

#include <algorithm>
#include <cmath>
#include <optional>

#include "zukit/platform/runtime/MessageSend.h"
#include "zukit/platform/ui/UIEvent.h"
#include "zukit/platform/ui/UIResponder.h"
#include "zukit/platform/ui/UIScreen.h"
#include "zukit/platform/ui/UITouch.h"
#include "zukit/ui/ZuFloatingBall.h"
#include "zukit/utils/ZuUtils.h"

namespace {

using TouchesSignature = void (*)(zu::Object*, zu::SEL, const std::shared_ptr<zu::NSSet>&,
                                  const std::shared_ptr<zu::UIEvent>&);

// A gesture whose end leaves the ball's origin farther than this from where it began, in either
// axis, is a drag; otherwise it is a tap.
constexpr zu::CGFloat kTapTolerance = 2;
// A ball pushed against the screen's top rests with its centre at this share of its height,
// 12 points below the top for the 60-point ball.
constexpr zu::CGFloat kTopRestShare = 0.7;
// How long the ball glides to its edge when let go.
constexpr zu::NSTimeInterval kReleaseSnapDuration = 0.5;

ZuFloatingBall* asBall(zu::Object* self) {
  return dynamic_cast<ZuFloatingBall*>(self);
}

// Sends a touch method to the ball's superclass's entry, for what a plain view does with it.
void sendToSuperclass(zu::Object* self, zu::SEL selector, const std::shared_ptr<zu::NSSet>& touches,
                      const std::shared_ptr<zu::UIEvent>& event) {
  zu::objc_msgSendSuper<void, const std::shared_ptr<zu::NSSet>&,
                        const std::shared_ptr<zu::UIEvent>&>(
      self, ZuFloatingBall::staticClass()->superclass(), selector, touches, event);
}

std::shared_ptr<zu::UITouch> anyTouch(const std::shared_ptr<zu::NSSet>& touches) {
  return touches ? touches->anyObject<zu::UITouch>() : nullptr;
}

}  // namespace

void ZuFloatingBall::touchesBeganEntry(zu::Object* self, zu::SEL selector,
                                       const std::shared_ptr<zu::NSSet>& touches,
                                       const std::shared_ptr<zu::UIEvent>& event) {
  sendToSuperclass(self, selector, touches, event);
  ZuFloatingBall* ball = asBall(self);
  const std::shared_ptr<zu::UITouch> touch = anyTouch(touches);
  if (ball == nullptr || !touch) return;
  ball->_touchPoint = touch->locationInView(ball->strongSelf());
  const zu::CGRect frame = ball->frame();
  ball->_touchBtnX = frame.origin.x;
  ball->_touchBtnY = frame.origin.y;
}

void ZuFloatingBall::touchesMovedEntry(zu::Object* self, zu::SEL /*selector*/,
                                       const std::shared_ptr<zu::NSSet>& touches,
                                       const std::shared_ptr<zu::UIEvent>& /*event*/) {
  // The move is the ball's alone: it is not passed on.
  ZuFloatingBall* ball = asBall(self);
  const std::shared_ptr<zu::UITouch> touch = anyTouch(touches);
  if (ball == nullptr || !touch) return;
  const zu::CGPoint location = touch->locationInView(ball->strongSelf());
  const zu::CGPoint center = ball->center();
  // The ball moves under the finger, which stays at the same place on it.
  const zu::CGPoint moved = zu::CGPointMake(center.x + location.x - ball->_touchPoint.x,
                                            center.y + location.y - ball->_touchPoint.y);
  ball->setCenter(moved);

  const zu::CGSize screen = zu::UIScreen::mainScreen()->bounds().size;
  const zu::CGRect frame = ball->frame();
  const zu::CGFloat x = frame.origin.x;
  const zu::CGFloat y = frame.origin.y;
  const zu::CGFloat w = frame.size.width;
  const zu::CGFloat h = frame.size.height;
  // The right-hand test looks at the left edge, so the ball may go until its left edge reaches
  // the screen's right edge, while on the left it is held fully on the screen.
  if (x > screen.width) {
    ball->setCenter(zu::CGPointMake(screen.width - w / 2, moved.y));
  } else if (x < 0) {
    ball->setCenter(zu::CGPointMake(w / 2, moved.y));
  }
  // Judged on the frame before the horizontal correction, and setting x back to the
  // uncorrected one: when both corrections apply in one move, the vertical one wins.
  if (y <= 0) {
    ball->setCenter(zu::CGPointMake(moved.x, kTopRestShare * h));
  } else if (y > screen.height - h) {
    ball->setCenter(zu::CGPointMake(moved.x, screen.height - h / 2));
  }
}

void ZuFloatingBall::touchesEndedEntry(zu::Object* self, zu::SEL selector,
                                       const std::shared_ptr<zu::NSSet>& touches,
                                       const std::shared_ptr<zu::UIEvent>& event) {
  ZuFloatingBall* found = asBall(self);
  if (found == nullptr) return;
  // The tap's action may take the ball off its window, which may hold the last reference.
  const std::shared_ptr<ZuFloatingBall> ball = found->strongBall();
  if (!ball) return;
  const zu::CGPoint origin = ball->frame().origin;
  if (std::abs(origin.x - ball->_touchBtnX) > kTapTolerance ||
      std::abs(origin.y - ball->_touchBtnY) > kTapTolerance) {
    // A drag: the ball has no entry of its own for this, so the inherited one runs.
    zu::sendTouches(ball, zu::touchesCancelledSelector(), touches, event);
  } else {
    sendToSuperclass(self, selector, touches, event);
    ball->floatingBallClicked();
  }

  // Flush to the edge, whatever the entries: unlike resetFrame(), which makes room for them.
  const std::optional<bool> left = ball->restsOnLeft();
  if (!left) return;
  UIView::animateWithDuration(kReleaseSnapDuration, [ball, onLeft = *left, y = origin.y] {
    const zu::CGFloat width = zu::UIScreen::mainScreen()->bounds().size.width;
    ball->setFrame(zu::CGRectMake(onLeft ? 0 : width - kSide, y, kSide, kSide));
  });
}

bool ZuFloatingBall::pointInsideEntry(zu::Object* self, zu::SEL /*selector*/, zu::CGPoint point,
                                      const std::shared_ptr<zu::UIEvent>& /*event*/) {
  const ZuFloatingBall* ball = asBall(self);
  if (ball == nullptr) return false;
  if (zu::CGRectContainsPoint(ball->bounds(), point)) return true;
  // The entries' circles, open or not: x offsets are subtracted and y offsets added, which
  // covers the same circles as the entries because every fan is symmetric top to bottom.
  return std::ranges::any_of(ball->_children, [point](const auto& child) {
    const ZuOffset offset = child->offset();
    return ZuUtils::point(zu::CGPointMake(point.x - offset.x, point.y + offset.y), child->bounds());
  });
}
