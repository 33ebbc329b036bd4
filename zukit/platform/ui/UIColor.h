#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/runtime/RuntimeClass.h"
#include "zukit/platform/ui/Geometry.h"

namespace zu {

// A colour as the drawing layer takes it: red, green, blue and alpha, each from 0 to 1 (sRGB).
// The platform hands out a reference to an immutable colour object; here it is a plain value.
struct ZU_EXPORT CGColorRef {
  CGFloat red = 0;
  CGFloat green = 0;
  CGFloat blue = 0;
  CGFloat alpha = 1;
  bool operator==(const CGColorRef&) const = default;
};

// An immutable colour: sRGB components and alpha, each clamped to 0...1 (a component that is not
// a number counts as 0). Safe from any thread.
class ZU_EXPORT UIColor final : public Object {
 public:
  ZU_RUNTIME_CLASS(UIColor, Object)

  // colorWithRed:green:blue:alpha:.
  static std::shared_ptr<UIColor> colorWithRed(CGFloat red, CGFloat green, CGFloat blue,
                                               CGFloat alpha);
  // colorWithWhite:alpha: (a grey).
  static std::shared_ptr<UIColor> colorWithWhite(CGFloat white, CGFloat alpha);
  // The colour of a drawing-layer colour.
  static std::shared_ptr<UIColor> colorWithCGColor(CGColorRef color);
  // Named colours: opaque black, white, greys, primaries; clear is black at alpha 0.
  static std::shared_ptr<UIColor> blackColor();
  static std::shared_ptr<UIColor> whiteColor();
  static std::shared_ptr<UIColor> clearColor();
  static std::shared_ptr<UIColor> grayColor();
  static std::shared_ptr<UIColor> lightGrayColor();
  static std::shared_ptr<UIColor> darkGrayColor();
  static std::shared_ptr<UIColor> redColor();
  static std::shared_ptr<UIColor> greenColor();
  static std::shared_ptr<UIColor> blueColor();
  // The system's tint (buttons and links) and its destructive red.
  static std::shared_ptr<UIColor> systemBlueColor();
  static std::shared_ptr<UIColor> systemRedColor();

  // This colour with `alpha` (clamped) in place of its own.
  std::shared_ptr<UIColor> colorWithAlphaComponent(CGFloat alpha) const;
  // getRed:green:blue:alpha:: writes the components where the pointers are not null; true.
  bool getRed(CGFloat* red, CGFloat* green, CGFloat* blue, CGFloat* alpha) const;
  // The colour for the drawing layer.
  CGColorRef CGColor() const { return _color; }
  // The alpha component.
  CGFloat alpha() const { return _color.alpha; }

  // "UIExtendedSRGBColorSpace r g b a".
  std::string description() const override;
  // Equal to a colour with the same components.
  bool isEqual(const Object& other) const override;
  std::size_t hash() const override;

  // Made by the factories only.
  class Passkey {
    friend class UIColor;
    Passkey() = default;
  };
  UIColor(Passkey /*unused*/, CGColorRef color) : _color(color) {}

 private:
  const CGColorRef _color;
};

}  // namespace zu
