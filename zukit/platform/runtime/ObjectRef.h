#pragma once

#include <concepts>
#include <memory>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/runtime/Object.h"

namespace zu {

// A non-owning reference to an object, made implicitly from a raw pointer or any shared pointer
// to an object; the runtime's functions take it so that callers need not convert. The caller
// keeps the object alive for the duration of the call.
class ZU_EXPORT ObjectRef {
 public:
  // No object.
  ObjectRef(std::nullptr_t = nullptr) {}  // NOLINT(google-explicit-constructor)
  // The object `object` points at.
  ObjectRef(const Object* object)  // NOLINT(google-explicit-constructor)
      : _object(const_cast<Object*>(object)) {
  }  // NOLINT(cppcoreguidelines-pro-type-const-cast): messages may change the receiver, as on the
     // platform
  // The object `object` holds.
  template <class T>
  requires std::derived_from<T, Object> ObjectRef(
      const std::shared_ptr<T>& object)  // NOLINT(google-explicit-constructor)
      : _object(object.get()) {}

  // The object, or nullptr.
  Object* get() const { return _object; }
  explicit operator bool() const { return _object != nullptr; }

 private:
  Object* _object = nullptr;
};

}  // namespace zu
