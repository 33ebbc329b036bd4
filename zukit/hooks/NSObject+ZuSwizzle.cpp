#include "zukit/hooks/NSObject+ZuSwizzle.h"

void zu_exchangeOriginalSel(zu::Class* cls, zu::SEL originalSel, zu::SEL replacedSel) {
  zu::Method originalMethod = zu::class_getInstanceMethod(cls, originalSel);
  zu::Method replacedMethod = zu::class_getInstanceMethod(cls, replacedSel);
  if (zu::class_addMethod(cls, originalSel, zu::method_getImplementation(replacedMethod),
                          zu::method_getTypeEncoding(replacedMethod))) {
    replacedMethod = zu::class_getInstanceMethod(cls, replacedSel);
  }
  zu::method_exchangeImplementations(originalMethod, replacedMethod);
}
