#include "zukit/platform/ui/UIViewController.h"

#include <utility>

#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/foundation/NSLog.h"

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

}  // namespace

void UIViewController::addMethods(Class* cls) {
  class_addMethod(cls, willAppearSelector(), imp(&viewWillAppearImplementation));
  class_addMethod(cls, didAppearSelector(), imp(&viewDidAppearImplementation));
  class_addMethod(cls, willDisappearSelector(), imp(&viewWillDisappearImplementation));
  class_addMethod(cls, didDisappearSelector(), imp(&viewDidDisappearImplementation));
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

std::shared_ptr<UIViewController> UIViewController::strongSelf() {
  return std::static_pointer_cast<UIViewController>(weak_from_this().lock());
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
