#pragma once

#include <string>
#include <string_view>

#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/Class.h"

namespace zu {

// Registers a class named `name` under `superclass` (nullptr: a root class) and returns it; if
// a class of that name exists already, returns the existing one unchanged. Safe from any thread.
Class* objc_registerClass(std::string_view name, Class* superclass);
// The class named `name`, or nullptr.
Class* objc_getClass(std::string_view name);
// The class named by valid text `name`, or nullptr (absent, NSNull, empty or unknown).
Class* NSClassFromString(const Value& name);
// The class's name; "" for nullptr.
std::string NSStringFromClass(const Class* cls);
// The root class, "NSObject".
Class* rootClass();

}  // namespace zu
