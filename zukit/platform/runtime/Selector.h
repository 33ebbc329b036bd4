#pragma once

#include <string>
#include <string_view>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"

namespace zu {

// An interned method name. Two selectors with the same name are the same pointer, so selectors
// compare and hash by address.
struct ZU_EXPORT objc_selector {
  explicit objc_selector(std::string selectorName) : name(std::move(selectorName)) {}
  objc_selector(const objc_selector&) = delete;
  objc_selector& operator=(const objc_selector&) = delete;

  // The selector's name, such as "viewDidAppear:".
  const std::string name;
};

// A selector; nullptr stands for no selector.
using SEL = const objc_selector*;

// The selector named `name`, registered on first use and never freed. Safe from any thread.
ZU_EXPORT SEL sel_registerName(std::string_view name);
// The selector's name; "<null selector>" for nullptr.
ZU_EXPORT const char* sel_getName(SEL selector);
// The selector named by valid UTF-8 text `name`; nullptr for absent, NSNull, empty, non-text or
// non-UTF-8 input.
ZU_EXPORT SEL NSSelectorFromString(const Value& name);
// The selector's name; "" for nullptr.
ZU_EXPORT std::string NSStringFromSelector(SEL selector);

}  // namespace zu
