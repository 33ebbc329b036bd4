#include "zukit/platform/ui/UIView.h"

#include <algorithm>
#include <cmath>

#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/foundation/NSLog.h"
#include "zukit/platform/ui/MainThreadCheck.h"
#include "zukit/platform/ui/UIEvent.h"
#include "zukit/platform/ui/UIViewController.h"
#include "zukit/platform/ui/UIWindow.h"
#include "zukit/platform/ui/ViewAnimation.h"

namespace zu {

namespace {

// Views at or below this opacity are skipped by hit testing, as on the platform.
constexpr CGFloat kMinimumHitAlpha = 0.01;

CGPoint centerOf(CGRect frame) {
  return CGPointMake(frame.origin.x + frame.size.width / 2, frame.origin.y + frame.size.height / 2);
}

// The point in `view`'s superview (or, for a root, on the screen) for `point` in `view`.
CGPoint toParent(const UIView& view, CGPoint point) {
  const CGRect frame = view.frame();
  const CGRect bounds = view.bounds();
  return CGPointMake(point.x - bounds.origin.x + frame.origin.x,
                     point.y - bounds.origin.y + frame.origin.y);
}

// The point in `view` for `point` in its superview (or, for a root, on the screen).
CGPoint fromParent(const UIView& view, CGPoint point) {
  const CGRect frame = view.frame();
  const CGRect bounds = view.bounds();
  return CGPointMake(point.x - frame.origin.x + bounds.origin.x,
                     point.y - frame.origin.y + bounds.origin.y);
}

CGPoint toScreen(const UIView& view, CGPoint point) {
  const CGPoint inParent = toParent(view, point);
  const std::shared_ptr<UIView> parent = view.superview();
  return parent ? toScreen(*parent, inParent) : inParent;
}

CGPoint fromScreen(const UIView& view, CGPoint point) {
  const std::shared_ptr<UIView> parent = view.superview();
  return fromParent(view, parent ? fromScreen(*parent, point) : point);
}

bool pointInsideImplementation(Object* self, SEL /*selector*/, CGPoint point,
                               const std::shared_ptr<UIEvent>& event) {
  auto* view = dynamic_cast<UIView*>(self);
  return view != nullptr && view->pointInside(point, event);
}

std::shared_ptr<UIView> hitTestImplementation(Object* self, SEL /*selector*/, CGPoint point,
                                              const std::shared_ptr<UIEvent>& event) {
  auto* view = dynamic_cast<UIView*>(self);
  return view != nullptr ? view->hitTest(point, event) : nullptr;
}

}  // namespace

SEL pointInsideSelector() {
  static const SEL selector = sel_registerName("pointInside:withEvent:");
  return selector;
}

SEL hitTestSelector() {
  static const SEL selector = sel_registerName("hitTest:withEvent:");
  return selector;
}

void UIView::addMethods(Class* cls) {
  class_addMethod(cls, pointInsideSelector(), imp(&pointInsideImplementation));
  class_addMethod(cls, hitTestSelector(), imp(&hitTestImplementation));
}

UIView::UIView() : UIView(CGRectZero) {}

UIView::UIView(CGRect frame)
    : _center(centerOf(CGRectStandardize(frame))),
      _bounds(CGRectMake(0, 0, CGRectGetWidth(frame), CGRectGetHeight(frame))),
      _layer(std::make_shared<CALayer>()) {}

UIView::~UIView() = default;

std::shared_ptr<UIView> UIView::strongSelf() const {
  return std::static_pointer_cast<UIView>(std::const_pointer_cast<Object>(weak_from_this().lock()));
}

CGRect UIView::frame() const {
  return CGRectMake(_center.x - _bounds.size.width / 2, _center.y - _bounds.size.height / 2,
                    _bounds.size.width, _bounds.size.height);
}

void UIView::setGeometry(CGRect bounds, CGPoint center) {
  const bool resized = bounds.size != _bounds.size;
  _bounds = bounds;
  _center = center;
  if (resized) layoutSubviews();
}

void UIView::setFrame(CGRect frame) {
  if (!detail::onMainThreadOrRefuse("-[UIView setFrame:]")) return;
  const CGRect standard = CGRectStandardize(frame);
  noteAnimatedChange(AnimatedProperty::Position);
  noteAnimatedChange(AnimatedProperty::Bounds);
  setGeometry(CGRect{_bounds.origin, standard.size}, centerOf(standard));
}

void UIView::setBounds(CGRect bounds) {
  if (!detail::onMainThreadOrRefuse("-[UIView setBounds:]")) return;
  noteAnimatedChange(AnimatedProperty::Bounds);
  setGeometry(CGRectStandardize(bounds), _center);
}

void UIView::setCenter(CGPoint center) {
  if (!detail::onMainThreadOrRefuse("-[UIView setCenter:]")) return;
  noteAnimatedChange(AnimatedProperty::Position);
  setGeometry(_bounds, center);
}

void UIView::setHidden(bool hidden) {
  if (!detail::onMainThreadOrRefuse("-[UIView setHidden:]")) return;
  _hidden = hidden;
}

void UIView::setAlpha(CGFloat alpha) {
  if (!detail::onMainThreadOrRefuse("-[UIView setAlpha:]")) return;
  noteAnimatedChange(AnimatedProperty::Opacity);
  _alpha = std::isnan(alpha) ? 0 : std::clamp<CGFloat>(alpha, 0, 1);
}

void UIView::setBackgroundColor(std::shared_ptr<UIColor> color) {
  if (!detail::onMainThreadOrRefuse("-[UIView setBackgroundColor:]")) return;
  noteAnimatedChange(AnimatedProperty::BackgroundColor);
  _backgroundColor = std::move(color);
}

void UIView::setUserInteractionEnabled(bool enabled) {
  if (!detail::onMainThreadOrRefuse("-[UIView setUserInteractionEnabled:]")) return;
  _userInteractionEnabled = enabled;
}

bool UIView::clipsToBounds() const {
  return _layer->masksToBounds();
}

void UIView::setClipsToBounds(bool clips) {
  _layer->setMasksToBounds(clips);
}

void UIView::setTag(NSInteger tag) {
  if (!detail::onMainThreadOrRefuse("-[UIView setTag:]")) return;
  _tag = tag;
}

std::shared_ptr<UIWindow> UIView::window() const {
  std::shared_ptr<UIView> root = superview();
  if (!root) return nullptr;
  while (std::shared_ptr<UIView> parent = root->superview())
    root = std::move(parent);
  return std::dynamic_pointer_cast<UIWindow>(root);
}

bool UIView::insertSubviewChecked(const std::shared_ptr<UIView>& view, NSInteger index,
                                  const char* method) {
  if (!detail::onMainThreadOrRefuse(method)) return false;
  if (!view || view.get() == this || isDescendantOfView(view)) {
    NSLog("%s: cannot add %@ to %@, which is it or lies inside it", method, view,
          static_cast<const Object&>(*this));
    return false;
  }
  view->detachFromSuperview();
  const auto count = static_cast<NSInteger>(_subviews.size());
  const NSInteger position = std::clamp<NSInteger>(index, 0, count);
  _subviews.insert(_subviews.begin() + position, view);
  view->_superview = strongSelf();
  return true;
}

void UIView::addSubview(const std::shared_ptr<UIView>& view) {
  insertSubviewChecked(view, static_cast<NSInteger>(_subviews.size()), "-[UIView addSubview:]");
}

void UIView::insertSubview(const std::shared_ptr<UIView>& view, NSInteger index) {
  insertSubviewChecked(view, index, "-[UIView insertSubview:atIndex:]");
}

void UIView::detachFromSuperview() {
  const std::shared_ptr<UIView> parent = _superview.lock();
  _superview.reset();
  if (!parent) return;
  auto& siblings = parent->_subviews;
  siblings.erase(
      std::remove_if(siblings.begin(), siblings.end(),
                     [this](const std::shared_ptr<UIView>& view) { return view.get() == this; }),
      siblings.end());
}

void UIView::removeFromSuperview() {
  if (!detail::onMainThreadOrRefuse("-[UIView removeFromSuperview]")) return;
  // The superview may hold the last reference.
  const std::shared_ptr<UIView> keepAlive = strongSelf();
  detachFromSuperview();
}

void UIView::bringSubviewToFront(const std::shared_ptr<UIView>& view) {
  if (!detail::onMainThreadOrRefuse("-[UIView bringSubviewToFront:]")) return;
  const auto found = std::find(_subviews.begin(), _subviews.end(), view);
  if (found == _subviews.end()) return;
  std::rotate(found, found + 1, _subviews.end());
}

void UIView::sendSubviewToBack(const std::shared_ptr<UIView>& view) {
  if (!detail::onMainThreadOrRefuse("-[UIView sendSubviewToBack:]")) return;
  const auto found = std::find(_subviews.begin(), _subviews.end(), view);
  if (found == _subviews.end()) return;
  std::rotate(_subviews.begin(), found, found + 1);
}

bool UIView::isDescendantOfView(const std::shared_ptr<UIView>& view) const {
  if (!view) return false;
  if (view.get() == this) return true;
  for (std::shared_ptr<UIView> parent = superview(); parent; parent = parent->superview()) {
    if (parent == view) return true;
  }
  return false;
}

std::shared_ptr<UIView> UIView::viewWithTag(NSInteger tag) {
  if (_tag == tag) return strongSelf();
  for (const std::shared_ptr<UIView>& subview : subviews()) {
    if (std::shared_ptr<UIView> found = subview->viewWithTag(tag)) return found;
  }
  return nullptr;
}

CGPoint UIView::convertPointToView(CGPoint point, const std::shared_ptr<UIView>& view) const {
  const CGPoint onScreen = toScreen(*this, point);
  if (view) return fromScreen(*view, onScreen);
  // No view: the window's coordinates, or the root's for a view in no window.
  std::shared_ptr<UIView> root = superview();
  if (!root) return point;
  while (std::shared_ptr<UIView> parent = root->superview())
    root = std::move(parent);
  return fromScreen(*root, onScreen);
}

CGPoint UIView::convertPointFromView(CGPoint point, const std::shared_ptr<UIView>& view) const {
  if (view) return fromScreen(*this, toScreen(*view, point));
  std::shared_ptr<UIView> root = superview();
  if (!root) return point;
  while (std::shared_ptr<UIView> parent = root->superview())
    root = std::move(parent);
  return fromScreen(*this, toScreen(*root, point));
}

CGRect UIView::convertRectToView(CGRect rect, const std::shared_ptr<UIView>& view) const {
  const CGRect standard = CGRectStandardize(rect);
  return CGRect{convertPointToView(standard.origin, view), standard.size};
}

CGRect UIView::convertRectFromView(CGRect rect, const std::shared_ptr<UIView>& view) const {
  const CGRect standard = CGRectStandardize(rect);
  return CGRect{convertPointFromView(standard.origin, view), standard.size};
}

std::shared_ptr<UIView> UIView::hitTest(CGPoint point, const std::shared_ptr<UIEvent>& event) {
  if (_hidden || !_userInteractionEnabled || _alpha < kMinimumHitAlpha) return nullptr;
  if (!objc_msgSend<bool, CGPoint, const std::shared_ptr<UIEvent>&>(this, pointInsideSelector(),
                                                                    point, event)) {
    return nullptr;
  }
  // From the front (the last subview) to the back, without copying the list: a subview's own
  // hit test may change the tree, so the index is checked again at every step.
  for (std::size_t index = _subviews.size(); index-- > 0;) {
    if (index >= _subviews.size()) continue;
    const std::shared_ptr<UIView> child = _subviews[index];
    auto hit = objc_msgSend<std::shared_ptr<UIView>, CGPoint, const std::shared_ptr<UIEvent>&>(
        child, hitTestSelector(), fromParent(*child, point), event);
    if (hit) return hit;
  }
  return strongSelf();
}

bool UIView::pointInside(CGPoint point, const std::shared_ptr<UIEvent>& /*event*/) {
  return CGRectContainsPoint(_bounds, point);
}

void UIView::layoutSubviews() {
  if (const std::shared_ptr<UIViewController> controller = _viewController.lock()) {
    controller->viewDidLayoutSubviews();
  }
}

void UIView::drawRect(CGContext& /*context*/, CGRect /*rect*/) const {}

std::shared_ptr<UIResponder> UIView::nextResponder() const {
  if (std::shared_ptr<UIViewController> controller = _viewController.lock()) return controller;
  return superview();
}

std::string UIView::description() const {
  const CGRect rect = frame();
  std::string text = format("<%@: %p; frame = (%g %g; %g %g)", object_getClassName(this),
                            static_cast<const void*>(this), rect.origin.x, rect.origin.y,
                            rect.size.width, rect.size.height);
  if (_hidden) text += "; hidden = YES";
  if (_alpha != 1) text += format("; alpha = %g", _alpha);
  if (!_userInteractionEnabled) text += "; userInteractionEnabled = NO";
  if (_tag != 0) text += format("; tag = %ld", _tag);
  return text + format("; layer = %@>", _layer);
}

}  // namespace zu
