#pragma once

// Internal to libzukit (not installed, not exported): the cairo surface behind a drawing context.

#include <cairo.h>

#include "zukit/platform/ui/CGContext.h"

namespace zu {

// What a CGContext draws into: a cairo context whose user space is in points.
struct CGContext::Impl {
  cairo_t* cairo = nullptr;
};

namespace detail {

// Adds the path of `rect` with corners rounded by `radius` to `cairo`.
void addRoundedRectPath(cairo_t* cairo, CGRect rect, CGFloat radius);
// Sets `color` as the source of `cairo`.
void setSourceColor(cairo_t* cairo, CGColorRef color);

}  // namespace detail

}  // namespace zu
