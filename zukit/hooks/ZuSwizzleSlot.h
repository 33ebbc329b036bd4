#pragma once

#include <atomic>
#include <memory>

#include "zukit/hooks/ZuSwizzle.h"
#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/runtime/RuntimeClass.h"

// The process-wide place of one hook point's record: empty until the first install, then
// holding one record for good (records are replaced, never removed). Hooked calls read it
// without a lock. A replaced record is retired (ZuHookReclaimer): it is freed, with the
// callbacks only it holds, once no hooked call that may still be reading it is running.
class ZU_EXPORT ZuSwizzleSlot {
 public:
  ZU_RUNTIME_CLASS_NAME(ZuSwizzleSlot, zu::Object)
  constexpr ZuSwizzleSlot() = default;
  ZuSwizzleSlot(const ZuSwizzleSlot&) = delete;
  ZuSwizzleSlot& operator=(const ZuSwizzleSlot&) = delete;

  // The record, or nullptr. For hooked calls: it stays valid until the hooked call that read it
  // ends (see ZuHookReadSection).
  ZuSwizzle* get() const { return _record.load(std::memory_order_acquire); }
  // The record as a shared reference, or nullptr.
  std::shared_ptr<ZuSwizzle> record() const;
  // Puts `record` in the slot in place of the one there; nullptr changes nothing.
  void setRecord(const std::shared_ptr<ZuSwizzle>& record);
  // True when the slot holds a record.
  explicit operator bool() const { return get() != nullptr; }

 private:
  std::atomic<ZuSwizzle*> _record{nullptr};
};
