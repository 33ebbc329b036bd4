#include "zukit/platform/ui/CGContext.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>

#include "zukit/platform/ui/Bitmap.h"
#include "zukit/platform/ui/CGContextImpl.h"
#include "zukit/platform/ui/PangoText.h"
#include "zukit/platform/ui/UIImage.h"

namespace zu {

namespace detail {

void addRoundedRectPath(cairo_t* cairo, CGRect rect, CGFloat radius) {
  const CGRect r = CGRectStandardize(rect);
  const CGFloat corner = std::clamp<CGFloat>(radius, 0, std::min(r.size.width, r.size.height) / 2);
  if (corner <= 0) {
    cairo_rectangle(cairo, r.origin.x, r.origin.y, r.size.width, r.size.height);
    return;
  }
  const CGFloat left = r.origin.x;
  const CGFloat top = r.origin.y;
  const CGFloat right = left + r.size.width;
  const CGFloat bottom = top + r.size.height;
  cairo_new_sub_path(cairo);
  cairo_arc(cairo, right - corner, top + corner, corner, -std::numbers::pi / 2, 0);
  cairo_arc(cairo, right - corner, bottom - corner, corner, 0, std::numbers::pi / 2);
  cairo_arc(cairo, left + corner, bottom - corner, corner, std::numbers::pi / 2, std::numbers::pi);
  cairo_arc(cairo, left + corner, top + corner, corner, std::numbers::pi, 3 * std::numbers::pi / 2);
  cairo_close_path(cairo);
}

void setSourceColor(cairo_t* cairo, CGColorRef color) {
  cairo_set_source_rgba(cairo, color.red, color.green, color.blue, color.alpha);
}

}  // namespace detail

namespace {

struct SurfaceRelease {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};

// A grey box with a cross: an image that cannot be decoded here.
void drawPlaceholder(cairo_t* cairo, CGRect rect) {
  cairo_save(cairo);
  cairo_rectangle(cairo, rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
  cairo_set_source_rgba(cairo, 0.85, 0.85, 0.85, 1);
  cairo_fill_preserve(cairo);
  cairo_clip(cairo);
  cairo_set_source_rgba(cairo, 0.6, 0.6, 0.6, 1);
  cairo_set_line_width(cairo, 1);
  cairo_move_to(cairo, rect.origin.x, rect.origin.y);
  cairo_line_to(cairo, CGRectGetMaxX(rect), CGRectGetMaxY(rect));
  cairo_move_to(cairo, CGRectGetMaxX(rect), rect.origin.y);
  cairo_line_to(cairo, rect.origin.x, CGRectGetMaxY(rect));
  cairo_stroke(cairo);
  cairo_restore(cairo);
}

}  // namespace

void CGContext::fillRect(CGRect rect, CGColorRef color) {
  fillRoundedRect(rect, 0, color);
}

void CGContext::fillRoundedRect(CGRect rect, CGFloat radius, CGColorRef color) {
  cairo_t* cairo = _impl.cairo;
  cairo_new_path(cairo);
  detail::addRoundedRectPath(cairo, rect, radius);
  detail::setSourceColor(cairo, color);
  cairo_fill(cairo);
}

void CGContext::strokeRoundedRect(CGRect rect, CGFloat radius, CGFloat width, CGColorRef color) {
  if (width <= 0) return;
  cairo_t* cairo = _impl.cairo;
  cairo_new_path(cairo);
  detail::addRoundedRectPath(cairo, CGRectInset(rect, width / 2, width / 2),
                             std::max<CGFloat>(radius - width / 2, 0));
  detail::setSourceColor(cairo, color);
  cairo_set_line_width(cairo, width);
  cairo_stroke(cairo);
}

void CGContext::drawImage(const UIImage& image, CGRect rect) {
  cairo_t* cairo = _impl.cairo;
  const CGRect target = CGRectStandardize(rect);
  if (CGRectIsEmpty(target)) return;
  std::optional<Bitmap> bitmap;
  if (image.format() == ImageFormat::PNG) bitmap = Bitmap::decodePNG(image.data());
  if (!bitmap) {
    drawPlaceholder(cairo, target);
    return;
  }
  const std::unique_ptr<cairo_surface_t, SurfaceRelease> surface(
      cairo_image_surface_create_for_data(
          reinterpret_cast<unsigned char*>(  // NOLINT(cppcoreguidelines-pro-type-reinterpret-cast)
              bitmap->pixels.data()),
          CAIRO_FORMAT_ARGB32, bitmap->width, bitmap->height, bitmap->width * 4));
  cairo_save(cairo);
  cairo_translate(cairo, target.origin.x, target.origin.y);
  cairo_scale(cairo, target.size.width / bitmap->width, target.size.height / bitmap->height);
  cairo_set_source_surface(cairo, surface.get(), 0, 0);
  cairo_pattern_set_filter(cairo_get_source(cairo), CAIRO_FILTER_GOOD);
  cairo_pattern_set_extend(cairo_get_source(cairo), CAIRO_EXTEND_PAD);
  cairo_rectangle(cairo, 0, 0, bitmap->width, bitmap->height);
  cairo_fill(cairo);
  cairo_restore(cairo);
}

void CGContext::drawText(const std::string& text, CGRect rect, const UIFont& font, CGColorRef color,
                         NSTextAlignment alignment, NSInteger numberOfLines) {
  if (text.empty()) return;
  cairo_t* cairo = _impl.cairo;
  const CGRect target = CGRectStandardize(rect);
  const std::unique_ptr<PangoContext, detail::GObjectRelease> context(
      pango_cairo_create_context(cairo));
  const detail::PangoLayoutPointer layout = detail::makeTextLayout(
      context.get(), text, font, target.size.width, numberOfLines, alignment);
  const CGSize size = detail::textLayoutSize(layout.get());
  cairo_save(cairo);
  detail::setSourceColor(cairo, color);
  cairo_move_to(cairo, target.origin.x, target.origin.y + (target.size.height - size.height) / 2);
  pango_cairo_show_layout(cairo, layout.get());
  cairo_restore(cairo);
}

void CGContext::saveGState() {
  cairo_save(_impl.cairo);
}

void CGContext::restoreGState() {
  cairo_restore(_impl.cairo);
}

void CGContext::translateBy(CGFloat dx, CGFloat dy) {
  cairo_translate(_impl.cairo, dx, dy);
}

void CGContext::clipToRoundedRect(CGRect rect, CGFloat radius) {
  cairo_new_path(_impl.cairo);
  detail::addRoundedRectPath(_impl.cairo, rect, radius);
  cairo_clip(_impl.cairo);
}

}  // namespace zu
