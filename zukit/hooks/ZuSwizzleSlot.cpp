#include "zukit/hooks/ZuSwizzleSlot.h"

#include <vector>

#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NoDestructor.h"

namespace {

// Every record ever put in a slot: the current ones and those replaced while hooked calls may
// still be reading them.
struct InstalledRecords {
  zu::Mutex mutex;
  std::vector<std::shared_ptr<ZuSwizzle>> records ZU_GUARDED_BY(mutex);
};

InstalledRecords& installedRecords() {
  static zu::NoDestructor<InstalledRecords> records;
  return *records;
}

}  // namespace

std::shared_ptr<ZuSwizzle> ZuSwizzleSlot::record() const {
  ZuSwizzle* current = get();
  if (current == nullptr) return nullptr;
  return std::static_pointer_cast<ZuSwizzle>(current->shared_from_this());
}

void ZuSwizzleSlot::setRecord(const std::shared_ptr<ZuSwizzle>& record) {
  if (!record) return;
  {
    InstalledRecords& installed = installedRecords();
    zu::MutexLock lock(installed.mutex);
    installed.records.push_back(record);
  }
  _record.store(record.get(), std::memory_order_release);
}
