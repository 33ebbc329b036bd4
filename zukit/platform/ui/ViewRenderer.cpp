#include "zukit/platform/ui/ViewRenderer.h"

#include <cairo-svg.h>
#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/foundation/NSLog.h"
#include "zukit/platform/ui/CGContextImpl.h"
#include "zukit/platform/ui/UIView.h"

namespace zu {

namespace {

struct SurfaceRelease {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
struct CairoRelease {
  void operator()(cairo_t* cairo) const { cairo_destroy(cairo); }
};
struct PatternRelease {
  void operator()(cairo_pattern_t* pattern) const { cairo_pattern_destroy(pattern); }
};
using SurfacePointer = std::unique_ptr<cairo_surface_t, SurfaceRelease>;
using CairoPointer = std::unique_ptr<cairo_t, CairoRelease>;
using PatternPointer = std::unique_ptr<cairo_pattern_t, PatternRelease>;

// Samples of the shadow's blur on each side of its centre, along each axis.
constexpr int kBlurSteps = 2;
// Pixels per point of the pictures that stand for translucent or shadowed views in SVG output.
constexpr double kVectorPictureScale = 2;

// What is drawn into: pixels, or vectors (SVG). cairo 1.16's SVG surface loses memory for every
// group (push_group) or recording surface drawn into it, so in vector output a view that needs
// a group (translucent or shadowed) is drawn to an image and embedded as a picture.
enum class Target : std::uint8_t { Raster, Vector };

void drawView(cairo_t* cairo, const UIView& view, bool isRoot, Target target);

// The shadow of what `content` (the view's drawing) covers: its alpha, in the shadow's colour,
// moved by the offset and blurred by the radius (a Gaussian sampled on a 5 x 5 grid, summed).
void drawShadow(cairo_t* cairo, cairo_pattern_t* content, const CALayer& layer) {
  const CGColorRef color = layer.shadowColor();
  const CGFloat opacity = color.alpha * layer.shadowOpacity();
  const CGSize offset = layer.shadowOffset();
  const CGFloat radius = layer.shadowRadius();
  struct Sample {
    CGFloat dx;
    CGFloat dy;
    CGFloat weight;
  };
  std::vector<Sample> samples;
  if (radius <= 0) {
    samples.push_back({0, 0, 1});
  } else {
    const CGFloat sigma = radius / 2;
    const CGFloat step = radius / kBlurSteps;
    CGFloat total = 0;
    for (int i = -kBlurSteps; i <= kBlurSteps; ++i) {
      for (int j = -kBlurSteps; j <= kBlurSteps; ++j) {
        const CGFloat dx = i * step;
        const CGFloat dy = j * step;
        const CGFloat weight = std::exp(-(dx * dx + dy * dy) / (2 * sigma * sigma));
        samples.push_back({dx, dy, weight});
        total += weight;
      }
    }
    for (Sample& sample : samples)
      sample.weight /= total;
  }
  cairo_push_group(cairo);
  cairo_set_operator(cairo, CAIRO_OPERATOR_ADD);
  for (const Sample& sample : samples) {
    cairo_save(cairo);
    cairo_translate(cairo, offset.width + sample.dx, offset.height + sample.dy);
    cairo_set_source_rgba(cairo, color.red, color.green, color.blue, opacity * sample.weight);
    cairo_mask(cairo, content);
    cairo_restore(cairo);
  }
  cairo_pop_group_to_source(cairo);
  cairo_paint(cairo);
}

// The view's own drawing in its local box (origin 0, 0): clip, background, content, subviews,
// border.
void drawContent(cairo_t* cairo, const UIView& view, Target target) {
  const CGRect bounds = view.bounds();
  const CGRect local = CGRectMake(0, 0, bounds.size.width, bounds.size.height);
  const CALayer& layer = *view.layer();
  if (layer.masksToBounds()) {
    cairo_new_path(cairo);
    detail::addRoundedRectPath(cairo, local, layer.cornerRadius());
    cairo_clip(cairo);
  }
  CGContext::Impl impl{cairo};
  CGContext context(impl);
  if (const std::shared_ptr<UIColor> background = view.backgroundColor()) {
    context.fillRoundedRect(local, layer.cornerRadius(), background->CGColor());
  }
  cairo_save(cairo);
  cairo_translate(cairo, -bounds.origin.x, -bounds.origin.y);
  view.drawRect(context, bounds);
  std::vector<std::shared_ptr<UIView>> subviews = view.subviews();
  std::stable_sort(subviews.begin(), subviews.end(),
                   [](const std::shared_ptr<UIView>& first, const std::shared_ptr<UIView>& second) {
                     return first->layer()->zPosition() < second->layer()->zPosition();
                   });
  for (const std::shared_ptr<UIView>& subview : subviews) {
    drawView(cairo, *subview, false, target);
  }
  cairo_restore(cairo);
  if (layer.borderWidth() > 0) {
    context.strokeRoundedRect(local, layer.cornerRadius(), layer.borderWidth(),
                              layer.borderColor());
  }
}

bool hasShadow(const CALayer& layer) {
  return !layer.masksToBounds() && layer.shadowOpacity() > 0 && layer.shadowColor().alpha > 0;
}

// Draws `view` (in its local box) to an image with room for its shadow, and paints that
// picture in its place: how a grouped view reaches vector output.
void drawAsPicture(cairo_t* cairo, const UIView& view) {
  const CALayer& layer = *view.layer();
  const CGSize size = view.bounds().size;
  const CGFloat margin = hasShadow(layer)
                             ? std::abs(layer.shadowOffset().width) +
                                   std::abs(layer.shadowOffset().height) + layer.shadowRadius() + 2
                             : 0;
  const int width = static_cast<int>(std::ceil((size.width + 2 * margin) * kVectorPictureScale));
  const int height = static_cast<int>(std::ceil((size.height + 2 * margin) * kVectorPictureScale));
  if (width <= 0 || height <= 0) return;
  const SurfacePointer picture(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height));
  {
    const CairoPointer pictureCairo(cairo_create(picture.get()));
    cairo_scale(pictureCairo.get(), kVectorPictureScale, kVectorPictureScale);
    cairo_translate(pictureCairo.get(), margin, margin);
    drawView(pictureCairo.get(), view, true, Target::Raster);
  }
  cairo_save(cairo);
  cairo_translate(cairo, -margin, -margin);
  cairo_scale(cairo, 1 / kVectorPictureScale, 1 / kVectorPictureScale);
  cairo_set_source_surface(cairo, picture.get(), 0, 0);
  cairo_paint(cairo);
  cairo_restore(cairo);
}

void drawView(cairo_t* cairo, const UIView& view, bool isRoot, Target target) {
  if (!isRoot && view.isHidden()) return;
  const CGFloat alpha = view.alpha();
  if (alpha <= 0) return;
  const CALayer& layer = *view.layer();
  cairo_save(cairo);
  if (!isRoot) {
    const CGRect frame = view.frame();
    cairo_translate(cairo, frame.origin.x, frame.origin.y);
  }
  const bool fade = alpha < 1;
  const bool shadow = hasShadow(layer);
  if ((fade || shadow) && target == Target::Vector) {
    drawAsPicture(cairo, view);
    cairo_restore(cairo);
    return;
  }
  if (fade) cairo_push_group(cairo);
  if (shadow) {
    cairo_push_group(cairo);
    drawContent(cairo, view, target);
    const PatternPointer content(cairo_pop_group(cairo));
    drawShadow(cairo, content.get(), layer);
    cairo_set_source(cairo, content.get());
    cairo_paint(cairo);
  } else {
    drawContent(cairo, view, target);
  }
  if (fade) {
    cairo_pop_group_to_source(cairo);
    cairo_paint_with_alpha(cairo, alpha);
  }
  cairo_restore(cairo);
}

cairo_status_t appendBytes(void* closure, const unsigned char* bytes, unsigned int length) {
  auto* out = static_cast<Data*>(closure);
  out->insert(out->end(), bytes, bytes + length);
  return CAIRO_STATUS_SUCCESS;
}

bool writeFile(const std::optional<Data>& data, const std::string& path, const char* kind) {
  if (!data) {
    NSLog("ViewRenderer: nothing to draw; %s not written to %@", kind, path);
    return false;
  }
  if (!NSFileManager::defaultManager()->createFileAtPath(path, &*data)) {
    NSLog("ViewRenderer: could not write the %s to %@", kind, path);
    return false;
  }
  return true;
}

}  // namespace

std::optional<Bitmap> ViewRenderer::render(const UIView& view, CGFloat scale) {
  const CGSize size = view.bounds().size;
  if (!(scale > 0) || !std::isfinite(scale)) return std::nullopt;
  const double width = std::ceil(size.width * scale);
  const double height = std::ceil(size.height * scale);
  constexpr double kLargest = 16384;
  if (!(width >= 1 && height >= 1 && width <= kLargest && height <= kLargest)) {
    return std::nullopt;
  }
  std::optional<Bitmap> bitmap =
      Bitmap::transparent(static_cast<int>(width), static_cast<int>(height));
  if (!bitmap) return std::nullopt;
  const SurfacePointer surface(cairo_image_surface_create_for_data(
      reinterpret_cast<unsigned char*>(  // NOLINT(cppcoreguidelines-pro-type-reinterpret-cast)
          bitmap->pixels.data()),
      CAIRO_FORMAT_ARGB32, bitmap->width, bitmap->height, bitmap->width * 4));
  {
    const CairoPointer cairo(cairo_create(surface.get()));
    cairo_scale(cairo.get(), scale, scale);
    drawView(cairo.get(), view, true, Target::Raster);
  }
  cairo_surface_flush(surface.get());
  return bitmap;
}

std::optional<Data> ViewRenderer::pngData(const UIView& view, CGFloat scale) {
  const std::optional<Bitmap> bitmap = render(view, scale);
  return bitmap ? bitmap->encodePNG() : std::nullopt;
}

bool ViewRenderer::writePNG(const UIView& view, const std::string& path, CGFloat scale) {
  return writeFile(pngData(view, scale), path, "PNG");
}

std::optional<Data> ViewRenderer::svgData(const UIView& view) {
  const CGSize size = view.bounds().size;
  if (!(size.width > 0 && size.height > 0)) return std::nullopt;
  Data out;
  {
    const SurfacePointer surface(
        cairo_svg_surface_create_for_stream(&appendBytes, &out, size.width, size.height));
    cairo_svg_surface_set_document_unit(surface.get(), CAIRO_SVG_UNIT_PX);
    {
      const CairoPointer cairo(cairo_create(surface.get()));
      drawView(cairo.get(), view, true, Target::Vector);
    }
    cairo_surface_finish(surface.get());
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) return std::nullopt;
  }
  return out;
}

bool ViewRenderer::writeSVG(const UIView& view, const std::string& path) {
  return writeFile(svgData(view), path, "SVG");
}

}  // namespace zu
