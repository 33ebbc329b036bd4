#include "zukit/platform/ui/UITabBarController.h"

#include <algorithm>

#include "zukit/platform/ui/CGContext.h"
#include "zukit/platform/ui/MainThreadCheck.h"
#include "zukit/platform/ui/UIFont.h"
#include "zukit/platform/ui/UIScreen.h"

namespace zu {

namespace {

id selectedViewControllerImplementation(Object* self, SEL /*selector*/) {
  auto* controller = dynamic_cast<UITabBarController*>(self);
  return controller != nullptr ? controller->selectedViewController() : nullptr;
}

}  // namespace

SEL selectedViewControllerSelector() {
  static const SEL selector = sel_registerName("selectedViewController");
  return selector;
}

UITabBar::UITabBar(const std::shared_ptr<UITabBarController>& controller)
    : _controller(controller) {
  initBackgroundColor(UIColor::colorWithWhite(0.97, 1));
}

void UITabBar::drawRect(CGContext& context, CGRect rect) const {
  context.fillRect(CGRectMake(rect.origin.x, rect.origin.y, rect.size.width, 0.5),
                   CGColorRef{0.7, 0.7, 0.7, 1});
  const std::shared_ptr<UITabBarController> controller = _controller.lock();
  if (!controller) return;
  const std::vector<std::shared_ptr<UIViewController>> tabs = controller->viewControllers();
  if (tabs.empty()) return;
  const CGFloat width = rect.size.width / static_cast<CGFloat>(tabs.size());
  const std::shared_ptr<UIFont> font = UIFont::systemFontOfSize(12);
  for (std::size_t i = 0; i < tabs.size(); ++i) {
    const bool selected = i == controller->selectedIndex();
    const CGColorRef color =
        selected ? UIColor::systemBlueColor()->CGColor() : CGColorRef{0.55, 0.55, 0.55, 1};
    context.drawText(tabs[i]->title(),
                     CGRectMake(rect.origin.x + width * static_cast<CGFloat>(i), rect.origin.y,
                                width, rect.size.height),
                     *font, color, NSTextAlignmentCenter, 1);
  }
}

void UITabBarController::addMethods(Class* cls) {
  class_addMethod(cls, selectedViewControllerSelector(),
                  imp(&selectedViewControllerImplementation));
}

void UITabBarController::setViewControllers(
    const std::vector<std::shared_ptr<UIViewController>>& controllers) {
  if (!detail::onMainThreadOrRefuse("-[UITabBarController setViewControllers:]")) return;
  const std::shared_ptr<UIViewController> outgoing = selectedViewController();
  for (const std::shared_ptr<UIViewController>& child : childViewControllers()) {
    child->removeFromParentViewController();
  }
  for (const std::shared_ptr<UIViewController>& controller : controllers) {
    if (!controller || controller.get() == this || controller->parentViewController()) continue;
    addChildViewController(controller);
  }
  _selectedIndex = 0;
  const std::shared_ptr<UIViewController> incoming = selectedViewController();
  showSelected();
  if (appearanceState() == AppearanceState::Appeared && outgoing != incoming) {
    viewControllerWillDisappear(outgoing, false);
    viewControllerWillAppear(incoming, false);
    viewControllerDidDisappear(outgoing, false);
    viewControllerDidAppear(incoming, false);
  }
}

std::shared_ptr<UIViewController> UITabBarController::selectedViewController() const {
  const std::vector<std::shared_ptr<UIViewController>> tabs = childViewControllers();
  return _selectedIndex < tabs.size() ? tabs[_selectedIndex] : nullptr;
}

void UITabBarController::setSelectedViewController(
    const std::shared_ptr<UIViewController>& controller) {
  if (!detail::onMainThreadOrRefuse("-[UITabBarController setSelectedViewController:]")) return;
  const std::vector<std::shared_ptr<UIViewController>> tabs = childViewControllers();
  const auto found = std::find(tabs.begin(), tabs.end(), controller);
  if (!controller || found == tabs.end()) return;
  select(static_cast<NSUInteger>(found - tabs.begin()));
}

void UITabBarController::setSelectedIndex(NSUInteger index) {
  if (!detail::onMainThreadOrRefuse("-[UITabBarController setSelectedIndex:]")) return;
  if (index >= childViewControllers().size()) return;
  select(index);
}

void UITabBarController::select(NSUInteger index) {
  const std::shared_ptr<UIViewController> outgoing = selectedViewController();
  _selectedIndex = index;
  const std::shared_ptr<UIViewController> incoming = selectedViewController();
  if (outgoing == incoming) return;
  const bool onScreen = appearanceState() == AppearanceState::Appeared;
  if (onScreen) {
    viewControllerWillDisappear(outgoing, false);
    viewControllerWillAppear(incoming, false);
  }
  showSelected();
  if (onScreen) {
    viewControllerDidDisappear(outgoing, false);
    viewControllerDidAppear(incoming, false);
  }
}

std::shared_ptr<UITabBar> UITabBarController::tabBar() {
  view();
  return _tabBar;
}

void UITabBarController::loadView() {
  auto container = std::make_shared<UIView>(UIScreen::mainScreen()->bounds());
  container->setBackgroundColor(UIColor::whiteColor());
  _tabBar = std::make_shared<UITabBar>(std::static_pointer_cast<UITabBarController>(strongSelf()));
  container->addSubview(_tabBar);
  setView(container);
  showSelected();
}

void UITabBarController::viewDidLayoutSubviews() {
  showSelected();
}

void UITabBarController::showSelected() {
  if (!isViewLoaded() || !_tabBar) return;
  const std::shared_ptr<UIView> container = view();
  const CGRect bounds = container->bounds();
  const CGFloat contentHeight = std::max<CGFloat>(bounds.size.height - UITabBar::kHeight, 0);
  _tabBar->setFrame(CGRectMake(0, contentHeight, bounds.size.width, UITabBar::kHeight));
  const std::shared_ptr<UIViewController> selected = selectedViewController();
  for (const std::shared_ptr<UIView>& subview : container->subviews()) {
    const std::shared_ptr<UIViewController> owner = subview->viewController();
    if (owner && owner != selected) subview->removeFromSuperview();
  }
  if (!selected) return;
  const std::shared_ptr<UIView> selectedView = selected->view();
  selectedView->setFrame(CGRectMake(0, 0, bounds.size.width, contentHeight));
  if (selectedView->superview() != container) container->insertSubview(selectedView, 0);
}

void UITabBarController::viewWillAppear(bool animated) {
  UIViewController::viewWillAppear(animated);
  viewControllerWillAppear(selectedViewController(), animated);
}

void UITabBarController::viewDidAppear(bool animated) {
  UIViewController::viewDidAppear(animated);
  viewControllerDidAppear(selectedViewController(), animated);
}

void UITabBarController::viewWillDisappear(bool animated) {
  UIViewController::viewWillDisappear(animated);
  viewControllerWillDisappear(selectedViewController(), animated);
}

void UITabBarController::viewDidDisappear(bool animated) {
  UIViewController::viewDidDisappear(animated);
  viewControllerDidDisappear(selectedViewController(), animated);
}

}  // namespace zu
