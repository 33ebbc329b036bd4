#include "zukit/platform/runtime/Class.h"

namespace zu {

// Registered classes live for the process; a class made any other way frees its current cache
// here (its entries and replaced caches go with their owning members).
Class::~Class() {
  const std::unique_ptr<const detail::MethodCache> current(_cache.load(std::memory_order_acquire));
}

bool Class::isSubclassOfClass(const Class* other) const {
  for (const Class* current = this; current != nullptr; current = current->superclass()) {
    if (current == other) return true;
  }
  return false;
}

}  // namespace zu
