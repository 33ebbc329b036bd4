#include "zukit/hooks/ZuHookPoints.h"

#include <array>
#include <string>
#include <typeinfo>

#include "zukit/hooks/ZuHookReclaimer.h"
#include "zukit/platform/foundation/NSLog.h"
#include "zukit/platform/runtime/MessageSend.h"
#include "zukit/platform/runtime/NSNumber.h"

constinit ZuSwizzleSlot saveUploadInfoSwizzle;
constinit ZuSwizzleSlot UIViewControllerViewDidAppearSwizzle;
constinit ZuSwizzleSlot UIViewControllerViewWillDisappearSwizzle;
constinit ZuSwizzleSlot MailComposeControllerDidFinishWithResultSwizzle;

namespace {

struct HookPoint {
  const char* selectorName;
  ZuSwizzleSlot* slot;
  zu::IMP (*replacement)();
};

zu::IMP saveUploadInfoReplacement() {
  static const zu::IMP replacement = zu::imp(&zuSwizzledMethodsaveUploadInfo);
  return replacement;
}
zu::IMP viewDidAppearReplacement() {
  static const zu::IMP replacement = zu::imp(&zuSwizzledMethodUIViewControllerViewDidAppear);
  return replacement;
}
zu::IMP viewWillDisappearReplacement() {
  static const zu::IMP replacement = zu::imp(&zuSwizzledMethodUIViewControllerViewWillDisappear);
  return replacement;
}
zu::IMP mailReplacement() {
  static const zu::IMP replacement =
      zu::imp(&zuSwizzledMethodMailComposeControllerDidFinishWithResult);
  return replacement;
}

// In the order in which the lookups test them.
constexpr std::array<HookPoint, 4> kHookPoints{{
    {"saveUploadInfo:event:handler:", &saveUploadInfoSwizzle, &saveUploadInfoReplacement},
    {"viewDidAppear:", &UIViewControllerViewDidAppearSwizzle, &viewDidAppearReplacement},
    {"viewWillDisappear:", &UIViewControllerViewWillDisappearSwizzle,
     &viewWillDisappearReplacement},
    {"mailComposeController:didFinishWithResult:error:",
     &MailComposeControllerDidFinishWithResultSwizzle, &mailReplacement},
}};

const HookPoint* hookPointNamed(const zu::Value& selectorName) {
  const std::string* name = selectorName.asString();
  if (name == nullptr) return nullptr;
  for (const HookPoint& point : kHookPoints) {
    if (*name == point.selectorName) return &point;
  }
  return nullptr;
}

// The slot's record, read once per class from the receiver's class up to the root; nullptr
// when the slot stays empty all the way. Every object has a runtime class (the root class at
// least), so a record found at the first reading needs no look at the class.
ZuSwizzle* recordFor(const zu::Object* self, const ZuSwizzleSlot& slot) {
  if (self == nullptr) return nullptr;
  if (ZuSwizzle* record = slot.get()) [[likely]] {
    return record;
  }
  for (const zu::Class* cls = self->runtimeClass(); cls != nullptr; cls = cls->superclass()) {
    if (ZuSwizzle* record = slot.get()) return record;
  }
  return nullptr;
}

// Kept out of the hooked calls' own code, which it would otherwise slow down.
[[gnu::cold]] [[gnu::noinline]] void reportSkippedCallback(const ZuBlockMap& blocks,
                                                           std::size_t index, zu::SEL selector) {
  const auto& [name, block] = *(blocks.begin() + static_cast<std::ptrdiff_t>(index));
  zu::NSLog("Swizzle callback %@ for %@ takes %@; skipped", name,
            zu::NSStringFromSelector(selector), block->signatureName());
}

// True when `call`, one of the callbacks of `blocks`, takes `Signature`; otherwise it is
// skipped with a console line, since calling it with other arguments would be undefined.
template <class Signature>
[[gnu::always_inline]] inline bool takes(const ZuBlockMap& blocks, const ZuBlockMap::Call& call,
                                         zu::SEL selector) {
  if (call.signature == &typeid(Signature) || *call.signature == typeid(Signature)) [[likely]] {
    return true;
  }
  reportSkippedCallback(blocks, static_cast<std::size_t>(&call - blocks.calls().data()), selector);
  return false;
}

// The boxed flag: the platform keeps one number object per boolean, so every callback of every
// call gets the same one.
const zu::Value& boxedFlag(bool animated) {
  static const std::array<const zu::Value*, 2> boxes{&zu::NSNumber::boxedBool(false),
                                                     &zu::NSNumber::boxedBool(true)};
  return *boxes[animated ? 1 : 0];
}

[[gnu::always_inline]] inline void runViewAppearance(const ZuSwizzleSlot& slot, zu::Object* self,
                                                     zu::SEL selector, bool animated) {
  const ZuHookReadSection reading;
  ZuSwizzle* record = recordFor(self, slot);
  if (record == nullptr) return;
  // Called untested: a record without a saved implementation is refused by the runtime.
  zu::imp_call<void, bool>(record->originalMethod(), self, selector, animated);
  const ZuBlockMap& blocks = slot.get()->blocksSnapshot();
  if (blocks.calls().empty()) return;
  const zu::Value& boxed = boxedFlag(animated);
  if (blocks.allTake<ZuViewAppearanceBlock>()) [[likely]] {
    for (const ZuBlockMap::Call& call : blocks.calls())
      ZuTypedBlock<ZuViewAppearanceBlock>::call(call.entry, *call.block, self, selector, boxed);
    return;
  }
  for (const ZuBlockMap::Call& call : blocks.calls()) {
    if (takes<ZuViewAppearanceBlock>(blocks, call, selector))
      ZuTypedBlock<ZuViewAppearanceBlock>::call(call.entry, *call.block, self, selector, boxed);
  }
}

}  // namespace

