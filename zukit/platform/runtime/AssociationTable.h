#pragma once

// Internal to libzukit (not installed, not exported): the store of associated objects.

#include "zukit/platform/runtime/Object.h"

namespace zu {

// The table behind objc_setAssociatedObject() and its kin (one for the process).
class AssociationTable {
 public:
  // Forgets the values of `object`, which is being destroyed.
  static void objectDestroyed(const Object* object);
  // Marks `object` as having associations.
  static void markObject(const Object* object);
};

}  // namespace zu
