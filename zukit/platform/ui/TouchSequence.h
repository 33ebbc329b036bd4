#pragma once

#include <memory>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/ui/Geometry.h"

namespace zu {

class UITouch;
class UIWindow;

// One finger's gesture on a window, driven as the platform's event loop would drive it: each
// step updates the gesture's one UITouch, wraps it in a UIEvent and hands that to
// UIApplication::sendEvent, which hit-tests the first event and delivers the touch methods to
// the view found. Points are in the window's coordinates. For hosts, tests and demos that play
// touches; main thread only.
//
//   zu::TouchSequence finger(window);
//   finger.begin({100, 200});
//   finger.moveTo({140, 260});
//   finger.end();
class ZU_EXPORT TouchSequence {
 public:
  // A gesture on `window`; nothing happens until begin().
  explicit TouchSequence(std::shared_ptr<UIWindow> window);

  // Puts the finger down at `point` (phase Began) and returns the touch. A gesture that is
  // still going on is cancelled first.
  std::shared_ptr<UITouch> begin(CGPoint point);
  // Moves the finger to `point` (phase Moved); nothing before begin() or after the end.
  void moveTo(CGPoint point);
  // Lifts the finger where it is (phase Ended); nothing before begin() or after the end.
  void end();
  // Moves the finger to `point` and lifts it there in one event.
  void end(CGPoint point);
  // Cancels the gesture (phase Cancelled), as the system does when something takes the touch
  // away; nothing before begin() or after the end.
  void cancel();
  // The gesture's touch, or nullptr before begin().
  std::shared_ptr<UITouch> touch() const { return _touch; }

  // A whole tap at `point`: down and up.
  static void tap(const std::shared_ptr<UIWindow>& window, CGPoint point);
  // A whole drag from `from` to `to` in `steps` moves (at least one), then up at `to`.
  static void drag(const std::shared_ptr<UIWindow>& window, CGPoint from, CGPoint to, int steps);

 private:
  bool isActive() const;
  void send();

  std::shared_ptr<UIWindow> _window;
  std::shared_ptr<UITouch> _touch;
};

}  // namespace zu
