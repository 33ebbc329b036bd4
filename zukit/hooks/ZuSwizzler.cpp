#include "zukit/hooks/ZuSwizzler.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "zukit/core/ZuLogger.h"
#include "zukit/hooks/ZuHookPoints.h"

namespace {

constexpr const char* kSwizzleFunction = "+[ZuSwizzler swizzleSelector:onClass:withBlock:named:]";

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
  if (isLocal) {
    if (existing) {
      existing->setBlock(std::move(block), *blockName);
      return;
    }
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
