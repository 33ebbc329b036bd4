#pragma once

#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/runtime/RuntimeClass.h"
#include "zukit/platform/ui/Geometry.h"
#include "zukit/platform/ui/UIColor.h"

namespace zu {

// The layer behind a view: how its box is drawn. Every view has one (UIView::layer()), made with
// the view. Its values take effect when the view is drawn (ViewRenderer); like the view it is
// changed on the main thread only: a setter called elsewhere is refused with a console line.
class ZU_EXPORT CALayer final : public Object {
 public:
  ZU_RUNTIME_CLASS(CALayer, Object)

  CALayer() = default;

  // The radius of the rounded corners of the background, the border and (with masksToBounds)
  // the clip; 0 by default. A negative radius counts as 0.
  CGFloat cornerRadius() const { return _cornerRadius; }
  void setCornerRadius(CGFloat radius);
  // Drawing order among sibling layers: higher values are drawn above lower ones, equal values
  // in subview order; 0 by default. Hit testing follows the subview order alone.
  CGFloat zPosition() const { return _zPosition; }
  void setZPosition(CGFloat position);
  // The shadow's colour; opaque black by default.
  CGColorRef shadowColor() const { return _shadowColor; }
  void setShadowColor(CGColorRef color);
  // The shadow's offset from the layer, y growing downwards; (0, -3) by default.
  CGSize shadowOffset() const { return _shadowOffset; }
  void setShadowOffset(CGSize offset);
  // The shadow's opacity from 0 (no shadow, the default) to 1.
  float shadowOpacity() const { return _shadowOpacity; }
  void setShadowOpacity(float opacity);
  // The shadow's blur radius; 3 by default.
  CGFloat shadowRadius() const { return _shadowRadius; }
  void setShadowRadius(CGFloat radius);
  // True when the content and sublayers are clipped to the (rounded) bounds, which also hides
  // the shadow; false by default.
  bool masksToBounds() const { return _masksToBounds; }
  void setMasksToBounds(bool masks);
  // A border drawn inside the bounds; width 0 (none) and opaque black by default.
  CGFloat borderWidth() const { return _borderWidth; }
  void setBorderWidth(CGFloat width);
  CGColorRef borderColor() const { return _borderColor; }
  void setBorderColor(CGColorRef color);

  // "<CALayer: 0x...>" with the values that differ from the defaults.
  std::string description() const override;

 private:
  CGFloat _cornerRadius = 0;
  CGFloat _zPosition = 0;
  CGColorRef _shadowColor{0, 0, 0, 1};
  CGSize _shadowOffset{0, -3};
  float _shadowOpacity = 0;
  CGFloat _shadowRadius = 3;
  bool _masksToBounds = false;
  CGFloat _borderWidth = 0;
  CGColorRef _borderColor{0, 0, 0, 1};
};

}  // namespace zu
