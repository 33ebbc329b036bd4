// ZuFloatingBall: construction, look, showing and hiding, the tap and the resting place. The
// touch entries and the hit test are in ZuFloatingBall+Touches.cpp, the fan menu in
// ZuFloatingBall+Menu.cpp.

#include "zukit/ui/ZuFloatingBall.h"

#include "zukit/platform/ui/CALayer.h"
#include "zukit/platform/ui/UIColor.h"
#include "zukit/platform/ui/UIEvent.h"
#include "zukit/platform/ui/UIResponder.h"
#include "zukit/platform/ui/UIScreen.h"
#include "zukit/platform/ui/UIWindow.h"
#include "zukit/ui/ZuNavigation.h"

namespace {

// A new ball's distance from the screen's top.
constexpr zu::CGFloat kInitialTop = 300;
// The tint of a ball that has not been shown yet.
constexpr zu::CGFloat kInitialBackgroundAlpha = 0.3;
// The look show() gives the ball's layer.
constexpr zu::CGFloat kShownZPosition = 100;
constexpr zu::CGFloat kShadowAlpha = 0.7;
constexpr zu::CGSize kShadowOffset{-1, 1};
constexpr float kShadowOpacity = 0.6F;
// How long resetFrame() glides: Auto is quicker than the fixed sides.
constexpr zu::NSTimeInterval kAutoResetDuration = 0.25;
constexpr zu::NSTimeInterval kSideResetDuration = 0.5;
// How far from the edge resetFrame() leaves a ball with five or six entries, so that the wider
// fans stay on the screen.
constexpr zu::CGFloat kFiveEntryInset = 60;
constexpr zu::CGFloat kSixEntryInset = 90;
// The face: a round entry without an action.
constexpr zu::NSUInteger kRoundFace = 0;

zu::CGFloat screenWidth() {
  return zu::UIScreen::mainScreen()->bounds().size.width;
}

// The room resetFrame() leaves between the edge and a ball carrying `count` entries.
zu::CGFloat edgeInsetFor(std::size_t count) {
  if (count == 5) return kFiveEntryInset;
  if (count == 6) return kSixEntryInset;
  return 0;
}

}  // namespace

void ZuFloatingBall::addMethods(zu::Class* cls) {
  zu::class_addMethod(cls, zu::touchesBeganSelector(), zu::imp(&touchesBeganEntry));
  zu::class_addMethod(cls, zu::touchesMovedSelector(), zu::imp(&touchesMovedEntry));
  zu::class_addMethod(cls, zu::touchesEndedSelector(), zu::imp(&touchesEndedEntry));
  zu::class_addMethod(cls, zu::pointInsideSelector(), zu::imp(&pointInsideEntry));
  zu::class_addMethod(cls, zu::sel_registerName("childClicked:"), zu::imp(&childClickedEntry));
}

ZuFloatingBall::ZuFloatingBall(zu::CGRect frame)
    : UIView(zu::CGRectMake(screenWidth() - kSide, kInitialTop, kSide, kSide)) {
  // The radius comes from the rectangle asked for, not from the ball's own 60 points.
  layer()->setCornerRadius(frame.size.width / 2);
  initBackgroundColor(zu::UIColor::blackColor()->colorWithAlphaComponent(kInitialBackgroundAlpha));
}

ZuFloatingBall::ZuFloatingBall(zu::CGRect frame, ZuFloatingBallStayMode stayMode)
    : ZuFloatingBall(frame) {
  _stayMode = stayMode;
}

std::shared_ptr<ZuFloatingBall> ZuFloatingBall::ballWithTitle(const zu::Value& title,
                                                              const zu::Value& background,
                                                              std::function<void()> action,
                                                              ZuFloatingBallStayMode stayMode) {
  auto ball = std::make_shared<ZuFloatingBall>(zu::CGRectZero, stayMode);
  const auto face = ZuFloatingBallChild::childWithTitle(title, background, nullptr, kRoundFace);
  face->setFrame(ball->bounds());
  // Every touch on the face is the ball's.
  face->setUserInteractionEnabled(false);
  ball->addSubview(face);
  ball->setAction(std::move(action));
  return ball;
}

std::shared_ptr<ZuFloatingBall> ZuFloatingBall::strongBall() const {
  return std::static_pointer_cast<ZuFloatingBall>(strongSelf());
}

void ZuFloatingBall::show() {
  if (isHidden()) setHidden(false);
  setBackgroundColor(zu::UIColor::clearColor());
  layer()->setZPosition(kShownZPosition);
  layer()->setShadowColor(
      zu::UIColor::blackColor()->colorWithAlphaComponent(kShadowAlpha)->CGColor());
  layer()->setShadowOffset(kShadowOffset);
  layer()->setShadowOpacity(kShadowOpacity);
  if (const std::shared_ptr<zu::UIWindow> window = ZuNavigation::keyWindow()) {
    window->addSubview(strongSelf());
  }
}

void ZuFloatingBall::showAtPoint(zu::CGPoint point) {
  show();
  setFrame(zu::CGRect{point, frame().size});
}

void ZuFloatingBall::hide() {
  setHidden(true);
  removeFromSuperview();
}

std::optional<bool> ZuFloatingBall::restsOnLeft() const {
  switch (_stayMode) {
    case ZuFloatingBallStayModeAuto:
      return center().x < screenWidth() / 2;
    case ZuFloatingBallStayModeLeft:
      return true;
    case ZuFloatingBallStayModeRight:
      return false;
  }
  return std::nullopt;
}

void ZuFloatingBall::resetFrame() {
  const std::optional<bool> left = restsOnLeft();
  const std::shared_ptr<ZuFloatingBall> ball = strongBall();
  if (!left || !ball) return;
  const zu::NSTimeInterval duration =
      _stayMode == ZuFloatingBallStayModeAuto ? kAutoResetDuration : kSideResetDuration;
  UIView::animateWithDuration(duration, [ball, onLeft = *left] {
    // The number of entries and the screen's width as they are when the animation runs.
    const zu::CGFloat inset = edgeInsetFor(ball->_children.size());
    const zu::CGFloat x = onLeft ? inset : screenWidth() - kSide - inset;
    ball->setFrame(zu::CGRectMake(x, ball->frame().origin.y, kSide, kSide));
  });
}

void ZuFloatingBall::floatingBallClicked() {
  if (_action && _children.empty()) {
    // A copy: the action may replace itself.
    const std::function<void()> action = _action;
    action();
    return;
  }
  if (_isPopped) {
    hideSubBtn();
  } else {
    popSubBtn();
  }
}
