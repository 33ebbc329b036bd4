#pragma once

#include <atomic>
#include <string>
#include <typeinfo>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/runtime/CacheLine.h"
#include "zukit/platform/runtime/Selector.h"
#include "zukit/platform/runtime/TypeEncoding.h"

namespace zu {

class Object;

// A method implementation: a plain function R (*)(Object* self, SEL _cmd, Args...) kept
// type-erased together with the identity of its exact C++ type, so that every call through the
// runtime can be checked against the signature the function really has.
struct ZU_EXPORT objc_implementation {
  // The function, cast to a common pointer type; called back only through its own type.
  alignas(kCacheLineSize) void (*function)();
  // The exact function type.
  const std::type_info* signature;
  // Its type encoding, such as "v@:B".
  const char* types;
};

// An implementation; nullptr stands for none. Equal functions give the same pointer.
using IMP = const objc_implementation*;

namespace detail {
// The one record for `function` of type `signature`, made on first use and never freed.
ZU_EXPORT IMP internImplementation(void (*function)(), const std::type_info& signature,
                                   const char* types);
}  // namespace detail

// The implementation record of `function`, whose first two parameters are the receiver and the
// selector; nullptr for a null function. Calling it twice with one function gives one record.
template <class R, class... Args>
IMP imp(R (*function)(Object*, SEL, Args...)) {
  using Function = R (*)(Object*, SEL, Args...);
  if (function == nullptr) return nullptr;
  return detail::internImplementation(
      reinterpret_cast<void (*)()>(
          function),  // NOLINT(cppcoreguidelines-pro-type-reinterpret-cast):
                      // type-erased, called back only as Function
      typeid(Function), typeEncoding<Function>());
}

// True when `implementation` is a function of exactly type Function.
template <class Function>
bool imp_hasSignature(IMP implementation) {
  return implementation != nullptr && (implementation->signature == &typeid(Function) ||
                                       *implementation->signature == typeid(Function));
}

// A method entry of a class: a selector, the implementation in force and a type encoding. An
// entry keeps its identity for the life of the process; its implementation may be replaced.
struct ZU_EXPORT objc_method {
  objc_method(SEL methodSelector, IMP methodImplementation, std::string methodTypes)
      : selector(methodSelector),
        implementation(methodImplementation),
        types(std::move(methodTypes)) {}
  objc_method(const objc_method&) = delete;
  objc_method& operator=(const objc_method&) = delete;

  // The selector the entry answers.
  alignas(kCacheLineSize) const SEL selector;
  // The implementation in force; read by every send, replaced by method_setImplementation().
  std::atomic<IMP> implementation;
  // The type encoding given when the entry was added.
  const std::string types;
};

// A method entry; nullptr stands for none.
using Method = objc_method*;

}  // namespace zu
