#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/runtime/MessageSend.h"
#include "zukit/platform/ui/UIResponder.h"

namespace zu {

class UINavigationController;
class UITabBarController;
class UIView;

// A screen's controller in the headless view system: it owns a view (made on first use of
// view()), may hold child controllers (containers), and presents other controllers over itself.
//
// Its appearance methods are runtime methods ("viewWillAppear:", "viewDidAppear:",
// "viewWillDisappear:", "viewDidDisappear:", each a function void (*)(Object*, SEL, bool
// animated)), and the system sends them through the runtime when a controller is presented or
// dismissed, pushed or popped, selected, or shown in a window, so that a subclass's own entries
// and any interception installed on them run as they would on the platform. "loadView" and
// "viewDidLoad" (void (*)(Object*, SEL)) are sent the same way when the view is first needed.
// The class's entries call the C++ virtuals below, which subclasses may override instead.
//
// Main thread only, except that appearance messages may be sent, and the presentation links
// read, from any thread.
class ZU_EXPORT UIViewController : public UIResponder {
 public:
  ZU_RUNTIME_CLASS(UIViewController, UIResponder, &UIViewController::addMethods)

  // Where the controller stands, as the base appearance methods leave it.
  enum class AppearanceState : std::uint8_t { Disappeared, Appearing, Appeared, Disappearing };

  UIViewController() = default;
  ~UIViewController() override;
  UIViewController(const UIViewController&) = delete;
  UIViewController& operator=(const UIViewController&) = delete;

  // Called by the class's "viewWillAppear:": marks the controller Appearing.
  virtual void viewWillAppear(bool animated);
  // Called by the class's "viewDidAppear:": marks the controller Appeared.
  virtual void viewDidAppear(bool animated);
  // Called by the class's "viewWillDisappear:": marks the controller Disappearing.
  virtual void viewWillDisappear(bool animated);
  // Called by the class's "viewDidDisappear:": marks the controller Disappeared.
  virtual void viewDidDisappear(bool animated);
  // Called by the class's "loadView" when the view is first needed: gives the controller a plain
  // view the size of the main screen. An override sets its own view with setView().
  virtual void loadView();
  // Called by the class's "viewDidLoad" once the view is loaded; nothing by default.
  virtual void viewDidLoad();
  // Called whenever the view's size changes; containers place their children's views here.
  virtual void viewDidLayoutSubviews();

  // The appearance state left by the base appearance methods.
  AppearanceState appearanceState() const { return _state.load(std::memory_order_acquire); }
  // The controller's title; "" until set.
  std::string title() const;
  // Sets the title (containers show it in their bars).
  void setTitle(std::string title);

  // The controller's view, loaded on first use ("loadView", then "viewDidLoad", through the
  // runtime). Loading off the main thread is refused with a console line (nullptr).
  std::shared_ptr<UIView> view();
  // True once the view is loaded.
  bool isViewLoaded() const;
  // Makes `view` the controller's view (its next responder becomes this controller).
  void setView(const std::shared_ptr<UIView>& view);

  // The container holding this controller, or nullptr.
  std::shared_ptr<UIViewController> parentViewController() const;
  // The controllers this one contains, in the order they were added.
  std::vector<std::shared_ptr<UIViewController>> childViewControllers() const;
  // Makes `child` a child of this controller (taking it from its previous parent). Nothing for
  // no child or this controller itself.
  void addChildViewController(const std::shared_ptr<UIViewController>& child);
  // Leaves the parent; nothing without one.
  void removeFromParentViewController();
  // The nearest navigation controller among the ancestors, or nullptr.
  std::shared_ptr<UINavigationController> navigationController() const;
  // The nearest tab-bar controller among the ancestors, or nullptr.
  std::shared_ptr<UITabBarController> tabBarController() const;

  // Presents `controller` over this one: this one is sent "viewWillDisappear:", `controller`
  // "viewWillAppear:"; when this controller's view is in a window, `controller`'s view is put in
  // front of that window's views at its bounds; then `controller` is sent "viewDidAppear:", this
  // one "viewDidDisappear:", and `completion` runs. Animated, the second half runs on the main
  // queue's next turn; otherwise before the call returns. A missing controller, this controller
  // itself, a controller already presented, or a presenter already presenting another is
  // refused with a console line.
  void presentViewController(const std::shared_ptr<UIViewController>& controller, bool animated,
                             std::function<void()> completion = {});
  // Dismisses the controller this one presented, or, when it presents none, this one from its
  // presenter, with the appearance messages of presentation reversed, takes the dismissed
  // controller's view out of the window, then runs `completion`. With nothing to dismiss
  // nothing happens.
  void dismissViewControllerAnimated(bool animated, std::function<void()> completion = {});
  // The controller this one presents, or nullptr.
  std::shared_ptr<UIViewController> presentedViewController() const;
  // The controller that presents this one, or nullptr.
  std::shared_ptr<UIViewController> presentingViewController() const;

  // The view's superview, else the parent, else the presenting controller.
  std::shared_ptr<UIResponder> nextResponder() const override;

 protected:
  // This controller as a shared pointer (nullptr while it is not owned by one).
  std::shared_ptr<UIViewController> strongSelf() const;

 private:
  static void addMethods(Class* cls);

  std::atomic<AppearanceState> _state{AppearanceState::Disappeared};
  mutable Mutex _mutex;
  std::string _title ZU_GUARDED_BY(_mutex);
  std::shared_ptr<UIViewController> _presented ZU_GUARDED_BY(_mutex);
  std::weak_ptr<UIViewController> _presenting ZU_GUARDED_BY(_mutex);
  std::shared_ptr<UIView> _view ZU_GUARDED_BY(_mutex);
  std::weak_ptr<UIViewController> _parent ZU_GUARDED_BY(_mutex);
  std::vector<std::shared_ptr<UIViewController>> _children ZU_GUARDED_BY(_mutex);
};

// The platform's appearance messages: each sends its selector with `animated` to `controller`
// through the runtime (nothing for no controller), holding the controller (when a shared
// pointer owns it) until the message returns.
ZU_EXPORT void viewControllerWillAppear(ObjectRef controller, bool animated);
ZU_EXPORT void viewControllerDidAppear(ObjectRef controller, bool animated);
ZU_EXPORT void viewControllerWillDisappear(ObjectRef controller, bool animated);
ZU_EXPORT void viewControllerDidDisappear(ObjectRef controller, bool animated);

}  // namespace zu
