#include "zukit/platform/ui/UIButton.h"

#include "zukit/platform/ui/CGContext.h"
#include "zukit/platform/ui/MainThreadCheck.h"

namespace zu {

UIButton::UIButton(UIButtonType type)
    : _type(type),
      _titleLabel(std::make_shared<UILabel>(CGRectZero, UIFont::systemFontOfSize(15))) {}

UIButton::UIButton(CGRect frame)
    : UIControl(frame),
      _type(UIButtonTypeCustom),
      _titleLabel(std::make_shared<UILabel>(CGRectZero, UIFont::systemFontOfSize(15))) {}

std::shared_ptr<UIButton> UIButton::buttonWithType(UIButtonType type) {
  return std::make_shared<UIButton>(type);
}

template <class T>
T UIButton::valueForState(const std::map<std::uint64_t, T>& values, std::uint64_t state) {
  auto found = values.find(state);
  if (found == values.end()) found = values.find(UIControlStateNormal);
  return found == values.end() ? T() : found->second;
}

void UIButton::setTitle(const Value& title, std::uint64_t state) {
  if (!detail::onMainThreadOrRefuse("-[UIButton setTitle:forState:]")) return;
  if (const std::string* text = title.asString()) {
    _titles[state] = *text;
  } else {
    _titles.erase(state);
  }
}

std::string UIButton::titleForState(std::uint64_t state) const {
  return valueForState(_titles, state);
}

void UIButton::setTitleColor(std::shared_ptr<UIColor> color, std::uint64_t state) {
  if (!detail::onMainThreadOrRefuse("-[UIButton setTitleColor:forState:]")) return;
  if (color) {
    _titleColors[state] = std::move(color);
  } else {
    _titleColors.erase(state);
  }
}

std::shared_ptr<UIColor> UIButton::titleColorForState(std::uint64_t state) const {
  if (std::shared_ptr<UIColor> color = valueForState(_titleColors, state)) return color;
  return _type == UIButtonTypeSystem ? UIColor::systemBlueColor() : UIColor::whiteColor();
}

void UIButton::setBackgroundImage(std::shared_ptr<UIImage> image, std::uint64_t state) {
  if (!detail::onMainThreadOrRefuse("-[UIButton setBackgroundImage:forState:]")) return;
  if (image) {
    _backgroundImages[state] = std::move(image);
  } else {
    _backgroundImages.erase(state);
  }
}

std::shared_ptr<UIImage> UIButton::backgroundImageForState(std::uint64_t state) const {
  return valueForState(_backgroundImages, state);
}

void UIButton::drawRect(CGContext& context, CGRect rect) const {
  if (const std::shared_ptr<UIImage> image = currentBackgroundImage()) {
    context.drawImage(*image, rect);
  }
  const std::string title = currentTitle();
  if (title.empty()) return;
  CGColorRef color = currentTitleColor()->CGColor();
  // A highlighted system button's title fades, as on the platform.
  if (_type == UIButtonTypeSystem && isHighlighted()) color.alpha *= 0.2;
  context.drawText(title, rect, *_titleLabel->font(), color, NSTextAlignmentCenter, 1);
}

}  // namespace zu
