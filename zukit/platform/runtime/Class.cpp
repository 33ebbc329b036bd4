#include "zukit/platform/runtime/Class.h"

namespace zu {

bool Class::isSubclassOfClass(const Class* other) const {
  for (const Class* current = this; current != nullptr; current = current->superclass()) {
    if (current == other) return true;
  }
  return false;
}

}  // namespace zu
