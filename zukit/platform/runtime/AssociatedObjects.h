#pragma once

#include <cstdint>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/ObjectRef.h"

namespace zu {

// How an associated value is held.
enum objc_AssociationPolicy : std::uintptr_t {
  // Held weakly: an object value reads back as absent once it is gone (other values are kept).
  OBJC_ASSOCIATION_ASSIGN = 0,
  // Held strongly.
  OBJC_ASSOCIATION_RETAIN_NONATOMIC = 1,
  // A copy is held: values are copied, objects (which cannot be copied) are held strongly.
  OBJC_ASSOCIATION_COPY_NONATOMIC = 3,
  // Held strongly; reads and writes are atomic (as all of them are here).
  OBJC_ASSOCIATION_RETAIN = 01401,
  // A copy is held, atomically.
  OBJC_ASSOCIATION_COPY = 01403,
};

// Associates `value` with `object` under `key` (any address, typically a static variable's or a
// selector), replacing what was there; an absent value removes the association. The values go
// when the object is destroyed. Nothing happens for a null object or key, or an unknown policy.
// Safe from any thread.
ZU_EXPORT void objc_setAssociatedObject(ObjectRef object, const void* key, const Value& value,
                                        objc_AssociationPolicy policy);
// The value associated with `object` under `key`, or absent.
ZU_EXPORT Value objc_getAssociatedObject(ObjectRef object, const void* key);
// Removes every value associated with `object`.
ZU_EXPORT void objc_removeAssociatedObjects(ObjectRef object);

}  // namespace zu
