#include "zukit/platform/ui/UITouch.h"

#include "zukit/platform/dispatch/DispatchClock.h"
#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/ui/UIWindow.h"

namespace zu {

namespace {

NSTimeInterval clockSeconds() {
  return static_cast<NSTimeInterval>(DispatchClock::now()) / 1e9;
}

const char* phaseName(UITouchPhase phase) {
  switch (phase) {
    case UITouchPhaseBegan:
      return "Began";
    case UITouchPhaseMoved:
      return "Moved";
    case UITouchPhaseStationary:
      return "Stationary";
    case UITouchPhaseEnded:
      return "Ended";
    case UITouchPhaseCancelled:
      return "Cancelled";
  }
  return "Unknown";
}

}  // namespace

UITouch::UITouch(std::shared_ptr<UIWindow> window, CGPoint location)
    : _window(std::move(window)),
      _location(location),
      _previousLocation(location),
      _timestamp(clockSeconds()) {}

CGPoint UITouch::locationInView(const std::shared_ptr<UIView>& view) const {
  if (!view || !_window) return _location;
  return view->convertPointFromView(_location, _window);
}

CGPoint UITouch::previousLocationInView(const std::shared_ptr<UIView>& view) const {
  if (!view || !_window) return _previousLocation;
  return view->convertPointFromView(_previousLocation, _window);
}

void UITouch::setLocationInWindow(CGPoint location) {
  _previousLocation = _location;
  _location = location;
  _timestamp = clockSeconds();
}

void UITouch::setPhase(UITouchPhase phase) {
  _phase = phase;
  _timestamp = clockSeconds();
}

void UITouch::setView(std::shared_ptr<UIView> view) {
  _view = std::move(view);
}

std::string UITouch::description() const {
  return format("<UITouch: %p> phase: %s tap count: 1 window: %@ view: %@ location in window: %@",
                static_cast<const void*>(this), phaseName(_phase), _window, _view,
                NSStringFromCGPoint(_location));
}

}  // namespace zu
