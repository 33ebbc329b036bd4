#include "zukit/platform/ui/UIWindow.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "zukit/platform/ui/MainThreadCheck.h"
#include "zukit/platform/ui/UIApplication.h"
#include "zukit/platform/ui/UIEvent.h"
#include "zukit/platform/ui/UIScreen.h"
#include "zukit/platform/ui/UITouch.h"
#include "zukit/platform/ui/UIViewController.h"
#include "zukit/platform/ui/UIWindowScene.h"

namespace zu {

namespace {

using Appearance = UIViewController::AppearanceState;

// The touches of `phase` in `window`, grouped by the view they are bound to, views in the order
// of their first touch.
std::vector<std::pair<std::shared_ptr<UIView>, std::vector<id>>> touchesByView(
    const UIEvent& event, const UIWindow& window, UITouchPhase phase) {
  std::vector<std::pair<std::shared_ptr<UIView>, std::vector<id>>> groups;
  for (const id& object : *event.allTouches()) {
    const auto touch = std::static_pointer_cast<UITouch>(object);
    const std::shared_ptr<UIView> view = touch->view();
    if (touch->window().get() != &window || touch->phase() != phase || !view) continue;
    auto group = std::find_if(groups.begin(), groups.end(),
                              [&view](const auto& entry) { return entry.first == view; });
    if (group == groups.end()) group = groups.insert(groups.end(), {view, {}});
    group->second.push_back(object);
  }
  return groups;
}

void showController(const std::shared_ptr<UIViewController>& controller) {
  if (!controller || controller->appearanceState() != Appearance::Disappeared) return;
  viewControllerWillAppear(controller, false);
  viewControllerDidAppear(controller, false);
}

}  // namespace

UIWindow::UIWindow() : UIWindow(UIScreen::mainScreen()->bounds()) {}

UIWindow::UIWindow(CGRect frame) : UIView(frame) {
  initHidden(true);
}

std::shared_ptr<UIWindow> UIWindow::windowWithWindowScene(
    const std::shared_ptr<UIWindowScene>& scene) {
  auto window = std::make_shared<UIWindow>();
  window->setWindowScene(scene);
  return window;
}

void UIWindow::setRootViewController(const std::shared_ptr<UIViewController>& controller) {
  if (!detail::onMainThreadOrRefuse("-[UIWindow setRootViewController:]")) return;
  if (controller == _rootViewController) return;
  const std::shared_ptr<UIViewController> previous = std::exchange(_rootViewController, controller);
  const bool visible = !isHidden();
  if (previous && previous->isViewLoaded()) {
    const std::shared_ptr<UIView> oldView = previous->view();
    if (visible) viewControllerWillDisappear(previous, false);
    if (oldView->superview().get() == this) oldView->removeFromSuperview();
    if (visible) viewControllerDidDisappear(previous, false);
  }
  if (!controller) return;
  const std::shared_ptr<UIView> newView = controller->view();
  newView->setFrame(bounds());
  if (visible) viewControllerWillAppear(controller, false);
  insertSubview(newView, 0);
  if (visible) viewControllerDidAppear(controller, false);
}

void UIWindow::setWindowScene(const std::shared_ptr<UIWindowScene>& scene) {
  if (!detail::onMainThreadOrRefuse("-[UIWindow setWindowScene:]")) return;
  const std::shared_ptr<UIWindow> self = std::static_pointer_cast<UIWindow>(strongSelf());
  if (!self) return;
  if (const std::shared_ptr<UIWindowScene> previous = _windowScene.lock()) {
    auto& windows = previous->_windows;
    windows.erase(std::remove(windows.begin(), windows.end(), self), windows.end());
  }
  _windowScene = scene;
  if (scene) scene->_windows.push_back(self);
}

void UIWindow::makeKeyAndVisible() {
  if (!detail::onMainThreadOrRefuse("-[UIWindow makeKeyAndVisible]")) return;
  makeKeyWindow();
  setHidden(false);
  showController(_rootViewController);
}

void UIWindow::makeKeyWindow() {
  if (!detail::onMainThreadOrRefuse("-[UIWindow makeKeyWindow]")) return;
  const std::shared_ptr<UIWindow> self = std::static_pointer_cast<UIWindow>(strongSelf());
  if (self) UIApplication::sharedApplication()->_keyWindow = self;
}

void UIWindow::resignKeyWindow() {
  if (!detail::onMainThreadOrRefuse("-[UIWindow resignKeyWindow]")) return;
  const std::shared_ptr<UIApplication> application = UIApplication::sharedApplication();
  if (application->_keyWindow.get() == this) application->_keyWindow.reset();
}

bool UIWindow::isKeyWindow() const {
  return UIApplication::sharedApplication()->keyWindow().get() == this;
}

void UIWindow::sendEvent(const std::shared_ptr<UIEvent>& event) {
  if (!detail::onMainThreadOrRefuse("-[UIWindow sendEvent:]") || !event) return;
  const std::shared_ptr<UIWindow> self = std::static_pointer_cast<UIWindow>(strongSelf());
  for (const id& object : *event->allTouches()) {
    const auto touch = std::static_pointer_cast<UITouch>(object);
    if (touch->window() != self || touch->phase() != UITouchPhaseBegan || touch->view()) continue;
    touch->setView(objc_msgSend<std::shared_ptr<UIView>, CGPoint, const std::shared_ptr<UIEvent>&>(
        self, hitTestSelector(), touch->locationInView(nullptr), event));
  }
  const std::pair<UITouchPhase, SEL> deliveries[] = {
      {UITouchPhaseBegan, touchesBeganSelector()},
      {UITouchPhaseMoved, touchesMovedSelector()},
      {UITouchPhaseEnded, touchesEndedSelector()},
      {UITouchPhaseCancelled, touchesCancelledSelector()},
  };
  for (const auto& [phase, selector] : deliveries) {
    for (const auto& [view, touches] : touchesByView(*event, *this, phase)) {
      sendTouches(view, selector, std::make_shared<NSSet>(touches), event);
    }
  }
}

std::shared_ptr<UIWindow> UIWindow::window() const {
  return std::static_pointer_cast<UIWindow>(strongSelf());
}

std::shared_ptr<UIResponder> UIWindow::nextResponder() const {
  if (std::shared_ptr<UIWindowScene> scene = _windowScene.lock()) return scene;
  return UIApplication::sharedApplication();
}

void UIWindow::layoutSubviews() {
  for (const std::shared_ptr<UIView>& subview : subviews()) {
    if (subview->viewController()) subview->setFrame(bounds());
  }
  UIView::layoutSubviews();
}

}  // namespace zu
