#include "zukit/platform/runtime/MessageSend.h"

#include <cstring>

#include "zukit/platform/foundation/NSLog.h"
#include "zukit/platform/runtime/Runtime.h"

namespace zu {

namespace {

// "-[Class selector]" for console reports.
std::string methodName(Class* cls, SEL selector) {
  return "-[" + (cls != nullptr ? cls->name() : std::string("(null)")) + " " +
         sel_getName(selector) + "]";
}

template <class R, class... Params, class... Actual>
bool tryPerform(IMP implementation, Object* self, SEL selector, Value& result,
                const Actual&... actual) {
  using Function = R (*)(Object*, SEL, Params...);
  if (!imp_hasSignature<Function>(implementation)) return false;
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): the type was checked above
  const auto function = reinterpret_cast<Function>(implementation->function);
  if constexpr (std::is_void_v<R>) {
    function(self, selector, actual...);
    result = Value();
  } else {
    result = Value(function(self, selector, actual...));
  }
  return true;
}

template <class R>
bool tryPerformWithObject(IMP implementation, Object* self, SEL selector, Value& result,
                          const Value& object) {
  return tryPerform<R, const Value&>(implementation, self, selector, result, object) ||
         tryPerform<R, Value>(implementation, self, selector, result, object) ||
         tryPerform<R, const id&>(implementation, self, selector, result, object.asObject()) ||
         tryPerform<R, id>(implementation, self, selector, result, object.asObject());
}

// The implementation a send of `selector` to `self` runs, reporting a receiver that does not
// answer it; nullptr when there is none.
IMP implementationFor(Object* self, SEL selector) {
  Class* cls = self->runtimeClass();
  Method method = detail::lookupMethod(cls, selector);
  if (method == nullptr) {
    NSLog("%@: unrecognized selector sent to instance %p", methodName(cls, selector),
          static_cast<const void*>(self));
    return nullptr;
  }
  return method->implementation.load(std::memory_order_acquire);
}

void reportRefusedPerform(Object* self, SEL selector, IMP implementation) {
  NSLog(
      "%@: performSelector refused: the implementation has type %@, which takes no object "
      "argument or returns no object",
      methodName(self->runtimeClass(), selector), implementation->types);
}

}  // namespace

namespace detail {

CallCheck checkCall(const Object* receiver, Class* cls, SEL selector, IMP implementation,
                    const std::type_info& wanted, const char* wantedTypes, bool isDirectCall) {
  if (cls == nullptr && receiver != nullptr) cls = receiver->runtimeClass();
  if (implementation == nullptr) {
    if (isDirectCall) {
      NSLog("%@: refused a call of a missing implementation (%@)", methodName(cls, selector),
            wantedTypes);
    } else {
      NSLog("%@: unrecognized selector sent to instance %p", methodName(cls, selector),
            static_cast<const void*>(receiver));
    }
    return CallCheck::Refuse;
  }
  if (*implementation->signature == wanted) return CallCheck::Call;
  // Encodings cannot tell every pair of C++ types apart ("@" is an id and a Value alike); the
  // full types can.
  const bool sameEncoding = std::strcmp(wantedTypes, implementation->types) == 0;
  NSLog("%@: refused a %@ of type %@ to an implementation of type %@", methodName(cls, selector),
        isDirectCall ? "call" : "send",
        sameEncoding ? demangledTypeName(wanted) : std::string(wantedTypes),
        sameEncoding ? demangledTypeName(*implementation->signature)
                     : std::string(implementation->types));
  return CallCheck::Refuse;
}

}  // namespace detail

std::string object_getClassName(ObjectRef object) {
  return NSStringFromClass(object_getClass(object));
}

bool isKindOfClass(ObjectRef object, const Class* cls) {
  const Class* own = object_getClass(object);
  return own != nullptr && cls != nullptr && own->isSubclassOfClass(cls);
}

Class* value_getClass(const Value& value) {
  switch (value.kind()) {
    case Value::Kind::Absent:
      return nullptr;
    case Value::Kind::Object:
      return value.asObject()->runtimeClass();
    case Value::Kind::Null:
      return objc_getClass("NSNull");
    case Value::Kind::Boolean:
    case Value::Kind::Integer:
    case Value::Kind::Real:
      return objc_getClass("NSNumber");
    case Value::Kind::String:
      return objc_getClass("NSString");
    case Value::Kind::Bytes:
      return objc_getClass("NSData");
    case Value::Kind::Date:
      return objc_getClass("NSDate");
    case Value::Kind::List:
      return objc_getClass("NSArray");
    case Value::Kind::Dictionary:
      return objc_getClass("NSDictionary");
  }
  return nullptr;
}

bool respondsToSelector(ObjectRef object, SEL selector) {
  return object && selector != nullptr &&
         detail::lookupMethod(object.get()->runtimeClass(), selector) != nullptr;
}

Value performSelector(ObjectRef receiver, SEL selector) {
  Object* self = receiver.get();
  if (self == nullptr) return {};
  const IMP implementation = implementationFor(self, selector);
  if (implementation == nullptr) return {};
  Value result;
  if (tryPerform<void>(implementation, self, selector, result) ||
      tryPerform<Value>(implementation, self, selector, result) ||
      tryPerform<id>(implementation, self, selector, result)) {
    return result;
  }
  reportRefusedPerform(self, selector, implementation);
  return {};
}

Value performSelector(ObjectRef receiver, SEL selector, const Value& object) {
  Object* self = receiver.get();
  if (self == nullptr) return {};
  const IMP implementation = implementationFor(self, selector);
  if (implementation == nullptr) return {};
  Value result;
  if (tryPerformWithObject<void>(implementation, self, selector, result, object) ||
      tryPerformWithObject<Value>(implementation, self, selector, result, object) ||
      tryPerformWithObject<id>(implementation, self, selector, result, object)) {
    return result;
  }
  reportRefusedPerform(self, selector, implementation);
  return {};
}

}  // namespace zu
