#include "zukit/platform/runtime/AssociatedObjects.h"

#include <unordered_map>
#include <utility>
#include <vector>

#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/platform/runtime/AssociationTable.h"

namespace zu {

namespace {

struct Association {
  const void* key = nullptr;
  Value value;        // the value, unless an object held weakly
  weak_id weakValue;  // an object held weakly
  bool isWeak = false;
};

using Associations = std::vector<Association>;

struct Associated {
  Mutex mutex;
  std::unordered_map<const Object*, Associations> objects ZU_GUARDED_BY(mutex);
};

Associated& associated() {
  static NoDestructor<Associated> table;
  return *table;
}

bool isKnownPolicy(objc_AssociationPolicy policy) {
  switch (policy) {
    case OBJC_ASSOCIATION_ASSIGN:
    case OBJC_ASSOCIATION_RETAIN_NONATOMIC:
    case OBJC_ASSOCIATION_COPY_NONATOMIC:
    case OBJC_ASSOCIATION_RETAIN:
    case OBJC_ASSOCIATION_COPY:
      return true;
  }
  return false;
}

}  // namespace

void AssociationTable::markObject(const Object* object) {
  object->_hasAssociatedObjects.store(true, std::memory_order_release);
}

void AssociationTable::objectDestroyed(const Object* object) {
  Associations dropped;
  {
    Associated& table = associated();
    MutexLock lock(table.mutex);
    const auto found = table.objects.find(object);
    if (found == table.objects.end()) return;
    dropped = std::move(found->second);
    table.objects.erase(found);
  }
  // `dropped` is released here, outside the lock: releasing a value may destroy an object that
  // has associations of its own.
}

void objc_setAssociatedObject(ObjectRef object, const void* key, const Value& value,
                              objc_AssociationPolicy policy) {
  if (!object || key == nullptr || !isKnownPolicy(policy)) return;
  Association replacement{key, value, {}, false};
  if (policy == OBJC_ASSOCIATION_ASSIGN && value.isObject()) {
    replacement.weakValue = value.asObject();
    replacement.value = Value();
    replacement.isWeak = true;
  }
  Association previous;
  {
    Associated& table = associated();
    MutexLock lock(table.mutex);
    Associations& list = table.objects[object.get()];
    auto entry = list.begin();
    while (entry != list.end() && entry->key != key)
      ++entry;
    if (entry != list.end()) {
      previous = std::move(*entry);
      if (value.isAbsent()) {
        list.erase(entry);
      } else {
        *entry = std::move(replacement);
      }
    } else if (!value.isAbsent()) {
      list.push_back(std::move(replacement));
    }
    if (list.empty()) table.objects.erase(object.get());
    AssociationTable::markObject(object.get());
  }
  // `previous` is released outside the lock, for the reason given in objectDestroyed().
}

Value objc_getAssociatedObject(ObjectRef object, const void* key) {
  if (!object || key == nullptr) return {};
  Associated& table = associated();
  MutexLock lock(table.mutex);
  const auto found = table.objects.find(object.get());
  if (found == table.objects.end()) return {};
  for (const Association& entry : found->second) {
    if (entry.key != key) continue;
    if (entry.isWeak) return {entry.weakValue.lock()};
    return entry.value;
  }
  return {};
}

void objc_removeAssociatedObjects(ObjectRef object) {
  if (object) AssociationTable::objectDestroyed(object.get());
}

}  // namespace zu
