#pragma once

#include <typeinfo>
#include <utility>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/Class.h"
#include "zukit/platform/runtime/Method.h"
#include "zukit/platform/runtime/ObjectRef.h"
#include "zukit/platform/runtime/Selector.h"

// Messages: a send looks the selector up in the receiver's runtime class (through a per-class
// cache) and calls the implementation found through the implementation's own function type.
// Every send is checked: when the arguments and result named at the call site are not exactly
// the implementation's parameter and result types, the send is refused with a console line and
// nothing is called (the result is then a value-initialised R). Sends are safe from any thread,
// also while methods are being added or replaced.

namespace zu {

namespace detail {

ZU_EXPORT Method lookupMethodSlow(Class* cls, SEL selector);

// The entry answering `selector` for instances of `cls`, or nullptr: the class's cache when it
// is current, else a lookup that refreshes the cache.
inline Method lookupMethod(Class* cls, SEL selector) {
  const MethodCache* cache = cls->methodCache();
  if (cache != nullptr && cache->epoch == methodTableEpoch.load(std::memory_order_acquire))
      [[likely]] {
    for (std::size_t index = selectorBucket(selector, cache->mask);;
         index = (index + 1) & cache->mask) {
      const MethodCacheBucket& bucket = cache->buckets[index];
      if (bucket.selector == selector) return bucket.method;
      if (bucket.selector == nullptr) break;
    }
  }
  return lookupMethodSlow(cls, selector);
}

// What a checked call may do.
enum class CallCheck : unsigned char { Call, Refuse };

// The slow half of the check: a signature that is the same type under another type_info
// object is accepted; otherwise the refusal is reported on the console, naming `cls` (the
// receiver's class when nullptr).
ZU_EXPORT CallCheck checkCall(const Object* receiver, Class* cls, SEL selector, IMP implementation,
                              const std::type_info& wanted, const char* wantedTypes,
                              bool isDirectCall);

template <class R, class... Args>
R callChecked(IMP implementation, Object* self, Class* cls, SEL selector, bool isDirectCall,
              Args... args) {
  using Function = R (*)(Object*, SEL, Args...);
  if (implementation == nullptr || implementation->signature != &typeid(Function)) [[unlikely]] {
    if (checkCall(self, cls, selector, implementation, typeid(Function), typeEncoding<Function>(),
                  isDirectCall) == CallCheck::Refuse) {
      return R();
    }
  }
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): the type was checked above
  return reinterpret_cast<Function>(implementation->function)(self, selector,
                                                              std::forward<Args>(args)...);
}

}  // namespace detail

// The runtime class of `object`; nullptr for no object.
inline Class* object_getClass(ObjectRef object) {
  return object ? object.get()->runtimeClass() : nullptr;
}
// The name of the runtime class of `object`; "" for no object.
ZU_EXPORT std::string object_getClassName(ObjectRef object);
// True when `object`'s runtime class is `cls` or inherits from it.
ZU_EXPORT bool isKindOfClass(ObjectRef object, const Class* cls);
// The class of what `value` holds: an object's runtime class; for the other kinds the platform
// class the value stands for: NSString (text), NSNumber (booleans and numbers), NSData, NSDate,
// NSArray, NSDictionary, NSNull. nullptr for an absent value.
ZU_EXPORT Class* value_getClass(const Value& value);
// True when `object` answers `selector`.
ZU_EXPORT bool respondsToSelector(ObjectRef object, SEL selector);

// Sends `selector` with `args` to `receiver` and returns the implementation's result. Name the
// types the implementation takes, as in objc_msgSend<void, bool>(controller, selector, true) for
// a function void (*)(Object*, SEL, bool); unnamed types are deduced from the arguments (decayed,
// so a parameter `const Value&` must be named). A send to no object does nothing and gives R().
// A receiver that does not answer the selector is reported ("unrecognized selector") and gives
// R().
template <class R = void, class... Args>
R objc_msgSend(ObjectRef receiver, SEL selector, Args... args) {
  Object* self = receiver.get();
  if (self == nullptr) return R();
  Class* cls = self->runtimeClass();
  Method method = detail::lookupMethod(cls, selector);
  const IMP implementation =
      method != nullptr ? method->implementation.load(std::memory_order_acquire) : nullptr;
  return detail::callChecked<R, Args...>(implementation, self, cls, selector, false,
                                         std::forward<Args>(args)...);
}

// As objc_msgSend, but looks the selector up from `cls` upwards instead of from the receiver's
// class: an implementation calls its superclass's with objc_msgSendSuper(self,
// ImplementingClass->superclass(), selector, ...).
template <class R = void, class... Args>
R objc_msgSendSuper(ObjectRef receiver, Class* cls, SEL selector, Args... args) {
  Object* self = receiver.get();
  if (self == nullptr || cls == nullptr) return R();
  Method method = detail::lookupMethod(cls, selector);
  const IMP implementation =
      method != nullptr ? method->implementation.load(std::memory_order_acquire) : nullptr;
  return detail::callChecked<R, Args...>(implementation, self, cls, selector, false,
                                         std::forward<Args>(args)...);
}

// Calls `implementation` directly, as a method of `receiver` for `selector`, with the same
// check as a send; a missing implementation is reported and refused (R() is returned).
template <class R = void, class... Args>
R imp_call(IMP implementation, ObjectRef receiver, SEL selector, Args... args) {
  return detail::callChecked<R, Args...>(implementation, receiver.get(), nullptr, selector, true,
                                         std::forward<Args>(args)...);
}

// Sends `selector` without arguments; the implementation may return nothing, a Value or an id.
// Gives its result (absent for nothing), or absent when refused or not answered.
ZU_EXPORT Value performSelector(ObjectRef receiver, SEL selector);
// Sends `selector` with one object argument; the implementation takes a `const Value&`, a
// Value, a `const id&` or an id and returns nothing, a Value or an id.
ZU_EXPORT Value performSelector(ObjectRef receiver, SEL selector, const Value& object);

}  // namespace zu
