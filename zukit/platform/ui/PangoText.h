#pragma once

// Internal to libzukit (not installed, not exported): Pango and GLib ownership helpers.

#include <pango/pangocairo.h>

#include <memory>
#include <string>

#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/ui/Geometry.h"
#include "zukit/platform/ui/UIFont.h"

namespace zu::detail {

// Releases a GLib object.
struct GObjectRelease {
  void operator()(void* object) const { g_object_unref(object); }
};
using PangoLayoutPointer = std::unique_ptr<PangoLayout, GObjectRelease>;

// The font options of every text: grey anti-aliasing and no hinting, so that a text has the same
// size at every scale and draws the same on every machine with the same fonts.
const cairo_font_options_t* textFontOptions();

// A layout of `text` in `font` for `context`: `width` points wide (0 or less: unwrapped),
// `numberOfLines` lines at most (0: no limit; the last one ends with an ellipsis when cut), its
// lines aligned by `alignment`.
PangoLayoutPointer makeTextLayout(PangoContext* context, const std::string& text,
                                  const UIFont& font, CGFloat width, NSInteger numberOfLines,
                                  NSTextAlignment alignment);

// The layout's logical size in points.
CGSize textLayoutSize(PangoLayout* layout);

}  // namespace zu::detail
