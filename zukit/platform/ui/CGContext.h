#pragma once

#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/ui/Geometry.h"
#include "zukit/platform/ui/UIColor.h"
#include "zukit/platform/ui/UIFont.h"

namespace zu {

class UIImage;

// A drawing surface in points, as a view's drawRect() receives it: coordinates are the view's
// own. Backed by cairo (ViewRenderer makes it); text is laid out and drawn with Pango.
class ZU_EXPORT CGContext {
 public:
  // The drawing engine's state (CGContext.cpp).
  struct Impl;
  // A context drawing through `impl`, which outlives it.
  explicit CGContext(Impl& impl) : _impl(impl) {}
  CGContext(const CGContext&) = delete;
  CGContext& operator=(const CGContext&) = delete;

  // Fills `rect` with `color`.
  void fillRect(CGRect rect, CGColorRef color);
  // Fills `rect` with corners rounded by `radius` (limited to half the shorter side).
  void fillRoundedRect(CGRect rect, CGFloat radius, CGColorRef color);
  // Strokes a line of `width` just inside `rect`, corners rounded by `radius`.
  void strokeRoundedRect(CGRect rect, CGFloat radius, CGFloat width, CGColorRef color);
  // Draws `image` stretched over `rect`. PNG images are decoded and drawn; JPEG and GIF images,
  // which have no decoder here, and undecodable ones draw as a grey placeholder with a cross.
  void drawImage(const UIImage& image, CGRect rect);
  // Draws `text` in `font` and `color` inside `rect`: wrapped at the width into at most
  // `numberOfLines` lines (0: no limit; the last line cut with an ellipsis), aligned across by
  // `alignment` and centred down the rectangle.
  void drawText(const std::string& text, CGRect rect, const UIFont& font, CGColorRef color,
                NSTextAlignment alignment, NSInteger numberOfLines);
  // Saves and restores the transformation and the clip.
  void saveGState();
  void restoreGState();
  // Moves the origin by (dx, dy).
  void translateBy(CGFloat dx, CGFloat dy);
  // Limits drawing to `rect` with corners rounded by `radius`.
  void clipToRoundedRect(CGRect rect, CGFloat radius);

  // The engine's state, for the renderer.
  Impl& impl() { return _impl; }

 private:
  Impl& _impl;
};

}  // namespace zu
