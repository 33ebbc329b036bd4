#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/runtime/MessageSend.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// A screen's controller in the headless view system. Its appearance methods are runtime
// methods ("viewWillAppear:", "viewDidAppear:", "viewWillDisappear:", "viewDidDisappear:", each
// a function void (*)(Object*, SEL, bool animated)), and the system sends them through the
// runtime when a controller is presented or dismissed, so that a subclass's own entries and any
// interception installed on them run as they would on the platform. The class's entries call
// the C++ virtuals below, which subclasses may override instead. Main thread only, except that
// appearance messages may be sent from any thread.
class ZU_EXPORT UIViewController : public Object {
 public:
  ZU_RUNTIME_CLASS(UIViewController, Object, &UIViewController::addMethods)

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

  // The appearance state left by the base appearance methods.
  AppearanceState appearanceState() const { return _state.load(std::memory_order_acquire); }
  // The controller's title; "" until set.
  std::string title() const;
  // Sets the title.
  void setTitle(std::string title);

  // Presents `controller` over this one: this one is sent "viewWillDisappear:", `controller`
  // "viewWillAppear:", then `controller` "viewDidAppear:", this one "viewDidDisappear:", then
  // `completion` runs. Animated, the second half runs on the main queue's next turn; otherwise
  // before the call returns. A missing controller, this controller itself, a controller already
  // presented, or a presenter already presenting another is refused with a console line.
  void presentViewController(const std::shared_ptr<UIViewController>& controller, bool animated,
                             std::function<void()> completion = {});
  // Dismisses the controller this one presented, or, when it presents none, this one from its
  // presenter, with the appearance messages of presentation reversed, then runs `completion`.
  // With nothing to dismiss nothing happens.
  void dismissViewControllerAnimated(bool animated, std::function<void()> completion = {});
  // The controller this one presents, or nullptr.
  std::shared_ptr<UIViewController> presentedViewController() const;
  // The controller that presents this one, or nullptr.
  std::shared_ptr<UIViewController> presentingViewController() const;

 private:
  static void addMethods(Class* cls);
  std::shared_ptr<UIViewController> strongSelf();

  std::atomic<AppearanceState> _state{AppearanceState::Disappeared};
  mutable Mutex _mutex;
  std::string _title ZU_GUARDED_BY(_mutex);
  std::shared_ptr<UIViewController> _presented ZU_GUARDED_BY(_mutex);
  std::weak_ptr<UIViewController> _presenting ZU_GUARDED_BY(_mutex);
};

// The platform's appearance messages: each sends its selector with `animated` to `controller`
// through the runtime (nothing for no controller), holding the controller (when a shared
// pointer owns it) until the message returns.
ZU_EXPORT void viewControllerWillAppear(ObjectRef controller, bool animated);
ZU_EXPORT void viewControllerDidAppear(ObjectRef controller, bool animated);
ZU_EXPORT void viewControllerWillDisappear(ObjectRef controller, bool animated);
ZU_EXPORT void viewControllerDidDisappear(ObjectRef controller, bool animated);

}  // namespace zu
