#pragma once

#include <memory>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/runtime/MessageSend.h"
#include "zukit/platform/runtime/NSSet.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

class UIEvent;

// The runtime type of the touch methods "touchesBegan:withEvent:", "touchesMoved:withEvent:",
// "touchesEnded:withEvent:" and "touchesCancelled:withEvent:": the touches of one phase (a set
// of UITouch) and the event carrying them. A subclass that adds its own entry for one of them
// uses exactly this function type, and may call the inherited one with objc_msgSendSuper.
using UITouchesFunction = void (*)(Object* self, SEL selector,
                                   const std::shared_ptr<NSSet>& touches,
                                   const std::shared_ptr<UIEvent>& event);

// An object that answers events: the base of applications, scenes, views and view controllers.
// The system sends the four touch methods through the runtime (sendTouches() below), so that a
// subclass's own runtime entries and any interception installed on them run as on the platform;
// the class's entries call the C++ virtuals below, which subclasses may override instead. By
// default each passes the touches on to nextResponder() through the runtime. Main thread only.
class ZU_EXPORT UIResponder : public Object {
 public:
  ZU_RUNTIME_CLASS(UIResponder, Object, &UIResponder::addMethods)

  UIResponder() = default;
  ~UIResponder() override;
  UIResponder(const UIResponder&) = delete;
  UIResponder& operator=(const UIResponder&) = delete;

  // The next object in the responder chain, or nullptr; none for a plain responder.
  virtual std::shared_ptr<UIResponder> nextResponder() const;

  // Called by the class's "touchesBegan:withEvent:" entry; passes the touches on.
  virtual void touchesBegan(const std::shared_ptr<NSSet>& touches,
                            const std::shared_ptr<UIEvent>& event);
  // Called by the class's "touchesMoved:withEvent:" entry; passes the touches on.
  virtual void touchesMoved(const std::shared_ptr<NSSet>& touches,
                            const std::shared_ptr<UIEvent>& event);
  // Called by the class's "touchesEnded:withEvent:" entry; passes the touches on.
  virtual void touchesEnded(const std::shared_ptr<NSSet>& touches,
                            const std::shared_ptr<UIEvent>& event);
  // Called by the class's "touchesCancelled:withEvent:" entry; passes the touches on.
  virtual void touchesCancelled(const std::shared_ptr<NSSet>& touches,
                                const std::shared_ptr<UIEvent>& event);

 private:
  static void addMethods(Class* cls);
};

// The selectors of the four touch methods.
ZU_EXPORT SEL touchesBeganSelector();
ZU_EXPORT SEL touchesMovedSelector();
ZU_EXPORT SEL touchesEndedSelector();
ZU_EXPORT SEL touchesCancelledSelector();

// Sends the touch method `selector` (one of the four above) with `touches` and `event` to
// `responder` through the runtime; nothing for no responder.
ZU_EXPORT void sendTouches(ObjectRef responder, SEL selector, const std::shared_ptr<NSSet>& touches,
                           const std::shared_ptr<UIEvent>& event);

}  // namespace zu
