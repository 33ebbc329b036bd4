#include "zukit/platform/ui/Geometry.h"

#include "zukit/platform/foundation/Format.h"

namespace zu {

std::string NSStringFromCGPoint(CGPoint point) {
  return format("{%g, %g}", point.x, point.y);
}

std::string NSStringFromCGSize(CGSize size) {
  return format("{%g, %g}", size.width, size.height);
}

std::string NSStringFromCGRect(CGRect rect) {
  return "{" + NSStringFromCGPoint(rect.origin) + ", " + NSStringFromCGSize(rect.size) + "}";
}

std::ostream& operator<<(std::ostream& stream, const CGPoint& point) {
  return stream << NSStringFromCGPoint(point);
}

std::ostream& operator<<(std::ostream& stream, const CGSize& size) {
  return stream << NSStringFromCGSize(size);
}

std::ostream& operator<<(std::ostream& stream, const CGRect& rect) {
  return stream << NSStringFromCGRect(rect);
}

}  // namespace zu
