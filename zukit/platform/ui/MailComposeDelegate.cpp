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
  // Held while the message runs, as the composer holds its delegate when it reports: the code
  // the message runs (an interception's callbacks included) may drop every other reference.
  const std::shared_ptr<Object> held = delegate.get()->weak_from_this().lock();
  objc_msgSend<void, const Value&, NSInteger, const Value&>(delegate, selector, controller, result,
                                                            error);
}

}  // namespace zu
