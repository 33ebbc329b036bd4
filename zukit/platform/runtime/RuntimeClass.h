#pragma once

#include "zukit/platform/runtime/Runtime.h"

// Declares, inside the body of a C++ class derived from zu::Object, the runtime class of its
// instances: a class named after the C++ class (without namespaces), whose superclass is the
// runtime class of `Super`, the C++ base. An optional third argument is a function
// `void (*)(zu::Class*)` run once when the class is registered, to add its methods:
//
//   class ProfileController : public zu::UIViewController {
//    public:
//     ZU_RUNTIME_CLASS(ProfileController, zu::UIViewController, &addMethods)
//    private:
//     static void addMethods(zu::Class* cls);  // class_addMethod(cls, ...)
//   };
//
// It defines `static zu::Class* staticClass()` (registered on first use) and overrides
// `runtimeClass()`. Runtime class names are process-wide: two C++ classes must not share one.
// NOLINTBEGIN(bugprone-macro-parentheses): Type and Super name types, which cannot be bracketed
#define ZU_RUNTIME_CLASS(Type, Super, ...)                                                \
  static ::zu::Class* staticClass() {                                                     \
    static ::zu::Class* const zuRuntimeClass =                                            \
        ::zu::objc_registerClass(#Type, Super::staticClass() __VA_OPT__(, ) __VA_ARGS__); \
    return zuRuntimeClass;                                                                \
  }                                                                                       \
  ::zu::Class* runtimeClass() const override {                                            \
    return staticClass();                                                                 \
  }
// NOLINTEND(bugprone-macro-parentheses)
