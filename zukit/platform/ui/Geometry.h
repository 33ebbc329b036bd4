#pragma once

#include "zukit/platform/foundation/Export.h"

namespace zu {

// The platform's coordinate type: double on 64-bit processors.
using CGFloat = double;

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

}  // namespace zu
