#pragma once

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// A value boxed as an object: the superclass of NSNumber, as on the platform.
class ZU_EXPORT NSValue : public Object {
 public:
  ZU_RUNTIME_CLASS(NSValue, Object)

 protected:
  NSValue() = default;
};

}  // namespace zu
