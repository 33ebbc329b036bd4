#include "zukit/hooks/ZuSwizzleSlot.h"

#include <unordered_map>
#include <utility>

#include "zukit/hooks/ZuHookReclaimer.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NoDestructor.h"

namespace {

// The record each slot holds. The slots themselves keep only a plain pointer, so that they need
// no code at load or exit.
struct SlotOwners {
  zu::Mutex mutex;
  std::unordered_map<const ZuSwizzleSlot*, std::shared_ptr<ZuSwizzle>> records ZU_GUARDED_BY(mutex);
};

SlotOwners& slotOwners() {
  static zu::NoDestructor<SlotOwners> owners;
  return *owners;
}

}  // namespace

std::shared_ptr<ZuSwizzle> ZuSwizzleSlot::record() const {
  const ZuHookReadSection reading;
  ZuSwizzle* current = get();
  if (current == nullptr) return nullptr;
  return std::static_pointer_cast<ZuSwizzle>(current->shared_from_this());
}

void ZuSwizzleSlot::setRecord(const std::shared_ptr<ZuSwizzle>& record) {
  if (!record) return;
  std::shared_ptr<ZuSwizzle> replaced;
  {
    SlotOwners& owners = slotOwners();
    const zu::MutexLock lock(owners.mutex);
    std::shared_ptr<ZuSwizzle>& owned = owners.records[this];
    replaced = std::exchange(owned, record);
    _record.store(record.get(), std::memory_order_release);
  }
  // Hooked calls on other threads may still be reading the replaced record.
  if (replaced && replaced != record) ZuHookReclaimer::retire(std::move(replaced));
}
