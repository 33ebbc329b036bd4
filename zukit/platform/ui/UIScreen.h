#pragma once

#include <memory>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/runtime/RuntimeClass.h"
#include "zukit/platform/ui/Geometry.h"

namespace zu {

// The screen the views are shown on. There is no display on Linux: the main screen's size is
// whatever the host says, a phone's 390 x 844 points until then. Readers (the floating ball
// reads the bounds at every use) always see the current size. Safe from any thread.
class ZU_EXPORT UIScreen final : public Object {
 public:
  ZU_RUNTIME_CLASS(UIScreen, Object)

  // The size of the main screen before a host sets one.
  static constexpr CGRect kDefaultBounds = CGRectMake(0, 0, 390, 844);

  // The main screen.
  static std::shared_ptr<UIScreen> mainScreen();

  // The screen's rectangle in points, at the origin.
  CGRect bounds() const;
  // Sets the screen's size (the origin is kept at 0, 0; negative sizes count as their size).
  void setBounds(CGRect bounds);

 private:
  mutable Mutex _mutex;
  CGRect _bounds ZU_GUARDED_BY(_mutex) = kDefaultBounds;
};

}  // namespace zu
