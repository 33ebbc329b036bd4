#include "zukit/platform/ui/UINavigationController.h"

#include <algorithm>

#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/foundation/NSLog.h"
#include "zukit/platform/ui/CGContext.h"
#include "zukit/platform/ui/MainThreadCheck.h"
#include "zukit/platform/ui/UIFont.h"
#include "zukit/platform/ui/UIScreen.h"

namespace zu {

namespace {

// Sends the appearance messages of a change of the shown controller, when it is on screen.
void sendChangeAppearance(const std::shared_ptr<UIViewController>& outgoing,
                          const std::shared_ptr<UIViewController>& incoming, bool animated) {
  if (outgoing == incoming) return;
  viewControllerWillDisappear(outgoing, animated);
  viewControllerWillAppear(incoming, animated);
  auto finish = [outgoing, incoming, animated] {
    viewControllerDidDisappear(outgoing, animated);
    viewControllerDidAppear(incoming, animated);
  };
  if (animated) {
    dispatch_async(dispatch_get_main_queue(), std::move(finish));
  } else {
    finish();
  }
}

}  // namespace

UINavigationBar::UINavigationBar(const std::shared_ptr<UINavigationController>& controller)
    : _controller(controller) {
  initBackgroundColor(UIColor::colorWithWhite(0.97, 1));
}

void UINavigationBar::drawRect(CGContext& context, CGRect rect) const {
  const std::shared_ptr<UINavigationController> controller = _controller.lock();
  const std::shared_ptr<UIViewController> top =
      controller ? controller->topViewController() : nullptr;
  context.fillRect(CGRectMake(rect.origin.x, CGRectGetMaxY(rect) - 0.5, rect.size.width, 0.5),
                   CGColorRef{0.7, 0.7, 0.7, 1});
  if (!top || top->title().empty()) return;
  context.drawText(top->title(), CGRectInset(rect, 16, 0), *UIFont::boldSystemFontOfSize(17),
                   CGColorRef{0, 0, 0, 1}, NSTextAlignmentCenter, 1);
}

std::shared_ptr<UINavigationController> UINavigationController::initWithRootViewController(
    const std::shared_ptr<UIViewController>& root) {
  auto navigation = std::make_shared<UINavigationController>();
  if (root) navigation->pushViewController(root, false);
  return navigation;
}

std::shared_ptr<UIViewController> UINavigationController::topViewController() const {
  const std::vector<std::shared_ptr<UIViewController>> stack = childViewControllers();
  return stack.empty() ? nullptr : stack.back();
}

std::shared_ptr<UIViewController> UINavigationController::visibleViewController() const {
  std::shared_ptr<UIViewController> top = topViewController();
  if (!top) return nullptr;
  if (std::shared_ptr<UIViewController> presented = top->presentedViewController()) {
    return presented;
  }
  return top;
}

void UINavigationController::setViewControllers(
    const std::vector<std::shared_ptr<UIViewController>>& controllers, bool animated) {
  if (!detail::onMainThreadOrRefuse("-[UINavigationController setViewControllers:animated:]")) {
    return;
  }
  const std::shared_ptr<UIViewController> outgoing = topViewController();
  for (const std::shared_ptr<UIViewController>& child : childViewControllers()) {
    child->removeFromParentViewController();
  }
  for (const std::shared_ptr<UIViewController>& controller : controllers) {
    if (!controller || controller.get() == this || controller->parentViewController()) continue;
    addChildViewController(controller);
  }
  changeTop(outgoing, topViewController(), animated);
}

void UINavigationController::pushViewController(const std::shared_ptr<UIViewController>& controller,
                                                bool animated) {
  if (!detail::onMainThreadOrRefuse("-[UINavigationController pushViewController:animated:]")) {
    return;
  }
  const std::vector<std::shared_ptr<UIViewController>> stack = childViewControllers();
  if (!controller || controller.get() == this ||
      std::find(stack.begin(), stack.end(), controller) != stack.end()) {
    NSLog(
        "Pushing %@ onto %@ is not supported: it is missing, the navigation controller itself or "
        "in the stack already",
        controller, static_cast<const Object&>(*this));
    return;
  }
  const std::shared_ptr<UIViewController> outgoing = topViewController();
  addChildViewController(controller);
  changeTop(outgoing, controller, animated);
}

std::shared_ptr<UIViewController> UINavigationController::popViewControllerAnimated(bool animated) {
  if (!detail::onMainThreadOrRefuse("-[UINavigationController popViewControllerAnimated:]")) {
    return nullptr;
  }
  const std::vector<std::shared_ptr<UIViewController>> stack = childViewControllers();
  if (stack.size() < 2) return nullptr;
  std::shared_ptr<UIViewController> popped = stack.back();
  popped->removeFromParentViewController();
  changeTop(popped, topViewController(), animated);
  return popped;
}

std::vector<std::shared_ptr<UIViewController>>
UINavigationController::popToRootViewControllerAnimated(bool animated) {
  if (!detail::onMainThreadOrRefuse("-[UINavigationController popToRootViewControllerAnimated:]")) {
    return {};
  }
  const std::vector<std::shared_ptr<UIViewController>> stack = childViewControllers();
  if (stack.size() < 2) return {};
  std::vector<std::shared_ptr<UIViewController>> popped(stack.begin() + 1, stack.end());
  for (const std::shared_ptr<UIViewController>& controller : popped) {
    controller->removeFromParentViewController();
  }
  changeTop(stack.back(), stack.front(), animated);
  return popped;
}

std::shared_ptr<UINavigationBar> UINavigationController::navigationBar() {
  view();
  return _navigationBar;
}

void UINavigationController::loadView() {
  auto container = std::make_shared<UIView>(UIScreen::mainScreen()->bounds());
  container->setBackgroundColor(UIColor::whiteColor());
  _navigationBar = std::make_shared<UINavigationBar>(
      std::static_pointer_cast<UINavigationController>(strongSelf()));
  container->addSubview(_navigationBar);
  setView(container);
  showTop();
}

void UINavigationController::viewDidLayoutSubviews() {
  showTop();
}

void UINavigationController::showTop() {
  if (!isViewLoaded() || !_navigationBar) return;
  const std::shared_ptr<UIView> container = view();
  const CGRect bounds = container->bounds();
  _navigationBar->setFrame(CGRectMake(0, 0, bounds.size.width, UINavigationBar::kHeight));
  const std::shared_ptr<UIViewController> top = topViewController();
  for (const std::shared_ptr<UIView>& subview : container->subviews()) {
    const std::shared_ptr<UIViewController> owner = subview->viewController();
    if (owner && owner != top) subview->removeFromSuperview();
  }
  if (!top) return;
  const std::shared_ptr<UIView> topView = top->view();
  topView->setFrame(
      CGRectMake(0, UINavigationBar::kHeight, bounds.size.width,
                 std::max<CGFloat>(bounds.size.height - UINavigationBar::kHeight, 0)));
  if (topView->superview() != container) container->insertSubview(topView, 0);
}

void UINavigationController::changeTop(const std::shared_ptr<UIViewController>& outgoing,
                                       const std::shared_ptr<UIViewController>& incoming,
                                       bool animated) {
  showTop();
  if (appearanceState() == AppearanceState::Appeared) {
    sendChangeAppearance(outgoing, incoming, animated);
  }
}

void UINavigationController::viewWillAppear(bool animated) {
  UIViewController::viewWillAppear(animated);
  viewControllerWillAppear(topViewController(), animated);
}

void UINavigationController::viewDidAppear(bool animated) {
  UIViewController::viewDidAppear(animated);
  viewControllerDidAppear(topViewController(), animated);
}

void UINavigationController::viewWillDisappear(bool animated) {
  UIViewController::viewWillDisappear(animated);
  viewControllerWillDisappear(topViewController(), animated);
}

void UINavigationController::viewDidDisappear(bool animated) {
  UIViewController::viewDidDisappear(animated);
  viewControllerDidDisappear(topViewController(), animated);
}

}  // namespace zu
