#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "zukit/hooks/ZuBlock.h"
#include "zukit/hooks/ZuBlockMap.h"
#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/runtime/Runtime.h"
#include "zukit/platform/runtime/RuntimeClass.h"

// One hook record: the class and selector it was installed for, the implementation that was in
// force before (called first on every hooked call; may be absent) and the callbacks by name.
//
// Hooked calls on any thread read the record without a lock while an install may be changing
// it. Every field is therefore atomic, and the callback map is published as an immutable
// snapshot: a change copies the map, swaps the pointer, and retires the replaced snapshot
// (ZuHookReclaimer), which frees it, and the callbacks only it still holds, once no hooked call
// that may be walking it is running.
class ZU_EXPORT ZuSwizzle : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(ZuSwizzle, zu::Object)
  // An empty record: no class, selector or saved implementation, no callbacks.
  ZuSwizzle();
  // A record for `cls` and `selector` saving `originalMethod`, holding `block` under `name`.
  ZuSwizzle(std::shared_ptr<ZuBlock> block, const std::string& name, zu::Class* cls,
            zu::SEL selector, zu::IMP originalMethod);
  ~ZuSwizzle() override;
  ZuSwizzle(const ZuSwizzle&) = delete;
  ZuSwizzle& operator=(const ZuSwizzle&) = delete;

  // "Swizzle on <class>::<selector> [\n" then "\t<name> : <callback description>\n" for each
  // callback, then "]"; a missing class or selector prints as "(null)".
  std::string description() const override;

  // The hooked method's argument count; never set by the swizzler, so 0.
  std::uint32_t numArgs() const { return _numArgs.load(std::memory_order_relaxed); }
  void setNumArgs(std::uint32_t numArgs) { _numArgs.store(numArgs, std::memory_order_relaxed); }
  // The class the hook was installed on.
  zu::Class* cls() const { return _class.load(std::memory_order_acquire); }
  void setCls(zu::Class* cls) { _class.store(cls, std::memory_order_release); }
  // The hooked selector.
  zu::SEL selector() const { return _selector.load(std::memory_order_acquire); }
  void setSelector(zu::SEL selector) { _selector.store(selector, std::memory_order_release); }
  // The implementation in force before the hook, or nullptr.
  zu::IMP originalMethod() const { return _originalMethod.load(std::memory_order_acquire); }
  void setOriginalMethod(zu::IMP originalMethod) {
    _originalMethod.store(originalMethod, std::memory_order_release);
  }
  // A copy of the callback map.
  ZuBlockMap blocks() const;
  // Replaces the callback map with a copy of `blocks`.
  void setBlocks(const ZuBlockMap& blocks);

  // Stores `block` under `name`, replacing a callback already there.
  void setBlock(std::shared_ptr<ZuBlock> block, const std::string& name);
  // Removes the callback under `name`; nothing happens when there is none.
  void removeBlock(std::string_view name);
  // The current callback map, without copying. For hooked calls: it stays valid until the
  // hooked call that read it ends (see ZuHookReadSection), even when the record changes
  // meanwhile.
  const ZuBlockMap& blocksSnapshot() const { return *_blocks.load(std::memory_order_acquire); }

 private:
  // Makes `map` the current map; returns the replaced one, which the caller retires once the
  // write lock is released.
  std::unique_ptr<const ZuBlockMap> publish(std::unique_ptr<const ZuBlockMap> map)
      ZU_REQUIRES(_writeMutex);

  alignas(zu::kCacheLineSize) std::atomic<std::uint32_t> _numArgs{0};
  std::atomic<zu::Class*> _class{nullptr};
  std::atomic<zu::SEL> _selector{nullptr};
  std::atomic<zu::IMP> _originalMethod{nullptr};
  std::atomic<const ZuBlockMap*> _blocks{nullptr};
  // Serialises changes to the callback map (hooked calls never take it).
  zu::Mutex _writeMutex;
  // The current snapshot's owner.
  std::unique_ptr<const ZuBlockMap> _current ZU_GUARDED_BY(_writeMutex);
};
