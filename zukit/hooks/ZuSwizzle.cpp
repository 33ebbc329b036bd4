#include "zukit/hooks/ZuSwizzle.h"

#include <utility>

#include "zukit/hooks/ZuHookReclaimer.h"
#include "zukit/platform/foundation/Format.h"

namespace {

// Retires a replaced callback map: hooked calls may still be walking it.
void retire(std::unique_ptr<const ZuBlockMap> replaced) {
  if (replaced) ZuHookReclaimer::retire(std::shared_ptr<const ZuBlockMap>(std::move(replaced)));
}

}  // namespace

ZuSwizzle::ZuSwizzle() {
  const zu::MutexLock lock(_writeMutex);
  publish(std::make_unique<const ZuBlockMap>());
}

ZuSwizzle::ZuSwizzle(std::shared_ptr<ZuBlock> block, const std::string& name, zu::Class* cls,
                     zu::SEL selector, zu::IMP originalMethod)
    : ZuSwizzle() {
  setCls(cls);
  setSelector(selector);
  setOriginalMethod(originalMethod);
  setBlock(std::move(block), name);
}

// No hooked call can reach a record that is being destroyed: a record leaves its slot through
// the reclaimer. The current map goes with it.
ZuSwizzle::~ZuSwizzle() = default;

std::unique_ptr<const ZuBlockMap> ZuSwizzle::publish(std::unique_ptr<const ZuBlockMap> map) {
  _blocks.store(map.get(), std::memory_order_release);
  std::swap(_current, map);
  return map;
}

ZuBlockMap ZuSwizzle::blocks() const {
  const ZuHookReadSection reading;
  return blocksSnapshot();
}

void ZuSwizzle::setBlocks(const ZuBlockMap& blocks) {
  std::unique_ptr<const ZuBlockMap> replaced;
  {
    const zu::MutexLock lock(_writeMutex);
    replaced = publish(std::make_unique<const ZuBlockMap>(blocks));
  }
  retire(std::move(replaced));
}

void ZuSwizzle::setBlock(std::shared_ptr<ZuBlock> block, const std::string& name) {
  std::unique_ptr<const ZuBlockMap> replaced;
  {
    const zu::MutexLock lock(_writeMutex);
    auto map = std::make_unique<ZuBlockMap>(*_current);
    map->setObject(std::move(block), name);
    replaced = publish(std::move(map));
  }
  retire(std::move(replaced));
}

void ZuSwizzle::removeBlock(std::string_view name) {
  std::unique_ptr<const ZuBlockMap> replaced;
  {
    const zu::MutexLock lock(_writeMutex);
    if (!_current->objectForKey(name)) return;
    auto map = std::make_unique<ZuBlockMap>(*_current);
    map->removeObjectForKey(name);
    replaced = publish(std::move(map));
  }
  retire(std::move(replaced));
}

std::string ZuSwizzle::description() const {
  std::string callbacks;
  for (const auto& [name, block] : blocks()) {
    callbacks += zu::format("\t%@ : %@\n", name, block);
  }
  const zu::Class* hookedClass = cls();
  const zu::SEL hookedSelector = selector();
  const zu::Value className = hookedClass != nullptr ? zu::Value(hookedClass->name()) : zu::Value();
  const zu::Value selectorName =
      hookedSelector != nullptr ? zu::Value(hookedSelector->name) : zu::Value();
  return zu::format("Swizzle on %@::%@ [\n%@]", className, selectorName, callbacks);
}
