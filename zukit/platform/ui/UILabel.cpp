#include "zukit/platform/ui/UILabel.h"

#include "zukit/platform/ui/CGContext.h"
#include "zukit/platform/ui/MainThreadCheck.h"
#include "zukit/platform/ui/TextLayout.h"

namespace zu {

UILabel::UILabel() : UILabel(CGRectZero) {}

UILabel::UILabel(CGRect frame) : UILabel(frame, nullptr) {}

UILabel::UILabel(CGRect frame, std::shared_ptr<UIFont> font)
    : UIView(frame),
      _font(font ? std::move(font) : UIFont::systemFontOfSize(17)),
      _textColor(UIColor::blackColor()) {
  initUserInteractionEnabled(false);
}

void UILabel::setText(const Value& text) {
  if (!detail::onMainThreadOrRefuse("-[UILabel setText:]")) return;
  const std::string* string = text.asString();
  _text = string != nullptr ? *string : std::string();
}

void UILabel::setFont(std::shared_ptr<UIFont> font) {
  if (!detail::onMainThreadOrRefuse("-[UILabel setFont:]")) return;
  _font = font ? std::move(font) : UIFont::systemFontOfSize(17);
}

void UILabel::setTextColor(std::shared_ptr<UIColor> color) {
  if (!detail::onMainThreadOrRefuse("-[UILabel setTextColor:]")) return;
  _textColor = color ? std::move(color) : UIColor::blackColor();
}

void UILabel::setTextAlignment(NSTextAlignment alignment) {
  if (!detail::onMainThreadOrRefuse("-[UILabel setTextAlignment:]")) return;
  _alignment = alignment;
}

void UILabel::setNumberOfLines(NSInteger lines) {
  if (!detail::onMainThreadOrRefuse("-[UILabel setNumberOfLines:]")) return;
  _numberOfLines = lines < 0 ? 0 : lines;
}

CGSize UILabel::sizeThatFits(CGSize size) const {
  if (_text.empty()) return CGSizeZero;
  return measureText(_text, *_font, size.width, _numberOfLines);
}

void UILabel::sizeToFit() {
  const CGRect current = frame();
  setFrame(CGRect{current.origin, sizeThatFits(CGSizeZero)});
}

void UILabel::drawRect(CGContext& context, CGRect rect) const {
  if (_text.empty()) return;
  context.drawText(_text, rect, *_font, _textColor->CGColor(), _alignment, _numberOfLines);
}

}  // namespace zu
