#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/Class.h"
#include "zukit/platform/runtime/Method.h"
#include "zukit/platform/runtime/Selector.h"

// The object runtime's class registry and method tables. Lookups and sends may run on any
// thread at any time; changes to the tables (adding, replacing, exchanging) are meant for
// start-up but are safe from any thread as well.

namespace zu {

// Registers a class named `name` under `superclass` (nullptr: a root class) and returns it; if
// a class of that name exists already, returns the existing one (its superclass unchanged).
// Safe from any thread.
ZU_EXPORT Class* objc_registerClass(std::string_view name, Class* superclass);
// As above; `setup` runs with the class (to add its methods) before it is returned, unless a
// setup has already run for it: a class first registered by name alone gets its methods when
// its C++ class registers it. Another thread looking the name up meanwhile may see the class
// before setup ends.
ZU_EXPORT Class* objc_registerClass(std::string_view name, Class* superclass,
                                    void (*setup)(Class*));
// The class named `name`, or nullptr. Every class the library defines or stands in for is
// known from the first call on, with its superclass chain.
ZU_EXPORT Class* objc_getClass(std::string_view name);
// The class named by valid text `name`, or nullptr (absent, NSNull, empty or unknown).
ZU_EXPORT Class* NSClassFromString(const Value& name);
// The class's name; "" for nullptr.
ZU_EXPORT std::string NSStringFromClass(const Class* cls);
// The root class, "NSObject".
ZU_EXPORT Class* rootClass();
// The superclass of `cls`; nullptr for a root class or nullptr.
ZU_EXPORT Class* class_getSuperclass(const Class* cls);

// The entry that answers `selector` for instances of `cls`: its own, else the nearest
// ancestor's; nullptr when none does or either argument is nullptr.
ZU_EXPORT Method class_getInstanceMethod(Class* cls, SEL selector);
// The entries `cls` itself defines (inherited ones excluded), in the order they were added;
// empty for nullptr.
ZU_EXPORT std::vector<Method> class_copyMethodList(const Class* cls);
// Adds to `cls` itself an entry answering `selector` with `implementation`. `types` is the
// entry's type encoding; nullptr takes the implementation's own. Fails (false, nothing changed)
// when an argument is nullptr, when `cls` itself already has an entry for `selector` (an
// inherited one does not count), or when `types` disagrees with the implementation's own
// encoding, since every call through the entry will be made with the implementation's type.
ZU_EXPORT bool class_addMethod(Class* cls, SEL selector, IMP implementation,
                               const char* types = nullptr);
// The implementation that a send of `selector` to an instance of `cls` runs, or nullptr.
ZU_EXPORT IMP class_getMethodImplementation(Class* cls, SEL selector);
// True when instances of `cls` answer `selector`.
ZU_EXPORT bool class_respondsToSelector(Class* cls, SEL selector);

// The entry's selector; nullptr for nullptr.
ZU_EXPORT SEL method_getName(Method method);
// The entry's implementation; nullptr for nullptr.
ZU_EXPORT IMP method_getImplementation(Method method);
// Replaces the entry's implementation and returns the previous one. Every class that inherits
// the entry runs the new one from then on. A nullptr entry or implementation changes nothing and
// gives nullptr.
ZU_EXPORT IMP method_setImplementation(Method method, IMP implementation);
// The entry's type encoding; nullptr for nullptr.
ZU_EXPORT const char* method_getTypeEncoding(Method method);
// Swaps the implementations of two entries; nothing happens when either is nullptr.
ZU_EXPORT void method_exchangeImplementations(Method first, Method second);

}  // namespace zu
