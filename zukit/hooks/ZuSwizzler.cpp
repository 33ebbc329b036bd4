#include "zukit/hooks/ZuSwizzler.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "zukit/core/ZuLogger.h"
#include "zukit/hooks/ZuHookPoints.h"
#include "zukit/platform/runtime/TypeEncoding.h"

namespace {

constexpr const char* kSwizzleFunction = "+[ZuSwizzler swizzleSelector:onClass:withBlock:named:]";

// True when the hook point's replacement can stand in for `method`: calls of the method are
// made with its own C++ type, which the runtime would refuse to pass to a replacement of
// another type.
bool replacementFits(zu::Method method, zu::IMP replacement) {
  const zu::IMP current = zu::method_getImplementation(method);
  return current == nullptr || *current->signature == *replacement->signature;
}

void logMisfit(zu::Class* cls, const std::string& selectorName, zu::Method method,
               zu::IMP replacement) {
  // Encodings cannot tell every pair of C++ types apart ("@" is an id and a Value alike).
  const zu::IMP current = zu::method_getImplementation(method);
  const bool sameEncoding = std::string(current->types) == replacement->types;
  ZuLogger::log(ZuLogLevelError, kSwizzleFunction,
                "SwizzleException:Cannot swizzle %@::%@, whose method has type %@ where the "
                "swizzle needs %@",
                zu::NSStringFromClass(cls), selectorName,
                sameEncoding ? zu::detail::demangledTypeName(*current->signature)
                             : std::string(current->types),
                sameEncoding ? zu::detail::demangledTypeName(*replacement->signature)
                             : std::string(replacement->types));
}

}  // namespace

bool ZuSwizzler::isLocallyDefinedMethod(zu::Method method, zu::Class* cls) {
  const std::vector<zu::Method> methods = zu::class_copyMethodList(cls);
  return std::find(methods.begin(), methods.end(), method) != methods.end() && method != nullptr;
}

void ZuSwizzler::swizzleSelector(zu::SEL selector, zu::Class* cls, std::shared_ptr<ZuBlock> block,
                                 const zu::Value& name) {
  const std::optional<std::string> blockName = zu::validText(name);
  if (selector == nullptr || cls == nullptr || !block || !blockName) return;

  const std::string selectorName = zu::NSStringFromSelector(selector);
  zu::Method method = zu::class_getInstanceMethod(cls, selector);
  if (method == nullptr) {
    // A warning only: the steps below carry on with no method in hand.
    ZuLogger::log(ZuLogLevelError, kSwizzleFunction,
                  "SwizzleException:Cannot find method for %@ on %@", selectorName,
                  zu::NSStringFromClass(cls));
  }

  const zu::IMP replacement = zuGetSwizzleIMPBySELName(selectorName);
  ZuSwizzleSlot* slot = zuGetSwizzleByName(selectorName);
  if (replacement == nullptr || slot == nullptr) return;

  const bool isLocal = isLocallyDefinedMethod(method, cls);
  const std::shared_ptr<ZuSwizzle> existing = slot->record();

  zu::IMP saved = nullptr;
  if (isLocal && existing) {
    existing->setBlock(std::move(block), *blockName);
    return;
  }
  // A method whose type differs from the replacement's is left as it was: every later call of
  // it would be refused by the runtime. (An inherited method whose encoding differs is refused
  // by class_addMethod below; one with the same encoding and another C++ type is not.)
  const bool sameEncoding =
      method != nullptr && std::string(zu::method_getTypeEncoding(method)) == replacement->types;
  if ((isLocal || sameEncoding) && !replacementFits(method, replacement)) {
    logMisfit(cls, selectorName, method, replacement);
    return;
  }
  if (isLocal) {
    saved = zu::method_getImplementation(method);
    zu::method_setImplementation(method, replacement);
  } else {
    saved = existing ? existing->originalMethod() : zu::method_getImplementation(method);
    if (!zu::class_addMethod(cls, selector, replacement, zu::method_getTypeEncoding(method))) {
      ZuLogger::log(ZuLogLevelError, kSwizzleFunction,
                    "SwizzleException:Could not add swizzle for %@::%@, even though it didn't "
                    "already exist locally",
                    zu::NSStringFromClass(cls), selectorName);
      return;
    }
    if (zu::class_getInstanceMethod(cls, selector) == method) {
      ZuLogger::log(ZuLogLevelError, kSwizzleFunction,
                    "SwizzleException:Newly added method for %@::%@ was the same as the old "
                    "method",
                    zu::NSStringFromClass(cls), selectorName);
      return;
    }
  }
  slot->setRecord(std::make_shared<ZuSwizzle>(std::move(block), *blockName, cls, selector, saved));
}

void ZuSwizzler::unswizzleSelector(zu::SEL selector, zu::Class* /*cls*/, const zu::Value& name) {
  ZuSwizzleSlot* slot = zuGetSwizzleByName(zu::NSStringFromSelector(selector));
  const std::optional<std::string> blockName = zu::validText(name);
  if (slot == nullptr || !blockName) return;
  ZuSwizzle* record = slot->get();
  if (record == nullptr) return;
  record->removeBlock(*blockName);
}
