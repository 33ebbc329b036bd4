#include "zukit/platform/runtime/Runtime.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <map>
#include <memory>
#include <unordered_map>
#include <utility>

#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/platform/runtime/ClassCatalog.h"
#include "zukit/platform/runtime/MessageSend.h"

namespace zu {

namespace detail {
std::atomic<std::uint64_t> methodTableEpoch{1};
}  // namespace detail

namespace {

struct RegisteredClass {
  std::unique_ptr<Class> cls;
  // Whether a setup function has run (or is running) for the class.
  bool setUp = false;
};

struct ClassTable {
  Mutex mutex;
  std::unordered_map<std::string, RegisteredClass> classes ZU_GUARDED_BY(mutex);
};

ClassTable& table() {
  static NoDestructor<ClassTable> classes;
  return *classes;
}

// Guards every method table and the replacement of method caches. Sends take it only when a
// class's cache misses.
Mutex& runtimeLock() {
  static NoDestructor<Mutex> lock;
  return *lock;
}

struct ImplementationKey {
  void (*function)();
  const std::type_info* signature;
  bool operator<(const ImplementationKey& other) const {
    if (function != other.function) return std::less<>()(function, other.function);
    return signature->before(*other.signature);
  }
};

struct ImplementationTable {
  Mutex mutex;
  std::map<ImplementationKey, std::unique_ptr<objc_implementation>> records ZU_GUARDED_BY(mutex);
};

ImplementationTable& implementations() {
  static NoDestructor<ImplementationTable> records;
  return *records;
}

}  // namespace

// The runtime's access to the private parts of Class; every member is used under runtimeLock().
struct ClassInternals {
  static Method ownMethod(const Class* cls, SEL selector) {
    for (const auto& method : cls->_methods) {
      if (method->selector == selector) return method.get();
    }
    return nullptr;
  }

  static Method resolve(Class* cls, SEL selector) {
    for (const Class* current = cls; current != nullptr; current = current->superclass()) {
      if (Method method = ownMethod(current, selector)) return method;
    }
    return nullptr;
  }

  static std::vector<Method> ownMethods(const Class* cls) {
    std::vector<Method> list;
    list.reserve(cls->_methods.size());
    for (const auto& method : cls->_methods)
      list.push_back(method.get());
    return list;
  }

  static void add(Class* cls, std::unique_ptr<objc_method> method) {
    cls->_methods.push_back(std::move(method));
    detail::methodTableEpoch.fetch_add(1, std::memory_order_acq_rel);
  }

