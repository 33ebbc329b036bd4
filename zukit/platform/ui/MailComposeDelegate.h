#pragma once

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/MessageSend.h"

namespace zu {

// The mail composer's delegate method "mailComposeController:didFinishWithResult:error:": a
// runtime method of the delegate with this function type (the composer, the result code, the
// error or absent).
using MailComposeDidFinishFunction = void (*)(Object* self, SEL selector, const Value& controller,
                                              NSInteger result, const Value& error);

// The selector "mailComposeController:didFinishWithResult:error:".
ZU_EXPORT SEL mailComposeControllerDidFinishSelector();

// Tells `delegate` how the composer `controller` ended, as the platform does when the user
// leaves it: sends the selector through the runtime when the delegate answers it, holding the
// delegate (when a shared pointer owns it) until the message returns, and does nothing
// otherwise (or for no delegate).
ZU_EXPORT void mailComposeControllerDidFinish(ObjectRef delegate, const Value& controller,
                                              NSInteger result, const Value& error);

}  // namespace zu
