#pragma once

// Internal to libzukit (not installed, not exported): deferred release of what hooked calls
// read without a lock.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace zu::hooks {

// One thread's entry in the reader table: the epoch at which its outermost hooked call began,
// or 0 while it runs none. Written by its thread only, read by reclaimers.
struct alignas(64) ReaderSlot {
  std::atomic<std::uint64_t> epoch{0};
  // asymmetricFences as it stood when the slot was handed out (it never changes afterwards),
  // kept beside the epoch that every hooked call touches anyway.
  bool fullFences = true;
  // True while a live thread owns the slot.
  std::atomic<bool> owned{false};
};

// The epoch, advanced by every retirement; starts at 1 (0 means "no call").
extern std::atomic<std::uint64_t> globalEpoch;
// The epoch of the newest retirement still waiting for hooked calls to end; 0 when none waits.
extern std::atomic<std::uint64_t> newestWaiting;
// True once the process may use asymmetric fences: readers then order their slot store before
// their reads with a compiler barrier only, and reclaimers make every running thread execute a
// full barrier (membarrier). Otherwise both sides use full fences.
extern std::atomic<bool> asymmetricFences;
// This thread's slot, or nullptr before its first hooked call.
extern constinit thread_local ReaderSlot* threadSlot [[gnu::tls_model("initial-exec")]];

// The calling thread's slot, registered on first use.
ReaderSlot* registerThread();
// Frees what no hooked call can still read; called when the outermost call of a thread ends
// while objects retired after it began wait.
void reclaimAfterCall();

}  // namespace zu::hooks

// A hooked call in progress on this thread. Whatever is retired while it runs (a replaced
// record, callback map or callback) stays alive until it ends; calls nest. Costs a few plain
// loads and stores: no shared counter is written.
class ZuHookReadSection {
 public:
  ZuHookReadSection() noexcept {
    using namespace zu::hooks;
    ReaderSlot* slot = threadSlot;
    if (slot == nullptr) [[unlikely]] {
      slot = registerThread();
    }
    _slot = slot;
    if (slot->epoch.load(std::memory_order_relaxed) != 0) [[unlikely]] {
      return;  // nested in another call
    }
    _epoch = globalEpoch.load(std::memory_order_acquire);
    // Release: a reclaimer that reads this epoch also sees everything this thread did before.
    slot->epoch.store(_epoch, std::memory_order_release);
    // The store must be visible before the hooked call reads any record (see
    // ZuHookReclaimer.cpp).
    fence(*slot);
  }
  ~ZuHookReadSection() {
    using namespace zu::hooks;
    if (_epoch == 0) return;
    _slot->epoch.store(0, std::memory_order_release);
    fence(*_slot);
    if (_epoch < newestWaiting.load(std::memory_order_relaxed)) [[unlikely]] {
      reclaimAfterCall();
    }
  }
  ZuHookReadSection(const ZuHookReadSection&) = delete;
  ZuHookReadSection& operator=(const ZuHookReadSection&) = delete;

 private:
  static void fence(const zu::hooks::ReaderSlot& slot) {
    if (slot.fullFences) [[unlikely]] {
      std::atomic_thread_fence(std::memory_order_seq_cst);
    } else {
      std::atomic_signal_fence(std::memory_order_seq_cst);
    }
  }

  zu::hooks::ReaderSlot* _slot;
  // The epoch this call published, or 0 when it is nested in another.
  std::uint64_t _epoch = 0;
};

// Where replaced hook state goes. Hooked calls read records, callback maps and callbacks
// without a lock, on any thread, while installs replace them; a replaced object is therefore
// retired here and destroyed once no hooked call that might still read it is running (at once
// when none is). Threads keep a slot each in a table and publish in it the epoch at which their
// outermost hooked call began; retiring advances the epoch, so an object retired at epoch E can
// go when every slot is empty or holds E or later.
class ZuHookReclaimer {
 public:
  // Takes over `garbage`, which the caller has already replaced with its successor, and frees
  // whatever no running hooked call can still read, this included when possible. Destructors
  // run on the calling thread, after the reclaimer's own lock is released, so they may install
  // or remove hooks themselves.
  static void retire(std::shared_ptr<const void> garbage);
  // Frees whatever no running hooked call can still read.
  static void reclaim();
  // The number of retired objects still waiting for hooked calls to end.
  static std::size_t waitingCount();
};
