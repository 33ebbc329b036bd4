#pragma once

#include <ostream>
#include <string>

#include "zukit/platform/foundation/Export.h"

namespace zu {

// The platform's coordinate type: double on 64-bit processors.
using CGFloat = double;
// A duration in seconds.
using NSTimeInterval = double;

// A point.
struct ZU_EXPORT CGPoint {
  CGFloat x = 0;
  CGFloat y = 0;
  bool operator==(const CGPoint&) const = default;
};

// A size.
struct ZU_EXPORT CGSize {
  CGFloat width = 0;
  CGFloat height = 0;
  bool operator==(const CGSize&) const = default;
};

// A rectangle: an origin and a size.
struct ZU_EXPORT CGRect {
  CGPoint origin;
  CGSize size;
  bool operator==(const CGRect&) const = default;
};

// The origin, the empty size and the rectangle at the origin with no size.
inline constexpr CGPoint CGPointZero{};
inline constexpr CGSize CGSizeZero{};
inline constexpr CGRect CGRectZero{};

// A point from coordinates.
constexpr CGPoint CGPointMake(CGFloat x, CGFloat y) {
  return CGPoint{x, y};
}
// A size from a width and a height.
constexpr CGSize CGSizeMake(CGFloat width, CGFloat height) {
  return CGSize{width, height};
}
// A rectangle from an origin and a size.
constexpr CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
  return CGRect{CGPoint{x, y}, CGSize{width, height}};
}

// The rectangle with the same area and a size that is not negative.
constexpr CGRect CGRectStandardize(CGRect rect) {
  if (rect.size.width < 0) {
    rect.origin.x += rect.size.width;
    rect.size.width = -rect.size.width;
  }
  if (rect.size.height < 0) {
    rect.origin.y += rect.size.height;
    rect.size.height = -rect.size.height;
  }
  return rect;
}
// The edges and the middle of a rectangle, along x and along y.
constexpr CGFloat CGRectGetMinX(const CGRect& rect) {
  return CGRectStandardize(rect).origin.x;
}
constexpr CGFloat CGRectGetMaxX(const CGRect& rect) {
  const CGRect r = CGRectStandardize(rect);
  return r.origin.x + r.size.width;
}
constexpr CGFloat CGRectGetMidX(const CGRect& rect) {
  const CGRect r = CGRectStandardize(rect);
  return r.origin.x + r.size.width / 2;
}
constexpr CGFloat CGRectGetMinY(const CGRect& rect) {
  return CGRectStandardize(rect).origin.y;
}
constexpr CGFloat CGRectGetMaxY(const CGRect& rect) {
  const CGRect r = CGRectStandardize(rect);
  return r.origin.y + r.size.height;
}
constexpr CGFloat CGRectGetMidY(const CGRect& rect) {
  const CGRect r = CGRectStandardize(rect);
  return r.origin.y + r.size.height / 2;
}
// The width and the height, never negative.
constexpr CGFloat CGRectGetWidth(const CGRect& rect) {
  return CGRectStandardize(rect).size.width;
}
constexpr CGFloat CGRectGetHeight(const CGRect& rect) {
  return CGRectStandardize(rect).size.height;
}
// True when the rectangle has no area.
constexpr bool CGRectIsEmpty(const CGRect& rect) {
  return rect.size.width == 0 || rect.size.height == 0;
}
// True when `point` lies in `rect`: the minimum edges belong to it, the maximum ones do not.
constexpr bool CGRectContainsPoint(const CGRect& rect, CGPoint point) {
  const CGRect r = CGRectStandardize(rect);
  return point.x >= r.origin.x && point.x < r.origin.x + r.size.width && point.y >= r.origin.y &&
         point.y < r.origin.y + r.size.height;
}
// `rect` moved by (dx, dy).
constexpr CGRect CGRectOffset(const CGRect& rect, CGFloat dx, CGFloat dy) {
  const CGRect r = CGRectStandardize(rect);
  return CGRectMake(r.origin.x + dx, r.origin.y + dy, r.size.width, r.size.height);
}
// `rect` shrunk by dx on the left and right and dy at the top and bottom (grown for negative
// values).
constexpr CGRect CGRectInset(const CGRect& rect, CGFloat dx, CGFloat dy) {
  const CGRect r = CGRectStandardize(rect);
  return CGRectMake(r.origin.x + dx, r.origin.y + dy, r.size.width - 2 * dx,
                    r.size.height - 2 * dy);
}

// "{x, y}", "{width, height}" and "{{x, y}, {width, height}}", numbers in their shortest form.
ZU_EXPORT std::string NSStringFromCGPoint(CGPoint point);
ZU_EXPORT std::string NSStringFromCGSize(CGSize size);
ZU_EXPORT std::string NSStringFromCGRect(CGRect rect);

// The same texts on a stream (for test failure messages).
ZU_EXPORT std::ostream& operator<<(std::ostream& stream, const CGPoint& point);
ZU_EXPORT std::ostream& operator<<(std::ostream& stream, const CGSize& size);
ZU_EXPORT std::ostream& operator<<(std::ostream& stream, const CGRect& rect);

}  // namespace zu
