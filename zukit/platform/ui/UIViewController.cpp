#include "zukit/platform/ui/UIViewController.h"

#include <algorithm>
#include <utility>

#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/foundation/NSLog.h"
#include "zukit/platform/ui/MainThreadCheck.h"
#include "zukit/platform/ui/UINavigationController.h"
#include "zukit/platform/ui/UIScreen.h"
#include "zukit/platform/ui/UITabBarController.h"
#include "zukit/platform/ui/UIView.h"
#include "zukit/platform/ui/UIWindow.h"

namespace zu {

namespace {

SEL willAppearSelector() {
  static const SEL selector = sel_registerName("viewWillAppear:");
  return selector;
}
SEL didAppearSelector() {
  static const SEL selector = sel_registerName("viewDidAppear:");
  return selector;
}
SEL willDisappearSelector() {
  static const SEL selector = sel_registerName("viewWillDisappear:");
  return selector;
}
SEL didDisappearSelector() {
  static const SEL selector = sel_registerName("viewDidDisappear:");
  return selector;
}
SEL loadViewSelector() {
  static const SEL selector = sel_registerName("loadView");
  return selector;
}
SEL viewDidLoadSelector() {
  static const SEL selector = sel_registerName("viewDidLoad");
  return selector;
}

// The class's runtime implementations: each forwards to the C++ virtual of the receiver, which
// is a UIViewController whenever the entry is reached through the class's own table.
void viewWillAppearImplementation(Object* self, SEL /*selector*/, bool animated) {
  if (auto* controller = dynamic_cast<UIViewController*>(self))
    controller->viewWillAppear(animated);
}
void viewDidAppearImplementation(Object* self, SEL /*selector*/, bool animated) {
  if (auto* controller = dynamic_cast<UIViewController*>(self)) controller->viewDidAppear(animated);
}
void viewWillDisappearImplementation(Object* self, SEL /*selector*/, bool animated) {
  if (auto* controller = dynamic_cast<UIViewController*>(self)) {
    controller->viewWillDisappear(animated);
  }
}
void viewDidDisappearImplementation(Object* self, SEL /*selector*/, bool animated) {
  if (auto* controller = dynamic_cast<UIViewController*>(self)) {
    controller->viewDidDisappear(animated);
  }
}

void loadViewImplementation(Object* self, SEL /*selector*/) {
  if (auto* controller = dynamic_cast<UIViewController*>(self)) controller->loadView();
}
void viewDidLoadImplementation(Object* self, SEL /*selector*/) {
  if (auto* controller = dynamic_cast<UIViewController*>(self)) controller->viewDidLoad();
}

// Shows `controller`'s view over everything in `window`, at the window's bounds.
void showInWindow(const std::shared_ptr<UIViewController>& controller,
                  const std::shared_ptr<UIWindow>& window) {
  if (!window) return;
  const std::shared_ptr<UIView> view = controller->view();
  if (!view) return;
  view->setFrame(window->bounds());
  window->addSubview(view);
}

// Takes a presented controller's view out of the window it was shown in.
void removeFromWindow(const std::shared_ptr<UIViewController>& controller) {
  if (!controller->isViewLoaded() || !RunLoop::isMainThread()) return;
  const std::shared_ptr<UIView> view = controller->view();
  if (std::dynamic_pointer_cast<UIWindow>(view->superview())) view->removeFromSuperview();
}

}  // namespace

void UIViewController::addMethods(Class* cls) {
  class_addMethod(cls, willAppearSelector(), imp(&viewWillAppearImplementation));
  class_addMethod(cls, didAppearSelector(), imp(&viewDidAppearImplementation));
  class_addMethod(cls, willDisappearSelector(), imp(&viewWillDisappearImplementation));
  class_addMethod(cls, didDisappearSelector(), imp(&viewDidDisappearImplementation));
  class_addMethod(cls, loadViewSelector(), imp(&loadViewImplementation));
  class_addMethod(cls, viewDidLoadSelector(), imp(&viewDidLoadImplementation));
}

UIViewController::~UIViewController() = default;

void UIViewController::viewWillAppear(bool /*animated*/) {
  _state.store(AppearanceState::Appearing, std::memory_order_release);
}

void UIViewController::viewDidAppear(bool /*animated*/) {
  _state.store(AppearanceState::Appeared, std::memory_order_release);
}

void UIViewController::viewWillDisappear(bool /*animated*/) {
  _state.store(AppearanceState::Disappearing, std::memory_order_release);
}

void UIViewController::viewDidDisappear(bool /*animated*/) {
  _state.store(AppearanceState::Disappeared, std::memory_order_release);
}

void UIViewController::loadView() {
  setView(std::make_shared<UIView>(UIScreen::mainScreen()->bounds()));
}

void UIViewController::viewDidLoad() {}

void UIViewController::viewDidLayoutSubviews() {}

std::string UIViewController::title() const {
  MutexLock lock(_mutex);
  return _title;
}

void UIViewController::setTitle(std::string title) {
  MutexLock lock(_mutex);
  _title = std::move(title);
}

std::shared_ptr<UIViewController> UIViewController::presentedViewController() const {
  MutexLock lock(_mutex);
  return _presented;
}

std::shared_ptr<UIViewController> UIViewController::presentingViewController() const {
  MutexLock lock(_mutex);
  return _presenting.lock();
}

std::shared_ptr<UIViewController> UIViewController::strongSelf() const {
  return std::static_pointer_cast<UIViewController>(
      std::const_pointer_cast<Object>(weak_from_this().lock()));
}

std::shared_ptr<UIView> UIViewController::view() {
  {
    MutexLock lock(_mutex);
    if (_view) return _view;
  }
  if (!detail::onMainThreadOrRefuse("-[UIViewController view]")) return nullptr;
  const std::shared_ptr<UIViewController> self = strongSelf();
  objc_msgSend<void>(self ? ObjectRef(self) : ObjectRef(this), loadViewSelector());
  bool loaded = false;
  {
    MutexLock lock(_mutex);
    loaded = _view != nullptr;
  }
  // A "loadView" that set no view leaves the controller with a plain one.
  if (!loaded) UIViewController::loadView();
  objc_msgSend<void>(self ? ObjectRef(self) : ObjectRef(this), viewDidLoadSelector());
  MutexLock lock(_mutex);
  return _view;
}

bool UIViewController::isViewLoaded() const {
  MutexLock lock(_mutex);
  return _view != nullptr;
}

void UIViewController::setView(const std::shared_ptr<UIView>& view) {
  if (!detail::onMainThreadOrRefuse("-[UIViewController setView:]")) return;
  std::shared_ptr<UIView> previous;
  {
    MutexLock lock(_mutex);
    previous = std::exchange(_view, view);
  }
  if (previous && previous != view) previous->_viewController.reset();
  if (view) view->_viewController = strongSelf();
}

std::shared_ptr<UIViewController> UIViewController::parentViewController() const {
  MutexLock lock(_mutex);
  return _parent.lock();
}

std::vector<std::shared_ptr<UIViewController>> UIViewController::childViewControllers() const {
  MutexLock lock(_mutex);
  return _children;
}

void UIViewController::addChildViewController(const std::shared_ptr<UIViewController>& child) {
  if (!detail::onMainThreadOrRefuse("-[UIViewController addChildViewController:]")) return;
  if (!child || child.get() == this) return;
  child->removeFromParentViewController();
  {
    MutexLock lock(_mutex);
    _children.push_back(child);
  }
  MutexLock lock(child->_mutex);
  child->_parent = strongSelf();
}

void UIViewController::removeFromParentViewController() {
  if (!detail::onMainThreadOrRefuse("-[UIViewController removeFromParentViewController]")) return;
  std::shared_ptr<UIViewController> parent;
  {
    MutexLock lock(_mutex);
    parent = _parent.lock();
    _parent.reset();
  }
  if (!parent) return;
  // The parent may hold the last reference.
  const std::shared_ptr<UIViewController> keepAlive = strongSelf();
  MutexLock lock(parent->_mutex);
  auto& siblings = parent->_children;
  siblings.erase(std::remove_if(siblings.begin(), siblings.end(),
                                [this](const std::shared_ptr<UIViewController>& sibling) {
                                  return sibling.get() == this;
                                }),
                 siblings.end());
}

std::shared_ptr<UINavigationController> UIViewController::navigationController() const {
  for (std::shared_ptr<UIViewController> ancestor = parentViewController(); ancestor;
       ancestor = ancestor->parentViewController()) {
    if (auto navigation = std::dynamic_pointer_cast<UINavigationController>(ancestor)) {
      return navigation;
    }
  }
  return nullptr;
}

std::shared_ptr<UITabBarController> UIViewController::tabBarController() const {
  for (std::shared_ptr<UIViewController> ancestor = parentViewController(); ancestor;
       ancestor = ancestor->parentViewController()) {
    if (auto tabBar = std::dynamic_pointer_cast<UITabBarController>(ancestor)) return tabBar;
  }
  return nullptr;
}

std::shared_ptr<UIResponder> UIViewController::nextResponder() const {
  std::shared_ptr<UIView> view;
  {
    MutexLock lock(_mutex);
    view = _view;
  }
  if (view) {
    if (std::shared_ptr<UIView> superview = view->superview()) return superview;
  }
  if (std::shared_ptr<UIViewController> parent = parentViewController()) return parent;
  return presentingViewController();
}

void UIViewController::presentViewController(const std::shared_ptr<UIViewController>& controller,
                                             bool animated, std::function<void()> completion) {
  const std::shared_ptr<UIViewController> self = strongSelf();
  if (!controller || controller.get() == this || !self) {
    NSLog("Attempt to present %@ on %@, which cannot be presented", controller,
          static_cast<const Object&>(*this));
    return;
  }
  const std::shared_ptr<UIViewController> current = presentedViewController();
  if (current) {
    NSLog("Attempt to present %@ on %@ which is already presenting %@", controller,
          static_cast<const Object&>(*this), current);
    return;
  }
  if (const std::shared_ptr<UIViewController> owner = controller->presentingViewController()) {
    NSLog("Attempt to present %@ on %@ which is already presented by %@", controller,
          static_cast<const Object&>(*this), owner);
    return;
  }
  {
    MutexLock lock(_mutex);
    _presented = controller;
  }
  {
    MutexLock lock(controller->_mutex);
    controller->_presenting = self;
  }
  viewControllerWillDisappear(self, animated);
  viewControllerWillAppear(controller, animated);
  if (isViewLoaded() && RunLoop::isMainThread()) showInWindow(controller, view()->window());
  auto finish = [self, controller, animated, completion = std::move(completion)] {
    viewControllerDidAppear(controller, animated);
    viewControllerDidDisappear(self, animated);
    if (completion) completion();
  };
  if (animated) {
    dispatch_async(dispatch_get_main_queue(), std::move(finish));
  } else {
    finish();
  }
}

void UIViewController::dismissViewControllerAnimated(bool animated,
                                                     std::function<void()> completion) {
  std::shared_ptr<UIViewController> presenter = strongSelf();
  std::shared_ptr<UIViewController> presented = presentedViewController();
  if (!presented) {
    presented = presenter;
    presenter = presentingViewController();
  }
  if (!presenter || !presented) return;
  viewControllerWillDisappear(presented, animated);
  viewControllerWillAppear(presenter, animated);
  auto finish = [presenter, presented, animated, completion = std::move(completion)] {
    {
      MutexLock lock(presenter->_mutex);
      if (presenter->_presented == presented) presenter->_presented.reset();
    }
    {
      MutexLock lock(presented->_mutex);
      presented->_presenting.reset();
    }
    removeFromWindow(presented);
    viewControllerDidDisappear(presented, animated);
    viewControllerDidAppear(presenter, animated);
    if (completion) completion();
  };
  if (animated) {
    dispatch_async(dispatch_get_main_queue(), std::move(finish));
  } else {
    finish();
  }
}

namespace {

// Sends an appearance message. The system holds the controller while it does, as the
// platform's view hierarchy does: code the message runs (an interception's callbacks
// included) may drop every other reference to it.
void sendAppearance(ObjectRef controller, SEL selector, bool animated) {
  const std::shared_ptr<Object> held =
      controller ? controller.get()->weak_from_this().lock() : nullptr;
  objc_msgSend<void, bool>(controller, selector, animated);
}

}  // namespace

void viewControllerWillAppear(ObjectRef controller, bool animated) {
  sendAppearance(controller, willAppearSelector(), animated);
}

void viewControllerDidAppear(ObjectRef controller, bool animated) {
  sendAppearance(controller, didAppearSelector(), animated);
}

void viewControllerWillDisappear(ObjectRef controller, bool animated) {
  sendAppearance(controller, willDisappearSelector(), animated);
}

void viewControllerDidDisappear(ObjectRef controller, bool animated) {
  sendAppearance(controller, didDisappearSelector(), animated);
}

}  // namespace zu
