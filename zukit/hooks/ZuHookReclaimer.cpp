#include "zukit/hooks/ZuHookReclaimer.h"

#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <mutex>
#include <utility>
#include <vector>

#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NoDestructor.h"

// Why a reader's epoch store and a reclaimer's scan cannot miss each other: a hooked call
// stores its epoch in its slot and then reads the slot's record; an install stores the new
// record, retires the old one and then reads every slot. With a full barrier between the store
// and the read on both sides, at least one of them sees the other's store: either the
// reclaimer sees the call's epoch (older than the retirement, so the old record is kept) or the
// call reads the new record. Readers pay for no barrier when the kernel offers membarrier: the
// reclaimer's membarrier makes every running thread of the process execute one instead.

namespace zu::hooks {

std::atomic<std::uint64_t> globalEpoch{1};
std::atomic<std::uint64_t> newestWaiting{0};
std::atomic<bool> asymmetricFences{false};
constinit thread_local ReaderSlot* threadSlot [[gnu::tls_model("initial-exec")]] = nullptr;

namespace {

struct Retired {
  // The epoch after the retirement: readers that began at this epoch or later cannot hold it.
  std::uint64_t epoch;
  std::shared_ptr<const void> garbage;
};

struct Reclaimer {
  zu::Mutex mutex;
  // Every slot ever handed out; slots of finished threads are reused, never freed.
  std::vector<std::unique_ptr<ReaderSlot>> slots ZU_GUARDED_BY(mutex);
  std::vector<Retired> waiting ZU_GUARDED_BY(mutex);
};

Reclaimer& reclaimer() {
  static zu::NoDestructor<Reclaimer> instance;
  return *instance;
}

bool registerMembarrier() {
#if defined(__SANITIZE_THREAD__)
  // ThreadSanitizer does not know what membarrier orders: both sides use full fences.
  return false;
#else
  const long supported = syscall(SYS_membarrier, MEMBARRIER_CMD_QUERY, 0, 0);
  if (supported < 0 || (supported & MEMBARRIER_CMD_PRIVATE_EXPEDITED) == 0) return false;
  return syscall(SYS_membarrier, MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED, 0, 0) == 0;
#endif
}

// Decides once whether readers may rely on the reclaimers' membarrier.
void settleFences() {
  static std::once_flag once;
  std::call_once(once, [] {
    if (registerMembarrier()) asymmetricFences.store(true, std::memory_order_seq_cst);
  });
}

// The reclaimer's half of the barrier pair.
void fullBarrierEverywhere() {
  settleFences();
  if (asymmetricFences.load(std::memory_order_relaxed) &&
      syscall(SYS_membarrier, MEMBARRIER_CMD_PRIVATE_EXPEDITED, 0, 0) == 0) {
    return;
  }
  std::atomic_thread_fence(std::memory_order_seq_cst);
}

// Gives the thread's slot back when the thread ends.
struct SlotOwner {
  SlotOwner() = default;
  SlotOwner(const SlotOwner&) = delete;
  SlotOwner& operator=(const SlotOwner&) = delete;
  ~SlotOwner() {
    if (slot == nullptr) return;
    threadSlot = nullptr;
    slot->epoch.store(0, std::memory_order_release);
    slot->owned.store(false, std::memory_order_release);
  }
  ReaderSlot* slot = nullptr;
};

thread_local SlotOwner slotOwner;

// Moves what may go out of the waiting list; the caller destroys it after unlocking.
std::vector<Retired> takeReclaimable(Reclaimer& state) ZU_REQUIRES(state.mutex) {
  std::vector<Retired> freed;
  if (state.waiting.empty()) return freed;
  fullBarrierEverywhere();
  std::uint64_t oldestCall = std::numeric_limits<std::uint64_t>::max();
  for (const auto& slot : state.slots) {
    const std::uint64_t epoch = slot->epoch.load(std::memory_order_acquire);
    if (epoch != 0) oldestCall = std::min(oldestCall, epoch);
  }
  const auto keep = std::stable_partition(
      state.waiting.begin(), state.waiting.end(),
      [oldestCall](const Retired& retired) { return retired.epoch > oldestCall; });
  freed.assign(std::make_move_iterator(keep), std::make_move_iterator(state.waiting.end()));
  state.waiting.erase(keep, state.waiting.end());
  newestWaiting.store(state.waiting.empty() ? 0 : state.waiting.back().epoch,
                      std::memory_order_relaxed);
  return freed;
}

}  // namespace

ReaderSlot* registerThread() {
  settleFences();
  Reclaimer& state = reclaimer();
  ReaderSlot* slot = nullptr;
  {
    zu::MutexLock lock(state.mutex);
    for (const auto& candidate : state.slots) {
      bool expected = false;
      if (candidate->owned.compare_exchange_strong(expected, true)) {
        slot = candidate.get();
        break;
      }
    }
    if (slot == nullptr) {
      state.slots.push_back(std::make_unique<ReaderSlot>());
      slot = state.slots.back().get();
      slot->owned.store(true, std::memory_order_relaxed);
    }
  }
  // Settled by settleFences() above, before any slot was handed out.
  slot->fullFences = !asymmetricFences.load(std::memory_order_relaxed);
  slotOwner.slot = slot;
  threadSlot = slot;
  return slot;
}

void reclaimAfterCall() {
  ZuHookReclaimer::reclaim();
}

}  // namespace zu::hooks

void ZuHookReclaimer::retire(std::shared_ptr<const void> garbage) {
  if (!garbage) return;
  auto& state = zu::hooks::reclaimer();
  std::vector<zu::hooks::Retired> freed;
  {
    zu::MutexLock lock(state.mutex);
    const std::uint64_t epoch = zu::hooks::globalEpoch.fetch_add(1, std::memory_order_seq_cst) + 1;
    state.waiting.push_back(zu::hooks::Retired{epoch, std::move(garbage)});
    zu::hooks::newestWaiting.store(epoch, std::memory_order_relaxed);
    freed = zu::hooks::takeReclaimable(state);
  }
  // `freed` is destroyed here, after the lock is released.
}

void ZuHookReclaimer::reclaim() {
  auto& state = zu::hooks::reclaimer();
  std::vector<zu::hooks::Retired> freed;  // destroyed after the lock is released
  zu::MutexLock lock(state.mutex);
  freed = zu::hooks::takeReclaimable(state);
}

std::size_t ZuHookReclaimer::waitingCount() {
  auto& state = zu::hooks::reclaimer();
  zu::MutexLock lock(state.mutex);
  return state.waiting.size();
}
