#pragma once

#include <atomic>
#include <memory>

#include "zukit/hooks/ZuSwizzle.h"
#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/runtime/RuntimeClass.h"

// The process-wide place of one hook point's record: empty until the first install, then
// holding one record for good (records are replaced, never removed). Hooked calls read it
// without a lock. A replaced record is released by the slot but not freed, since a hooked call
// on another thread may still be reading it; records are made only by installs, which belong
// to start-up, so this keeps a handful of small objects.
class ZU_EXPORT ZuSwizzleSlot {
 public:
  ZU_RUNTIME_CLASS_NAME(ZuSwizzleSlot, zu::Object)
  constexpr ZuSwizzleSlot() = default;
  ZuSwizzleSlot(const ZuSwizzleSlot&) = delete;
  ZuSwizzleSlot& operator=(const ZuSwizzleSlot&) = delete;

  // The record, or nullptr; valid for the process. For hooked calls.
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
