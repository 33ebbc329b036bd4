#pragma once

// Internal to libzukit (not installed, not exported): the classes the runtime knows by name
// before anything has used them.

#include <concepts>

#include "zukit/platform/runtime/Class.h"

namespace zu::detail {

// Registers, once per process, every class the library defines or stands in for, so that a
// lookup by name answers for all of them from the first call, whatever ran before. Each class
// registers through its own staticClass(), with its superclass chain and its methods. Safe from
// any thread; a lookup made while the catalog registers waits for it (except on the registering
// thread itself, so a class's setup may look classes up).
void ensureClassCatalog();

// The library's public classes, registered through their own staticClass(). Defined in the
// ClassCatalog.cpp that the build generates from the headers of zukit/ZuKit.h
// (cmake/ZuClassCatalog.cmake), so that a class added to a public header joins the catalog.
void registerLibraryClasses();

// The platform's classes that the library stands in for with values rather than C++ classes
// (NSString, NSArray, NSDictionary, NSNull, their mutable subclasses, ...), by name.
void registerValueClasses();

// True when T declares its own runtime class (ZU_RUNTIME_CLASS or ZU_RUNTIME_CLASS_NAME).
template <class T>
concept DeclaresRuntimeClass = requires {
  typename T::ZuRuntimeClassOwner;
  { T::staticClass() } -> std::same_as<Class*>;
}
&&std::same_as<typename T::ZuRuntimeClassOwner, T>;

// Registers the public class T. A public class named like a platform or ZuKit class that does
// not declare its runtime class stops the build here.
template <class T>
void registerCatalogClass() {
  static_assert(DeclaresRuntimeClass<T>,
                "a public class named like a platform or ZuKit class (Zu..., NS..., UI..., WK..., "
                "CT..., MF...) declares its runtime class: ZU_RUNTIME_CLASS(Type, Super[, setup]) "
                "in its body, or ZU_RUNTIME_CLASS_NAME(Type, Super) for a class without runtime "
                "objects (see RuntimeClass.h)");
  T::staticClass();
}

}  // namespace zu::detail
