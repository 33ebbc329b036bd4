#pragma once

#include <new>
#include <utility>

namespace zu {

// Holds a process-wide object that is built on first use and never destroyed, so that worker
// threads still running at exit never meet a destroyed singleton.
template <class T>
class NoDestructor {
 public:
  template <class... Args>
  explicit NoDestructor(Args&&... args) {
    new (_storage) T(std::forward<Args>(args)...);
  }
  ~NoDestructor() = default;
  NoDestructor(const NoDestructor&) = delete;
  NoDestructor& operator=(const NoDestructor&) = delete;

  // The held object.
  T& get() { return *std::launder(reinterpret_cast<T*>(_storage)); }
  // The held object.
  const T& get() const { return *std::launder(reinterpret_cast<const T*>(_storage)); }
  T* operator->() { return &get(); }
  const T* operator->() const { return &get(); }
  T& operator*() { return get(); }

 private:
  alignas(T) unsigned char _storage[sizeof(T)];
};

}  // namespace zu
