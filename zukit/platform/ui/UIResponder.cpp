#include "zukit/platform/ui/UIResponder.h"

#include "zukit/platform/ui/UIEvent.h"

namespace zu {

namespace {

// The class's runtime entries: each calls the C++ virtual of the receiver, which is a
// UIResponder whenever the entry is reached through the class's own table.
void touchesBeganImplementation(Object* self, SEL /*selector*/,
                                const std::shared_ptr<NSSet>& touches,
                                const std::shared_ptr<UIEvent>& event) {
  if (auto* responder = dynamic_cast<UIResponder*>(self)) responder->touchesBegan(touches, event);
}
void touchesMovedImplementation(Object* self, SEL /*selector*/,
                                const std::shared_ptr<NSSet>& touches,
                                const std::shared_ptr<UIEvent>& event) {
  if (auto* responder = dynamic_cast<UIResponder*>(self)) responder->touchesMoved(touches, event);
}
void touchesEndedImplementation(Object* self, SEL /*selector*/,
                                const std::shared_ptr<NSSet>& touches,
                                const std::shared_ptr<UIEvent>& event) {
  if (auto* responder = dynamic_cast<UIResponder*>(self)) responder->touchesEnded(touches, event);
}
void touchesCancelledImplementation(Object* self, SEL /*selector*/,
                                    const std::shared_ptr<NSSet>& touches,
                                    const std::shared_ptr<UIEvent>& event) {
  if (auto* responder = dynamic_cast<UIResponder*>(self)) {
    responder->touchesCancelled(touches, event);
  }
}

}  // namespace

SEL touchesBeganSelector() {
  static const SEL selector = sel_registerName("touchesBegan:withEvent:");
  return selector;
}

SEL touchesMovedSelector() {
  static const SEL selector = sel_registerName("touchesMoved:withEvent:");
  return selector;
}

SEL touchesEndedSelector() {
  static const SEL selector = sel_registerName("touchesEnded:withEvent:");
  return selector;
}

SEL touchesCancelledSelector() {
  static const SEL selector = sel_registerName("touchesCancelled:withEvent:");
  return selector;
}

void UIResponder::addMethods(Class* cls) {
  class_addMethod(cls, touchesBeganSelector(), imp(&touchesBeganImplementation));
  class_addMethod(cls, touchesMovedSelector(), imp(&touchesMovedImplementation));
  class_addMethod(cls, touchesEndedSelector(), imp(&touchesEndedImplementation));
  class_addMethod(cls, touchesCancelledSelector(), imp(&touchesCancelledImplementation));
}

UIResponder::~UIResponder() = default;

std::shared_ptr<UIResponder> UIResponder::nextResponder() const {
  return nullptr;
}

void UIResponder::touchesBegan(const std::shared_ptr<NSSet>& touches,
                               const std::shared_ptr<UIEvent>& event) {
  sendTouches(nextResponder(), touchesBeganSelector(), touches, event);
}

void UIResponder::touchesMoved(const std::shared_ptr<NSSet>& touches,
                               const std::shared_ptr<UIEvent>& event) {
  sendTouches(nextResponder(), touchesMovedSelector(), touches, event);
}

void UIResponder::touchesEnded(const std::shared_ptr<NSSet>& touches,
                               const std::shared_ptr<UIEvent>& event) {
  sendTouches(nextResponder(), touchesEndedSelector(), touches, event);
}

void UIResponder::touchesCancelled(const std::shared_ptr<NSSet>& touches,
                                   const std::shared_ptr<UIEvent>& event) {
  sendTouches(nextResponder(), touchesCancelledSelector(), touches, event);
}

void sendTouches(ObjectRef responder, SEL selector, const std::shared_ptr<NSSet>& touches,
                 const std::shared_ptr<UIEvent>& event) {
  if (!responder) return;
  objc_msgSend<void, const std::shared_ptr<NSSet>&, const std::shared_ptr<UIEvent>&>(
      responder, selector, touches, event);
}

}  // namespace zu
