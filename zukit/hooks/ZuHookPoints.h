#pragma once

#include "zukit/hooks/ZuSwizzleSlot.h"
#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/Runtime.h"

// The four hook points: the only selectors the swizzler can hook, each with a process-wide slot
// holding its record and a fixed replacement function installed in place of the hooked method.
// A hooked call runs the saved implementation first and then every callback of the slot's
// record, in no promised order.
//
//   selector                                             hooked method's function type
//   "saveUploadInfo:event:handler:"                      void (*)(Object*, SEL, const Value&,
//                                                                 const Value&, const Value&)
//   "viewDidAppear:", "viewWillDisappear:"               void (*)(Object*, SEL, bool)
//   "mailComposeController:didFinishWithResult:error:"   void (*)(Object*, SEL, const Value&,
//                                                                 NSInteger, const Value&)
//
// A hooked method must have exactly that type: the swizzler leaves a method of another type as
// it was, and the runtime refuses calls made with other types.
//
// A hooked call keeps the receiver and the arguments alive as every send does: the sender
// holds them until the send returns (the system's appearance messages and the mail
// composer's report hold their receivers; a host sending directly holds its own). A replaced
// record or callback stays alive until the hooked calls that may be running it end.

// The callbacks, by hook point (make them with ZuBlock::make<Signature>(closure)). The receiver
// and the arguments are the caller's, alive for the duration of the call.
// "saveUploadInfo:event:handler:": the three arguments unchanged.
using ZuSaveUploadInfoBlock = void(zu::Object* receiver, zu::SEL selector, const zu::Value& first,
                                   const zu::Value& second, const zu::Value& third);
// "viewDidAppear:" and "viewWillDisappear:": the animated flag boxed as a number object
// (zu::NSNumber, numberWithBool); NSNumber::from(animated)->boolValue() unboxes it.
using ZuViewAppearanceBlock = void(zu::Object* receiver, zu::SEL selector,
                                   const zu::Value& animated);
// "mailComposeController:didFinishWithResult:error:": the result boxed as a number object
// (zu::NSNumber, numberWithInteger). The boxed value is an object, so comparing the argument
// itself with the result codes 0 to 3 never matches; NSNumber::from(result)->integerValue()
// unboxes it.
using ZuMailComposeResultBlock = void(zu::Object* receiver, zu::SEL selector,
                                      const zu::Value& controller, const zu::Value& result,
                                      const zu::Value& error);

// The slots, empty at start; written only by the swizzler.
ZU_EXPORT extern ZuSwizzleSlot saveUploadInfoSwizzle;
ZU_EXPORT extern ZuSwizzleSlot UIViewControllerViewDidAppearSwizzle;
ZU_EXPORT extern ZuSwizzleSlot UIViewControllerViewWillDisappearSwizzle;
ZU_EXPORT extern ZuSwizzleSlot MailComposeControllerDidFinishWithResultSwizzle;

// The replacement function for the selector named `selectorName`: the first of the four names
// equal to it (exact, case-sensitive), in the order above; nullptr for any other name or for a
// value that is not text.
ZU_EXPORT zu::IMP zuGetSwizzleIMPBySELName(const zu::Value& selectorName);
// The slot for the selector named `selectorName`, by the same comparison; nullptr otherwise.
ZU_EXPORT ZuSwizzleSlot* zuGetSwizzleByName(const zu::Value& selectorName);

// The replacement functions. Each finds its slot's record (an empty slot suppresses the whole
// call), runs the saved implementation, then each callback. The two view-controller functions
// call the saved implementation without testing for it: a missing one is refused by the
// runtime with a console line, and the callbacks still run. The other two skip a missing one.
ZU_EXPORT void zuSwizzledMethodsaveUploadInfo(zu::Object* self, zu::SEL selector,
                                              const zu::Value& first, const zu::Value& second,
                                              const zu::Value& third);
ZU_EXPORT void zuSwizzledMethodUIViewControllerViewDidAppear(zu::Object* self, zu::SEL selector,
                                                             bool animated);
ZU_EXPORT void zuSwizzledMethodUIViewControllerViewWillDisappear(zu::Object* self, zu::SEL selector,
                                                                 bool animated);
ZU_EXPORT void zuSwizzledMethodMailComposeControllerDidFinishWithResult(zu::Object* self,
                                                                        zu::SEL selector,
                                                                        const zu::Value& controller,
                                                                        zu::NSInteger result,
                                                                        const zu::Value& error);
