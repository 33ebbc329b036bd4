#pragma once

#include <concepts>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/Object.h"
#include "zukit/platform/runtime/Selector.h"

// Type encodings in the platform's letters ("v@:B" for a method taking one boolean and returning
// nothing). They describe a method for people and for method_getTypeEncoding(); the runtime's
// safety checks compare the exact C++ signatures, which an encoding cannot tell apart in every
// case (an `id` and a `Value` are both "@").

namespace zu {

class Class;

namespace detail {

// The readable name of a C++ type, namespaces included.
ZU_EXPORT std::string demangledTypeName(const std::type_info& type);

template <class T>
struct IsSharedObjectPointer : std::false_type {};
template <class T>
struct IsSharedObjectPointer<std::shared_ptr<T>>
    : std::bool_constant<std::derived_from<T, Object>> {};
template <class T>
struct IsSharedObjectPointer<std::weak_ptr<T>> : std::bool_constant<std::derived_from<T, Object>> {
};
// Types the encoding calls objects ("@"): object pointers, shared object pointers, Value.
template <class T>
struct IsObject
    : std::bool_constant<std::is_same_v<T, Value> || IsSharedObjectPointer<T>::value ||
                         (std::is_pointer_v<T> &&
                          std::derived_from<std::remove_cv_t<std::remove_pointer_t<T>>, Object>)> {
};
template <class T>
struct IsFunction : std::false_type {};
template <class T>
struct IsFunction<std::function<T>> : std::true_type {};

template <class T>
void appendIntegerEncoding(std::string& out) {
  constexpr bool isSigned = std::is_signed_v<T>;
  if constexpr (sizeof(T) == 1) {
    out += isSigned ? 'c' : 'C';
  } else if constexpr (sizeof(T) == 2) {
    out += isSigned ? 's' : 'S';
  } else if constexpr (sizeof(T) == 4) {
    out += isSigned ? 'i' : 'I';
  } else {
    out += isSigned ? 'q' : 'Q';
  }
}

// Appends the encoding of one argument or result type.
template <class T>
void appendTypeEncoding(std::string& out) {
  using U = std::remove_cvref_t<T>;
  if constexpr (std::is_void_v<U>) {
    out += 'v';
  } else if constexpr (std::is_same_v<U, bool>) {
    out += 'B';
  } else if constexpr (std::is_enum_v<U>) {
    appendTypeEncoding<std::underlying_type_t<U>>(out);
  } else if constexpr (std::is_integral_v<U>) {
    appendIntegerEncoding<U>(out);
  } else if constexpr (std::is_same_v<U, float>) {
    out += 'f';
  } else if constexpr (std::is_same_v<U, double>) {
    out += 'd';
  } else if constexpr (std::is_same_v<U, long double>) {
    out += 'D';
  } else if constexpr (std::is_same_v<U, std::nullptr_t>) {
    out += "^v";
  } else if constexpr (std::is_same_v<U, SEL>) {
    out += ':';
  } else if constexpr (std::is_same_v<U, Class*> || std::is_same_v<U, const Class*>) {
    out += '#';
  } else if constexpr (std::is_same_v<U, char*>) {
    out += '*';
  } else if constexpr (std::is_same_v<U, const char*>) {
    out += "r*";
  } else if constexpr (IsObject<U>::value) {
    out += '@';
  } else if constexpr (std::is_pointer_v<U>) {
    out += '^';
    appendTypeEncoding<std::remove_pointer_t<U>>(out);
  } else if constexpr (IsFunction<U>::value) {
    out += "@?";
  } else if constexpr (std::is_same_v<U, std::string>) {
    out += "{string}";
  } else {
    out += '{' + demangledTypeName(typeid(U)) + '}';
  }
}

template <class Function>
struct MethodSignature;

template <class R, class... Args>
struct MethodSignature<R (*)(Object*, SEL, Args...)> {
  static std::string encode() {
    std::string out;
    appendTypeEncoding<R>(out);
    out += "@:";
    (appendTypeEncoding<Args>(out), ...);
    return out;
  }
};

}  // namespace detail

// The type encoding of a method implementation's function type R (*)(Object*, SEL, Args...),
// built once per type.
template <class Function>
const char* typeEncoding() {
  static const std::string encoding = detail::MethodSignature<Function>::encode();
  return encoding.c_str();
}

}  // namespace zu
