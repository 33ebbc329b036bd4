#include "zukit/platform/ui/UIAlertController.h"

#include <algorithm>
#include <cmath>

#include "zukit/platform/ui/MainThreadCheck.h"
#include "zukit/platform/ui/UIButton.h"
#include "zukit/platform/ui/UILabel.h"
#include "zukit/platform/ui/UIScreen.h"

namespace zu {

namespace {

constexpr CGFloat kAlertWidth = 270;
constexpr CGFloat kSheetMargin = 8;
constexpr CGFloat kTextInsetX = 16;
constexpr CGFloat kTextInsetY = 20;
constexpr CGFloat kTitleMessageGap = 4;
constexpr CGFloat kButtonHeight = 44;
constexpr CGFloat kCornerRadius = 14;
constexpr CGFloat kSeparator = 0.5;
// Tags of the box's labels; buttons are tagged with their action's index plus kFirstButtonTag.
constexpr NSInteger kTitleTag = 1;
constexpr NSInteger kMessageTag = 2;
constexpr NSInteger kFirstButtonTag = 100;

SEL buttonTappedSelector() {
  static const SEL selector = sel_registerName("_alertActionButtonTapped:");
  return selector;
}

std::string textOf(const Value& value) {
  const std::string* text = value.asString();
  return text != nullptr ? *text : std::string();
}

}  // namespace

void UIAlertController::addMethods(Class* cls) {
  class_addMethod(cls, buttonTappedSelector(), imp(&buttonTappedImplementation));
}

void UIAlertController::buttonTappedImplementation(Object* self, SEL /*selector*/,
                                                   const id& sender) {
  if (auto* alert = dynamic_cast<UIAlertController*>(self)) alert->actionButtonTapped(sender);
}

std::shared_ptr<UIAlertController> UIAlertController::alertControllerWithTitle(
    const Value& title, const Value& message, UIAlertControllerStyle preferredStyle) {
  auto alert = std::make_shared<UIAlertController>(Passkey(), textOf(message), preferredStyle);
  alert->setTitle(textOf(title));
  return alert;
}

void UIAlertController::setMessage(const Value& message) {
  if (!detail::onMainThreadOrRefuse("-[UIAlertController setMessage:]")) return;
  _message = textOf(message);
}

void UIAlertController::addAction(const std::shared_ptr<UIAlertAction>& action) {
  if (!detail::onMainThreadOrRefuse("-[UIAlertController addAction:]") || !action) return;
  _actions.push_back(action);
}

std::shared_ptr<UIButton> UIAlertController::buttonForAction(
    const std::shared_ptr<UIAlertAction>& action) {
  view();
  const auto found = std::find(_actions.begin(), _actions.end(), action);
  if (found == _actions.end()) return nullptr;
  const auto index = static_cast<std::size_t>(found - _actions.begin());
  return index < _buttons.size() ? _buttons[index] : nullptr;
}

std::shared_ptr<UIView> UIAlertController::alertView() {
  view();
  return _box;
}

void UIAlertController::loadView() {
  auto container = std::make_shared<UIView>(UIScreen::mainScreen()->bounds());
  _dimmingView = std::make_shared<UIView>(container->bounds());
  _dimmingView->setBackgroundColor(UIColor::colorWithWhite(0, 0.2));
  container->addSubview(_dimmingView);

  _box = std::make_shared<UIView>();
  _box->setBackgroundColor(UIColor::colorWithWhite(0.97, 1));
  _box->layer()->setCornerRadius(kCornerRadius);
  _box->setClipsToBounds(true);
  container->addSubview(_box);

  if (!title().empty()) {
    auto label = std::make_shared<UILabel>(CGRectZero, UIFont::boldSystemFontOfSize(17));
    label->setText(title());
    label->setTextAlignment(NSTextAlignmentCenter);
    label->setNumberOfLines(0);
    label->setTag(kTitleTag);
    _box->addSubview(label);
  }
  if (!_message.empty()) {
    auto label = std::make_shared<UILabel>(CGRectZero, UIFont::systemFontOfSize(13));
    label->setText(_message);
    label->setTextAlignment(NSTextAlignmentCenter);
    label->setNumberOfLines(0);
    label->setTag(kMessageTag);
    _box->addSubview(label);
  }
  const auto self = strongSelf();
  for (std::size_t i = 0; i < _actions.size(); ++i) {
    const std::shared_ptr<UIAlertAction>& action = _actions[i];
    auto button = std::make_shared<UIButton>(UIButtonTypeSystem);
    button->setTitle(action->title(), UIControlStateNormal);
    const bool cancel = action->style() == UIAlertActionStyleCancel;
    button->titleLabel()->setFont(cancel ? UIFont::boldSystemFontOfSize(17)
                                         : UIFont::systemFontOfSize(17));
    button->setTitleColor(action->style() == UIAlertActionStyleDestructive
                              ? UIColor::systemRedColor()
                              : UIColor::systemBlueColor(),
                          UIControlStateNormal);
    button->setEnabled(action->isEnabled());
    button->setTag(kFirstButtonTag + static_cast<NSInteger>(i));
    button->addTarget(self, buttonTappedSelector(), UIControlEventTouchUpInside);
    _box->addSubview(button);
    _buttons.push_back(button);
  }
  setView(container);
  layOutBox();
}

void UIAlertController::viewDidLayoutSubviews() {
  layOutBox();
}

void UIAlertController::layOutBox() {
  if (!_box) return;
  const CGRect bounds = view()->bounds();
  _dimmingView->setFrame(bounds);
  const bool sheet = _style == UIAlertControllerStyleActionSheet;
  const CGFloat width =
      sheet ? std::max<CGFloat>(bounds.size.width - 2 * kSheetMargin, 0) : kAlertWidth;
  const CGFloat textWidth = std::max<CGFloat>(width - 2 * kTextInsetX, 0);

  // The texts, top down.
  CGFloat y = 0;
  const std::shared_ptr<UIView> titleView = _box->viewWithTag(kTitleTag);
  const std::shared_ptr<UIView> messageView = _box->viewWithTag(kMessageTag);
  if (titleView || messageView) y = kTextInsetY;
  for (const std::shared_ptr<UIView>& text : {titleView, messageView}) {
    const auto label = std::dynamic_pointer_cast<UILabel>(text);
    if (!label) continue;
    if (label == messageView && titleView) y += kTitleMessageGap;
    const CGSize size = label->sizeThatFits(CGSizeMake(textWidth, 0));
    label->setFrame(CGRectMake(kTextInsetX, y, textWidth, std::ceil(size.height)));
    y += std::ceil(size.height);
  }
  if (titleView || messageView) y += kTextInsetY;

  // The buttons: two side by side, else stacked, a cancel button where the platform puts it.
  for (const std::shared_ptr<UIView>& separator : _separators)
    separator->removeFromSuperview();
  _separators.clear();
  const auto addSeparator = [this](CGRect frame) {
    auto separator = std::make_shared<UIView>(frame);
    separator->setBackgroundColor(UIColor::colorWithWhite(0.78, 1));
    _box->addSubview(separator);
    _separators.push_back(separator);
  };
  std::vector<std::size_t> order(_buttons.size());
  for (std::size_t i = 0; i < order.size(); ++i)
    order[i] = i;
  std::stable_partition(order.begin(), order.end(), [this](std::size_t index) {
    return _actions[index]->style() != UIAlertActionStyleCancel;
  });
  const bool sideBySide = !sheet && order.size() == 2;
  if (sideBySide) {
    // The cancel button goes on the left.
    if (_actions[order[1]]->style() == UIAlertActionStyleCancel) std::swap(order[0], order[1]);
    const CGFloat half = width / 2;
    addSeparator(CGRectMake(0, y, width, kSeparator));
    addSeparator(CGRectMake(half, y, kSeparator, kButtonHeight));
    _buttons[order[0]]->setFrame(CGRectMake(0, y, half, kButtonHeight));
    _buttons[order[1]]->setFrame(CGRectMake(half, y, half, kButtonHeight));
    y += kButtonHeight;
  } else {
    for (const std::size_t index : order) {
      addSeparator(CGRectMake(0, y, width, kSeparator));
      _buttons[index]->setFrame(CGRectMake(0, y, width, kButtonHeight));
      y += kButtonHeight;
    }
  }
  const CGFloat x = (bounds.size.width - width) / 2;
  const CGFloat top = sheet ? bounds.size.height - kSheetMargin - y : (bounds.size.height - y) / 2;
  _box->setFrame(CGRectMake(x, top, width, y));
}

void UIAlertController::actionButtonTapped(const id& sender) {
  const auto button = std::dynamic_pointer_cast<UIButton>(sender);
  if (!button) return;
  const NSInteger index = button->tag() - kFirstButtonTag;
  if (index < 0 || static_cast<std::size_t>(index) >= _actions.size()) return;
  const std::shared_ptr<UIAlertAction> action = _actions[static_cast<std::size_t>(index)];
  if (!action->isEnabled()) return;
  dismissViewControllerAnimated(true, [action] {
    if (action->handler()) action->handler()(action);
  });
}

}  // namespace zu
