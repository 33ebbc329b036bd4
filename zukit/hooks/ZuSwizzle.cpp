#include "zukit/hooks/ZuSwizzle.h"

#include <utility>

#include "zukit/platform/foundation/Format.h"

ZuSwizzle::ZuSwizzle() {
  zu::MutexLock lock(_writeMutex);
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

ZuSwizzle::~ZuSwizzle() = default;

void ZuSwizzle::publish(std::unique_ptr<const ZuBlockMap> map) {
  _blocks.store(map.get(), std::memory_order_release);
  _snapshots.push_back(std::move(map));
}

void ZuSwizzle::setBlocks(const ZuBlockMap& blocks) {
  zu::MutexLock lock(_writeMutex);
  publish(std::make_unique<const ZuBlockMap>(blocks));
}

void ZuSwizzle::setBlock(std::shared_ptr<ZuBlock> block, const std::string& name) {
  zu::MutexLock lock(_writeMutex);
  auto map = std::make_unique<ZuBlockMap>(blocksSnapshot());
  map->setObject(std::move(block), name);
  publish(std::move(map));
}

void ZuSwizzle::removeBlock(std::string_view name) {
  zu::MutexLock lock(_writeMutex);
  if (!blocksSnapshot().objectForKey(name)) return;
  auto map = std::make_unique<ZuBlockMap>(blocksSnapshot());
  map->removeObjectForKey(name);
  publish(std::move(map));
}

std::string ZuSwizzle::description() const {
  std::string callbacks;
  for (const auto& [name, block] : blocksSnapshot()) {
    callbacks += zu::format("\t%@ : %@\n", name, block);
  }
  const zu::Class* hookedClass = cls();
  const zu::SEL hookedSelector = selector();
  const zu::Value className = hookedClass != nullptr ? zu::Value(hookedClass->name()) : zu::Value();
  const zu::Value selectorName =
      hookedSelector != nullptr ? zu::Value(hookedSelector->name) : zu::Value();
  return zu::format("Swizzle on %@::%@ [\n%@]", className, selectorName, callbacks);
}