zu::IMP zuGetSwizzleIMPBySELName(const zu::Value& selectorName) {
  const HookPoint* point = hookPointNamed(selectorName);
  return point != nullptr ? point->replacement() : nullptr;
}

ZuSwizzleSlot* zuGetSwizzleByName(const zu::Value& selectorName) {
  const HookPoint* point = hookPointNamed(selectorName);
  return point != nullptr ? point->slot : nullptr;
}

void zuSwizzledMethodsaveUploadInfo(zu::Object* self, zu::SEL selector, const zu::Value& first,
                                    const zu::Value& second, const zu::Value& third) {
  const ZuHookReadSection reading;
  ZuSwizzle* record = recordFor(self, saveUploadInfoSwizzle);
  if (record == nullptr) return;
  if (const zu::IMP original = record->originalMethod()) {
    zu::imp_call<void, const zu::Value&, const zu::Value&, const zu::Value&>(
        original, self, selector, first, second, third);
  }
  const ZuBlockMap& blocks = saveUploadInfoSwizzle.get()->blocksSnapshot();
  for (const ZuBlockMap::Call& call : blocks.calls()) {
    if (takes<ZuSaveUploadInfoBlock>(blocks, call, selector)) {
      ZuTypedBlock<ZuSaveUploadInfoBlock>::call(call.entry, *call.block, self, selector, first,
                                                second, third);
    }
  }
}

void zuSwizzledMethodUIViewControllerViewDidAppear(zu::Object* self, zu::SEL selector,
                                                   bool animated) {
  runViewAppearance(UIViewControllerViewDidAppearSwizzle, self, selector, animated);
}

void zuSwizzledMethodUIViewControllerViewWillDisappear(zu::Object* self, zu::SEL selector,
                                                       bool animated) {
  runViewAppearance(UIViewControllerViewWillDisappearSwizzle, self, selector, animated);
}

void zuSwizzledMethodMailComposeControllerDidFinishWithResult(zu::Object* self, zu::SEL selector,
                                                              const zu::Value& controller,
                                                              zu::NSInteger result,
                                                              const zu::Value& error) {
  const ZuHookReadSection reading;
  ZuSwizzle* record = recordFor(self, MailComposeControllerDidFinishWithResultSwizzle);
  if (record == nullptr) return;
  if (const zu::IMP original = record->originalMethod()) {
    zu::imp_call<void, const zu::Value&, zu::NSInteger, const zu::Value&>(
        original, self, selector, controller, result, error);
  }
  const ZuBlockMap& blocks =
      MailComposeControllerDidFinishWithResultSwizzle.get()->blocksSnapshot();
  for (const ZuBlockMap::Call& call : blocks.calls()) {
    if (!takes<ZuMailComposeResultBlock>(blocks, call, selector)) continue;
    const zu::Value boxed(zu::NSNumber::numberWithInteger(result));
    ZuTypedBlock<ZuMailComposeResultBlock>::call(call.entry, *call.block, self, selector,
                                                 controller, boxed, error);
  }
}
