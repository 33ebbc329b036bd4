#pragma once

#include <optional>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/ui/Bitmap.h"
#include "zukit/platform/ui/Geometry.h"

namespace zu {

class UIView;

// Draws a view and everything inside it, as the screen would show it: the view's bounds, with
// the view at the origin. Each view draws, in its frame, its shadow (layer shadow colour, offset,
// opacity and radius, around what the view and its subviews draw; none when it clips), its
// background colour with the layer's corner radius, its border, its own content (drawRect: text,
// images), then its subviews in subview order, a higher layer zPosition in front, all clipped to
// its rounded bounds when it clips, and the whole at its alpha. Hidden views are left out, but
// the view asked for is drawn even when hidden (a window before makeKeyAndVisible). Text is drawn
// with Pango in the system font (with Chinese glyphs). Main thread only.
class ZU_EXPORT ViewRenderer {
 public:
  ViewRenderer() = delete;

  // The view drawn at `scale` pixels per point; none for a view without area (or a scale that
  // is not a positive number).
  static std::optional<Bitmap> render(const UIView& view, CGFloat scale = 1);
  // render() as PNG bytes.
  static std::optional<Data> pngData(const UIView& view, CGFloat scale = 1);
  // Writes render() as a PNG file at `path`; false (and a console line) when there is nothing to
  // draw or the file cannot be written.
  static bool writePNG(const UIView& view, const std::string& path, CGFloat scale = 1);
  // The view drawn as an SVG document in points; none for a view without area. Translucent and
  // shadowed views are embedded as pictures at twice the scale, the rest as vectors (text as
  // glyph outlines).
  static std::optional<Data> svgData(const UIView& view);
  // Writes svgData() to `path`; false (and a console line) on failure.
  static bool writeSVG(const UIView& view, const std::string& path);
};

}  // namespace zu
