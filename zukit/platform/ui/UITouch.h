#pragma once

#include <memory>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"
#include "zukit/platform/ui/Geometry.h"

namespace zu {

class UIView;
class UIWindow;

// Where a touch is in its gesture.
enum UITouchPhase : NSInteger {
  UITouchPhaseBegan = 0,
  UITouchPhaseMoved = 1,
  UITouchPhaseStationary = 2,
  UITouchPhaseEnded = 3,
  UITouchPhaseCancelled = 4,
};

// One finger on the screen, from the moment it goes down until it is lifted or the gesture is
// cancelled: the same object travels through every event of its gesture. It is in a window, at
// a location kept in the window's coordinates, and is bound to the view that the hit test found
// when it began (UIApplication::sendEvent). The setters are for whatever stands in for the
// platform's event loop (a host, a test, TouchSequence). Main thread only.
class ZU_EXPORT UITouch final : public Object {
 public:
  ZU_RUNTIME_CLASS(UITouch, Object)

  // A touch going down in `window` at `location` (window coordinates), in phase Began.
  UITouch(std::shared_ptr<UIWindow> window, CGPoint location);

  // locationInView:: the location in `view`'s coordinates; in the window's for no view.
  CGPoint locationInView(const std::shared_ptr<UIView>& view) const;
  // previousLocationInView:: the location before the last move, in `view`'s coordinates.
  CGPoint previousLocationInView(const std::shared_ptr<UIView>& view) const;
  // The phase.
  UITouchPhase phase() const { return _phase; }
  // The window the touch is in.
  std::shared_ptr<UIWindow> window() const { return _window; }
  // The view the touch is bound to, or nullptr before it has been delivered (or when no view
  // took it).
  std::shared_ptr<UIView> view() const { return _view; }
  // The number of taps (1).
  NSUInteger tapCount() const { return 1; }
  // When the touch last changed, in seconds on the dispatch clock.
  NSTimeInterval timestamp() const { return _timestamp; }

  // Moves the touch to `location` in window coordinates, keeping the old one as the previous
  // location, and stamps it with the dispatch clock's time.
  void setLocationInWindow(CGPoint location);
  // Sets the phase and stamps the touch.
  void setPhase(UITouchPhase phase);
  // Binds the touch to `view` (done by the hit test of the touch's first event).
  void setView(std::shared_ptr<UIView> view);

  // "<UITouch: 0x...> phase: Began tap count: 1 window: ... view: ... location in window: {x, y}".
  std::string description() const override;

 private:
  std::shared_ptr<UIWindow> _window;
  std::shared_ptr<UIView> _view;
  CGPoint _location;
  CGPoint _previousLocation;
  UITouchPhase _phase = UITouchPhaseBegan;
  NSTimeInterval _timestamp = 0;
};

}  // namespace zu
