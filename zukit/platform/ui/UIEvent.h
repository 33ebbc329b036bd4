#pragma once

#include <memory>
#include <vector>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/runtime/NSSet.h"
#include "zukit/platform/runtime/RuntimeClass.h"
#include "zukit/platform/ui/Geometry.h"

namespace zu {

class UITouch;
class UIView;
class UIWindow;

// The kinds of event; only touches are delivered.
enum UIEventType : NSInteger {
  UIEventTypeTouches = 0,
};

// An event: the touches that changed together at one moment, as the platform's event loop hands
// them to UIApplication::sendEvent. Immutable once made.
class ZU_EXPORT UIEvent final : public Object {
 public:
  ZU_RUNTIME_CLASS(UIEvent, Object)

  // A touch event carrying `touches` (missing ones are left out), stamped with the dispatch
  // clock's time.
  explicit UIEvent(const std::vector<std::shared_ptr<UITouch>>& touches);

  // The kind of event.
  UIEventType type() const { return UIEventTypeTouches; }
  // Every touch of the event.
  std::shared_ptr<NSSet> allTouches() const { return _touches; }
  // The touches bound to `view`.
  std::shared_ptr<NSSet> touchesForView(const std::shared_ptr<UIView>& view) const;
  // The touches in `window`.
  std::shared_ptr<NSSet> touchesForWindow(const std::shared_ptr<UIWindow>& window) const;
  // When the event happened, in seconds on the dispatch clock.
  NSTimeInterval timestamp() const { return _timestamp; }

 private:
  std::shared_ptr<NSSet> _touches;
  NSTimeInterval _timestamp;
};

}  // namespace zu