  // Records `selector` -> `method` in the class's cache, replacing the cache with a larger copy.
  static void remember(Class* cls, SEL selector, Method method) {
    const std::uint64_t epoch = detail::methodTableEpoch.load(std::memory_order_acquire);
    const detail::MethodCache* old = cls->_cache.load(std::memory_order_acquire);
    const bool keepOld = old != nullptr && old->epoch == epoch;
    const std::size_t count = (keepOld ? old->count : 0) + 1;
    const std::size_t capacity = std::max<std::size_t>(8, std::bit_ceil(count * 2));

    auto cache = std::make_unique<detail::MethodCache>();
    cache->epoch = epoch;
    cache->mask = capacity - 1;
    cache->count = count;
    cache->buckets.resize(capacity);
    const auto insert = [&cache](SEL key, Method value) {
      std::size_t index = detail::selectorBucket(key, cache->mask);
      while (cache->buckets[index].selector != nullptr)
        index = (index + 1) & cache->mask;
      cache->buckets[index] = detail::MethodCacheBucket{key, value};
    };
    if (keepOld) {
      for (std::size_t index = 0; index <= old->mask; ++index) {
        const detail::MethodCacheBucket& bucket = old->buckets[index];
        if (bucket.selector != nullptr && bucket.selector != selector)
          insert(bucket.selector, bucket.method);
      }
    }
    insert(selector, method);
    // The class owns its current cache through _cache and its replaced ones through the list.
    cls->_cache.store(cache.release(), std::memory_order_release);
    if (old != nullptr) cls->_retiredCaches.emplace_back(old);
  }
};

namespace detail {

IMP internImplementation(void (*function)(), const std::type_info& signature, const char* types) {
  ImplementationTable& records = implementations();
  MutexLock lock(records.mutex);
  auto& slot = records.records[ImplementationKey{function, &signature}];
  if (!slot)
    slot = std::make_unique<objc_implementation>(objc_implementation{function, &signature, types});
  return slot.get();
}

Method lookupMethodSlow(Class* cls, SEL selector) {
  if (cls == nullptr || selector == nullptr) return nullptr;
  MutexLock lock(runtimeLock());
  Method method = ClassInternals::resolve(cls, selector);
  ClassInternals::remember(cls, selector, method);
  return method;
}

}  // namespace detail

Class* objc_registerClass(std::string_view name, Class* superclass) {
  return objc_registerClass(name, superclass, nullptr);
}

Class* objc_registerClass(std::string_view name, Class* superclass, void (*setup)(Class*)) {
  ClassTable& classes = table();
  Class* cls = nullptr;
  bool runSetup = false;
  {
    MutexLock lock(classes.mutex);
    RegisteredClass& slot = classes.classes[std::string(name)];
    if (!slot.cls) slot.cls = std::make_unique<Class>(std::string(name), superclass);
    cls = slot.cls.get();
    // A class registered by name alone (by the catalog or a host) still gets its methods when
    // its C++ class registers it with its setup.
    runSetup = setup != nullptr && !slot.setUp;
    if (runSetup) slot.setUp = true;
  }
  if (runSetup) setup(cls);
  return cls;
}

namespace {

Class* registeredClass(std::string_view name) {
  ClassTable& classes = table();
  MutexLock lock(classes.mutex);
  const auto found = classes.classes.find(std::string(name));
  return found == classes.classes.end() ? nullptr : found->second.cls.get();
}

}  // namespace

Class* objc_getClass(std::string_view name) {
  if (Class* cls = registeredClass(name)) return cls;
  // Every class the library defines or stands in for is known from the first lookup on.
  detail::ensureClassCatalog();
  return registeredClass(name);
}

Class* NSClassFromString(const Value& name) {
  const std::optional<std::string> text = validText(name);
  return text ? objc_getClass(*text) : nullptr;
}

std::string NSStringFromClass(const Class* cls) {
  return cls != nullptr ? cls->name() : "";
}

Class* rootClass() {
  static Class* const root = objc_registerClass("NSObject", nullptr);
  return root;
}

Class* class_getSuperclass(const Class* cls) {
  return cls != nullptr ? cls->superclass() : nullptr;
}

Method class_getInstanceMethod(Class* cls, SEL selector) {
  if (cls == nullptr || selector == nullptr) return nullptr;
  MutexLock lock(runtimeLock());
  return ClassInternals::resolve(cls, selector);
}

std::vector<Method> class_copyMethodList(const Class* cls) {
  if (cls == nullptr) return {};
  MutexLock lock(runtimeLock());
  return ClassInternals::ownMethods(cls);
}

bool class_addMethod(Class* cls, SEL selector, IMP implementation, const char* types) {
  if (cls == nullptr || selector == nullptr || implementation == nullptr) return false;
  if (types != nullptr && std::strcmp(types, implementation->types) != 0) return false;
  MutexLock lock(runtimeLock());
  if (ClassInternals::ownMethod(cls, selector) != nullptr) return false;
  ClassInternals::add(cls, std::make_unique<objc_method>(selector, implementation,
                                                         std::string(implementation->types)));
  return true;
}

IMP class_getMethodImplementation(Class* cls, SEL selector) {
  return method_getImplementation(class_getInstanceMethod(cls, selector));
}

bool class_respondsToSelector(Class* cls, SEL selector) {
  return class_getInstanceMethod(cls, selector) != nullptr;
}

SEL method_getName(Method method) {
  return method != nullptr ? method->selector : nullptr;
}

IMP method_getImplementation(Method method) {
  return method != nullptr ? method->implementation.load(std::memory_order_acquire) : nullptr;
}

IMP method_setImplementation(Method method, IMP implementation) {
  if (method == nullptr || implementation == nullptr) return nullptr;
  MutexLock lock(runtimeLock());
  return method->implementation.exchange(implementation, std::memory_order_acq_rel);
}

const char* method_getTypeEncoding(Method method) {
  return method != nullptr ? method->types.c_str() : nullptr;
}

void method_exchangeImplementations(Method first, Method second) {
  if (first == nullptr || second == nullptr) return;
  MutexLock lock(runtimeLock());
  const IMP firstImplementation = first->implementation.load(std::memory_order_acquire);
  const IMP secondImplementation = second->implementation.load(std::memory_order_acquire);
  first->implementation.store(secondImplementation, std::memory_order_release);
  second->implementation.store(firstImplementation, std::memory_order_release);
}

}  // namespace zu
