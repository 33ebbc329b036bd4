#include "zukit/platform/ui/TouchSequence.h"

#include <algorithm>

#include "zukit/platform/ui/UIApplication.h"
#include "zukit/platform/ui/UIEvent.h"
#include "zukit/platform/ui/UITouch.h"
#include "zukit/platform/ui/UIWindow.h"

namespace zu {

TouchSequence::TouchSequence(std::shared_ptr<UIWindow> window) : _window(std::move(window)) {}

bool TouchSequence::isActive() const {
  return _touch && _touch->phase() != UITouchPhaseEnded && _touch->phase() != UITouchPhaseCancelled;
}

void TouchSequence::send() {
  UIApplication::sharedApplication()->sendEvent(
      std::make_shared<UIEvent>(std::vector<std::shared_ptr<UITouch>>{_touch}));
}

std::shared_ptr<UITouch> TouchSequence::begin(CGPoint point) {
  if (isActive()) cancel();
  _touch = std::make_shared<UITouch>(_window, point);
  send();
  return _touch;
}

void TouchSequence::moveTo(CGPoint point) {
  if (!isActive()) return;
  _touch->setLocationInWindow(point);
  _touch->setPhase(UITouchPhaseMoved);
  send();
}

void TouchSequence::end() {
  if (!isActive()) return;
  _touch->setPhase(UITouchPhaseEnded);
  send();
}

void TouchSequence::end(CGPoint point) {
  if (!isActive()) return;
  _touch->setLocationInWindow(point);
  end();
}

void TouchSequence::cancel() {
  if (!isActive()) return;
  _touch->setPhase(UITouchPhaseCancelled);
  send();
}

void TouchSequence::tap(const std::shared_ptr<UIWindow>& window, CGPoint point) {
  TouchSequence finger(window);
  finger.begin(point);
  finger.end();
}

void TouchSequence::drag(const std::shared_ptr<UIWindow>& window, CGPoint from, CGPoint to,
                         int steps) {
  TouchSequence finger(window);
  finger.begin(from);
  const int count = std::max(steps, 1);
  for (int i = 1; i <= count; ++i) {
    const CGFloat progress = static_cast<CGFloat>(i) / count;
    finger.moveTo(
        CGPointMake(from.x + (to.x - from.x) * progress, from.y + (to.y - from.y) * progress));
  }
  finger.end();
}

}  // namespace zu
