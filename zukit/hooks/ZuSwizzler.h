#pragma once

#include <memory>

#include "zukit/hooks/ZuBlock.h"
#include "zukit/hooks/ZuSwizzle.h"
#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/Runtime.h"
#include "zukit/platform/runtime/RuntimeClass.h"

// Attaches named callbacks to the four hook points (ZuHookPoints.h). The first install for a
// selector puts the hook point's replacement function in place of the method and a record in
// the hook point's slot; later installs add callbacks to that record or replace it. Installing
// and removing are meant for start-up or one thread; hooked calls may run on any thread
// meanwhile. Failures are logged at level 5 through ZuLogger, never thrown.
class ZU_EXPORT ZuSwizzler {
 public:
  ZU_RUNTIME_CLASS_NAME(ZuSwizzler, zu::Object)
  // True when `method` is one of the entries that `cls` itself defines (not inherited).
  static bool isLocallyDefinedMethod(zu::Method method, zu::Class* cls);
  // Attaches `block` under `name` to `selector` on `cls`. Nothing happens without a selector, a
  // class, a block or a valid name (absent, NSNull, empty or not text), nor for a selector that
  // is not a hook point. A method the class does not have is logged as
  // "SwizzleException:Cannot find method for <selector> on <class>" and the install carries on
  // without it. For a method the class defines itself, a record already in the slot gains the
  // callback (whatever class it was made for); otherwise the method's implementation is saved
  // and replaced. For an inherited (or missing) method the replacement is added to the class
  // itself, saving the slot record's saved implementation if there is a record, else the
  // inherited one; the new record replaces the slot's, callbacks and all.
  static void swizzleSelector(zu::SEL selector, zu::Class* cls, std::shared_ptr<ZuBlock> block,
                              const zu::Value& name);
  // Removes the callback under `name` from the record of `selector`'s hook point. The class is
  // not used, and the replacement function stays installed: with no callbacks left, a hooked
  // call runs only the saved implementation.
  static void unswizzleSelector(zu::SEL selector, zu::Class* cls, const zu::Value& name);
};
