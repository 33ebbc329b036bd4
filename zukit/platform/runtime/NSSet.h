#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// An immutable set of objects: each object at most once (by isEqual()), enumerated in the order
// the objects were first given. Safe to read from any thread.
class ZU_EXPORT NSSet final : public Object {
 public:
  ZU_RUNTIME_CLASS(NSSet, Object)

  // The empty set.
  NSSet() = default;
  // The set of `objects`; missing objects and repeats are left out.
  explicit NSSet(const std::vector<id>& objects);
  // The set of one object (empty for none).
  static std::shared_ptr<NSSet> setWithObject(const id& object);
  // The set of `objects`.
  static std::shared_ptr<NSSet> setWithArray(const std::vector<id>& objects);

  // The number of objects.
  NSUInteger count() const { return _objects.size(); }
  // One of the objects (the first in enumeration order), or nullptr for the empty set.
  id anyObject() const { return _objects.empty() ? nullptr : _objects.front(); }
  // anyObject() as a T, or nullptr when the set is empty or the object is no T:
  // touches->anyObject<UITouch>().
  template <class T>
  std::shared_ptr<T> anyObject() const {
    return std::dynamic_pointer_cast<T>(anyObject());
  }
  // True when an object of the set is equal to `object`.
  bool containsObject(const id& object) const;
  // The objects in enumeration order.
  const std::vector<id>& allObjects() const { return _objects; }
  // Enumeration, as allObjects().
  std::vector<id>::const_iterator begin() const { return _objects.begin(); }
  std::vector<id>::const_iterator end() const { return _objects.end(); }

  // "{(" and the objects' descriptions, one per line, then ")}".
  std::string description() const override;
  // Equal to a set holding equal objects.
  bool isEqual(const Object& other) const override;
  std::size_t hash() const override { return _objects.size(); }

 private:
  std::vector<id> _objects;
};

}  // namespace zu
