#include "zukit/platform/ui/TextLayout.h"

#include <algorithm>

#include "zukit/platform/ui/PangoText.h"

namespace zu {

namespace detail {

namespace {

struct FontDescriptionRelease {
  void operator()(PangoFontDescription* description) const {
    pango_font_description_free(description);
  }
};

PangoAlignment pangoAlignment(NSTextAlignment alignment) {
  switch (alignment) {
    case NSTextAlignmentCenter:
      return PANGO_ALIGN_CENTER;
    case NSTextAlignmentRight:
      return PANGO_ALIGN_RIGHT;
    case NSTextAlignmentLeft:
    case NSTextAlignmentJustified:
    case NSTextAlignmentNatural:
      break;
  }
  return PANGO_ALIGN_LEFT;
}

int pangoUnits(CGFloat points) {
  return static_cast<int>(points * PANGO_SCALE);
}

}  // namespace

const cairo_font_options_t* textFontOptions() {
  static cairo_font_options_t* const options = [] {
    cairo_font_options_t* made = cairo_font_options_create();
    cairo_font_options_set_antialias(made, CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(made, CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(made, CAIRO_HINT_METRICS_OFF);
    return made;
  }();
  return options;
}

PangoLayoutPointer makeTextLayout(PangoContext* context, const std::string& text,
                                  const UIFont& font, CGFloat width, NSInteger numberOfLines,
                                  NSTextAlignment alignment) {
  pango_cairo_context_set_font_options(context, textFontOptions());
  PangoLayoutPointer layout(pango_layout_new(context));
  const std::unique_ptr<PangoFontDescription, FontDescriptionRelease> description(
      pango_font_description_new());
  pango_font_description_set_family(description.get(), font.familyName().c_str());
  pango_font_description_set_absolute_size(description.get(), font.pointSize() * PANGO_SCALE);
  pango_font_description_set_weight(description.get(),
                                    font.isBold() ? PANGO_WEIGHT_BOLD : PANGO_WEIGHT_NORMAL);
  pango_layout_set_font_description(layout.get(), description.get());
  pango_layout_set_text(layout.get(), text.c_str(), static_cast<int>(text.size()));
  pango_layout_set_alignment(layout.get(), pangoAlignment(alignment));
  pango_layout_set_justify(layout.get(), alignment == NSTextAlignmentJustified);
  if (width > 0) {
    pango_layout_set_width(layout.get(), pangoUnits(width));
    pango_layout_set_wrap(layout.get(), PANGO_WRAP_WORD_CHAR);
    if (numberOfLines > 0) {
      pango_layout_set_height(layout.get(), -static_cast<int>(numberOfLines));
      pango_layout_set_ellipsize(layout.get(), PANGO_ELLIPSIZE_END);
    }
  }
  return layout;
}

CGSize textLayoutSize(PangoLayout* layout) {
  PangoRectangle logical{};
  pango_layout_get_extents(layout, nullptr, &logical);
  return CGSizeMake(static_cast<CGFloat>(logical.width) / PANGO_SCALE,
                    static_cast<CGFloat>(logical.height) / PANGO_SCALE);
}

}  // namespace detail

CGSize measureText(const std::string& text, const UIFont& font, CGFloat maxWidth,
                   NSInteger numberOfLines) {
  if (text.empty()) return CGSizeZero;
  const std::unique_ptr<PangoContext, detail::GObjectRelease> context(
      pango_font_map_create_context(pango_cairo_font_map_get_default()));
  const detail::PangoLayoutPointer layout = detail::makeTextLayout(
      context.get(), text, font, maxWidth, numberOfLines, NSTextAlignmentLeft);
  CGSize size = detail::textLayoutSize(layout.get());
  if (maxWidth > 0) size.width = std::min(size.width, maxWidth);
  return size;
}

}  // namespace zu
