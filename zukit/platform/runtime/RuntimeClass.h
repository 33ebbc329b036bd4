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
//
// Every public class of the library whose name is a platform or ZuKit class name (Zu..., NS...,
// UI..., WK..., CT..., MF...) declares its runtime class, so that the runtime knows it by name
// from the first lookup (the build lists them); a class without runtime objects (a class of class
// methods, a plain C++ type) uses ZU_RUNTIME_CLASS_NAME instead.
// NOLINTBEGIN(bugprone-macro-parentheses): Type and Super name types, which cannot be bracketed
#define ZU_RUNTIME_CLASS(Type, Super, ...)                                                \
  using ZuRuntimeClassOwner = Type;                                                       \
  static ::zu::Class* staticClass() {                                                     \
    static ::zu::Class* const zuRuntimeClass =                                            \
        ::zu::objc_registerClass(#Type, Super::staticClass() __VA_OPT__(, ) __VA_ARGS__); \
    return zuRuntimeClass;                                                                \
  }                                                                                       \
  ::zu::Class* runtimeClass() const override {                                            \
    return staticClass();                                                                 \
  }

// Declares, inside the body of a C++ class whose instances are not runtime objects, the runtime
// class named after it, under the runtime class of `Super`: `static zu::Class* staticClass()`.
#define ZU_RUNTIME_CLASS_NAME(Type, Super)                     \
  using ZuRuntimeClassOwner = Type;                            \
  static ::zu::Class* staticClass() {                          \
    static ::zu::Class* const zuRuntimeClass =                 \
        ::zu::objc_registerClass(#Type, Super::staticClass()); \
    return zuRuntimeClass;                                     \
  }
// NOLINTEND(bugprone-macro-parentheses)
