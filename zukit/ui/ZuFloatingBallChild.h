#pragma once

#include <functional>
#include <memory>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"
#include "zukit/platform/ui/Geometry.h"
#include "zukit/platform/ui/UIButton.h"

// Where a menu entry sits relative to its ball's centre while the fan is open, in points, y
// growing downwards as on the screen.
struct ZU_EXPORT ZuOffset {
  zu::CGFloat x = 0;
  zu::CGFloat y = 0;
  bool operator==(const ZuOffset&) const = default;
};

// One entry of a floating ball's fan menu (see ZuFloatingBall): a 60-point button with a title,
// a background colour or image, and an action run when the entry is tapped. The ball places it
// by its offset when the fan opens and keeps the offset after the fan closes. Main thread only,
// like every view.
class ZU_EXPORT ZuFloatingBallChild : public zu::UIButton {
 public:
  ZU_RUNTIME_CLASS(ZuFloatingBallChild, zu::UIButton)

  // A custom-type entry with the zero frame, no action and the offset (0, 0); the factory below
  // gives it its size and look.
  ZuFloatingBallChild();

  // childWithTitle:background:action:style:: an entry of bounds (0, 0, 60, 60) showing `title`
  // in black on `background`, which is a UIColor (the background colour) or a UIImage (the
  // normal state's background image), held by the Value; anything else leaves the entry without
  // a background. `action` may be empty. Style 0 makes the entry round (corner radius 30); any
  // other style keeps square corners.
  static std::shared_ptr<ZuFloatingBallChild> childWithTitle(const zu::Value& title,
                                                             const zu::Value& background,
                                                             std::function<void()> action,
                                                             zu::NSUInteger style);

  // What a tap on the entry runs (after the ball has begun to fold its fan); may be empty.
  const std::function<void()>& action() const { return _action; }
  void setAction(std::function<void()> action) { _action = std::move(action); }
  // Where the entry sits relative to the ball's centre while the fan is open.
  ZuOffset offset() const { return _offset; }
  void setOffset(ZuOffset offset) { _offset = offset; }

 private:
  std::function<void()> _action;
  ZuOffset _offset;
};
