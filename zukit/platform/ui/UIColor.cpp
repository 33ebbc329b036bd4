#include "zukit/platform/ui/UIColor.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include "zukit/platform/foundation/Format.h"

namespace zu {

namespace {

CGFloat clampComponent(CGFloat value) {
  return std::isnan(value) ? 0 : std::clamp<CGFloat>(value, 0, 1);
}

}  // namespace

std::shared_ptr<UIColor> UIColor::colorWithRed(CGFloat red, CGFloat green, CGFloat blue,
                                               CGFloat alpha) {
  return std::make_shared<UIColor>(
      Passkey(), CGColorRef{clampComponent(red), clampComponent(green), clampComponent(blue),
                            clampComponent(alpha)});
}

std::shared_ptr<UIColor> UIColor::colorWithWhite(CGFloat white, CGFloat alpha) {
  return colorWithRed(white, white, white, alpha);
}

std::shared_ptr<UIColor> UIColor::colorWithCGColor(CGColorRef color) {
  return colorWithRed(color.red, color.green, color.blue, color.alpha);
}

std::shared_ptr<UIColor> UIColor::blackColor() {
  return colorWithWhite(0, 1);
}

std::shared_ptr<UIColor> UIColor::whiteColor() {
  return colorWithWhite(1, 1);
}

std::shared_ptr<UIColor> UIColor::clearColor() {
  return colorWithWhite(0, 0);
}

std::shared_ptr<UIColor> UIColor::grayColor() {
  return colorWithWhite(0.5, 1);
}

std::shared_ptr<UIColor> UIColor::lightGrayColor() {
  return colorWithWhite(2.0 / 3, 1);
}

std::shared_ptr<UIColor> UIColor::darkGrayColor() {
  return colorWithWhite(1.0 / 3, 1);
}

std::shared_ptr<UIColor> UIColor::redColor() {
  return colorWithRed(1, 0, 0, 1);
}

std::shared_ptr<UIColor> UIColor::greenColor() {
  return colorWithRed(0, 1, 0, 1);
}

std::shared_ptr<UIColor> UIColor::blueColor() {
  return colorWithRed(0, 0, 1, 1);
}

std::shared_ptr<UIColor> UIColor::systemBlueColor() {
  return colorWithRed(0, 122.0 / 255, 1, 1);
}

std::shared_ptr<UIColor> UIColor::systemRedColor() {
  return colorWithRed(1, 59.0 / 255, 48.0 / 255, 1);
}

std::shared_ptr<UIColor> UIColor::colorWithAlphaComponent(CGFloat alpha) const {
  return colorWithRed(_color.red, _color.green, _color.blue, alpha);
}

bool UIColor::getRed(CGFloat* red, CGFloat* green, CGFloat* blue, CGFloat* alpha) const {
  if (red != nullptr) *red = _color.red;
  if (green != nullptr) *green = _color.green;
  if (blue != nullptr) *blue = _color.blue;
  if (alpha != nullptr) *alpha = _color.alpha;
  return true;
}

std::string UIColor::description() const {
  return format("UIExtendedSRGBColorSpace %g %g %g %g", _color.red, _color.green, _color.blue,
                _color.alpha);
}

bool UIColor::isEqual(const Object& other) const {
  const auto* color = dynamic_cast<const UIColor*>(&other);
  return color != nullptr && color->_color == _color;
}

std::size_t UIColor::hash() const {
  const std::hash<CGFloat> hashOf;
  return hashOf(_color.red) ^ (hashOf(_color.green) << 1U) ^ (hashOf(_color.blue) << 2U) ^
         (hashOf(_color.alpha) << 3U);
}

}  // namespace zu
