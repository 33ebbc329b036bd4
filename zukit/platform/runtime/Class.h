#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/runtime/CacheLine.h"
#include "zukit/platform/runtime/Method.h"

namespace zu {

class Class;

namespace detail {

// One slot of a method cache: a selector and the entry it resolves to (nullptr: none).
struct ZU_EXPORT MethodCacheBucket {
  SEL selector = nullptr;
  Method method = nullptr;
};

// An immutable map from selector to resolved entry for one class, open-addressed, at most half
// full. It is valid while the process-wide table epoch equals its own.
struct ZU_EXPORT MethodCache {
  alignas(kCacheLineSize) std::uint64_t epoch = 0;
  std::size_t mask = 0;
  std::size_t count = 0;
  std::vector<MethodCacheBucket, CacheLineAllocator<MethodCacheBucket>> buckets;
};

// Advanced whenever a method table gains an entry, which invalidates every cache at once.
ZU_EXPORT extern std::atomic<std::uint64_t> methodTableEpoch;

// The first bucket to probe for `selector` in a table of mask + 1 buckets.
inline std::size_t selectorBucket(SEL selector, std::size_t mask) {
  const auto bits = reinterpret_cast<std::uintptr_t>(
      selector);  // NOLINT(cppcoreguidelines-pro-type-reinterpret-cast): hashing an address
  return ((bits >> 4U) ^ (bits >> 10U)) & mask;
}

}  // namespace detail

// A class of the object runtime: a name, a superclass and a method table. Classes are
// registered once, by name, and live for the process; so do their method entries.
class ZU_EXPORT Class {
 public:
  Class(std::string name, Class* superclass) : _name(std::move(name)), _superclass(superclass) {}
  ~Class();
  Class(const Class&) = delete;
  Class& operator=(const Class&) = delete;

  // The class's name.
  const std::string& name() const { return _name; }
  // The superclass, or nullptr for a root class.
  Class* superclass() const { return _superclass; }
  // True when this class is `other` or inherits from it.
  bool isSubclassOfClass(const Class* other) const;

  // The current method cache, or nullptr; read by every send (see MessageSend.h).
  const detail::MethodCache* methodCache() const { return _cache.load(std::memory_order_acquire); }

 private:
  friend struct ClassInternals;

  const std::string _name;
  Class* const _superclass;
  // The entries this class itself defines, in the order they were added. Written and read
  // under the runtime's lock (Runtime.cpp); entries are never removed.
  std::vector<std::unique_ptr<objc_method>> _methods;
  // Published lock-free for sends; replaced under the runtime's lock. Read by every send, so
  // it starts a cache line of its own: a class never shares a line with the objects that are
  // written next to it on the heap.
  alignas(64) std::atomic<const detail::MethodCache*> _cache{nullptr};
  // Caches that were replaced. A send on another thread may still be probing one, so they are
  // kept for the life of the class (the process) instead of being freed.
  std::vector<std::unique_ptr<const detail::MethodCache>> _retiredCaches;
};

}  // namespace zu
