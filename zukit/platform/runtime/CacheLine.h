#pragma once

#include <cstddef>
#include <new>

namespace zu {

// The size of a cache line. The runtime's data that every send or hooked call reads (classes,
// method entries, caches, hook records, callbacks) starts on a line of its own, so that it
// never shares a line with application objects written next to it on the heap: a write there
// would slow every read of the runtime's data.
inline constexpr std::size_t kCacheLineSize = 64;

// A standard allocator whose blocks start on a cache line, for containers of such data.
template <class T>
class CacheLineAllocator {
 public:
  using value_type = T;

  CacheLineAllocator() = default;
  template <class U>
  CacheLineAllocator(const CacheLineAllocator<U>& /*other*/) {
  }  // NOLINT(google-explicit-constructor): allocators convert implicitly

  T* allocate(std::size_t count) {
    return static_cast<T*>(::operator new(count * sizeof(T), std::align_val_t(kCacheLineSize)));
  }
  void deallocate(T* pointer, std::size_t /*count*/) noexcept {
    ::operator delete(pointer, std::align_val_t(kCacheLineSize));
  }

  template <class U>
  bool operator==(const CacheLineAllocator<U>& /*other*/) const {
    return true;
  }
};

}  // namespace zu
