#include "zukit/platform/ui/CALayer.h"

#include <algorithm>
#include <cmath>

#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/ui/MainThreadCheck.h"

namespace zu {

namespace {

CGFloat nonNegative(CGFloat value) {
  return std::isnan(value) ? 0 : std::max<CGFloat>(value, 0);
}

}  // namespace

void CALayer::setCornerRadius(CGFloat radius) {
  if (!detail::onMainThreadOrRefuse("-[CALayer setCornerRadius:]")) return;
  _cornerRadius = nonNegative(radius);
}

void CALayer::setZPosition(CGFloat position) {
  if (!detail::onMainThreadOrRefuse("-[CALayer setZPosition:]")) return;
  _zPosition = std::isnan(position) ? 0 : position;
}

void CALayer::setShadowColor(CGColorRef color) {
  if (!detail::onMainThreadOrRefuse("-[CALayer setShadowColor:]")) return;
  _shadowColor = color;
}

void CALayer::setShadowOffset(CGSize offset) {
  if (!detail::onMainThreadOrRefuse("-[CALayer setShadowOffset:]")) return;
  _shadowOffset = offset;
}

void CALayer::setShadowOpacity(float opacity) {
  if (!detail::onMainThreadOrRefuse("-[CALayer setShadowOpacity:]")) return;
  _shadowOpacity = std::isnan(opacity) ? 0.0F : std::clamp(opacity, 0.0F, 1.0F);
}

void CALayer::setShadowRadius(CGFloat radius) {
  if (!detail::onMainThreadOrRefuse("-[CALayer setShadowRadius:]")) return;
  _shadowRadius = nonNegative(radius);
}

void CALayer::setMasksToBounds(bool masks) {
  if (!detail::onMainThreadOrRefuse("-[CALayer setMasksToBounds:]")) return;
  _masksToBounds = masks;
}

void CALayer::setBorderWidth(CGFloat width) {
  if (!detail::onMainThreadOrRefuse("-[CALayer setBorderWidth:]")) return;
  _borderWidth = nonNegative(width);
}

void CALayer::setBorderColor(CGColorRef color) {
  if (!detail::onMainThreadOrRefuse("-[CALayer setBorderColor:]")) return;
  _borderColor = color;
}

std::string CALayer::description() const {
  std::string text = format("<CALayer: %p", static_cast<const void*>(this));
  if (_cornerRadius != 0) text += format("; cornerRadius = %g", _cornerRadius);
  if (_zPosition != 0) text += format("; zPosition = %g", _zPosition);
  if (_shadowOpacity != 0) {
    text += format("; shadowOpacity = %g; shadowOffset = %@", _shadowOpacity,
                   NSStringFromCGSize(_shadowOffset));
  }
  if (_masksToBounds) text += "; masksToBounds = YES";
  return text + ">";
}

}  // namespace zu
