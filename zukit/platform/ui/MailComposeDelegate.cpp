#include "zukit/platform/ui/MailComposeDelegate.h"

namespace zu {

SEL mailComposeControllerDidFinishSelector() {
  static const SEL selector = sel_registerName("mailComposeController:didFinishWithResult:error:");
  return selector;
}

void mailComposeControllerDidFinish(ObjectRef delegate, const Value& controller, NSInteger result,
                                    const Value& error) {
  const SEL selector = mailComposeControllerDidFinishSelector();
  if (!respondsToSelector(delegate, selector)) return;
  objc_msgSend<void, const Value&, NSInteger, const Value&>(delegate, selector, controller, result,
                                                            error);
}

}  // namespace zu
