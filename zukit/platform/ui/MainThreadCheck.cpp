#include "zukit/platform/ui/MainThreadCheck.h"

#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/foundation/NSLog.h"

namespace zu::detail {

bool onMainThreadOrRefuse(const char* method) {
  if (RunLoop::isMainThread()) return true;
  NSLog("%s must be called on the main thread; ignored", method);
  return false;
}

}  // namespace zu::detail
