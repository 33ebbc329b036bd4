#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>

#include "zukit/platform/foundation/Export.h"

namespace zu {

class Class;

// The root object class. Objects are reference counted through std::shared_ptr (`id`) and held
// weakly through std::weak_ptr where a holder must not keep them alive.
class ZU_EXPORT Object : public std::enable_shared_from_this<Object> {
 public:
  Object() = default;
  virtual ~Object();
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  Object(Object&&) = delete;
  Object& operator=(Object&&) = delete;

  // The text that "%@" prints for this object: "<ClassName: 0x...>" unless a class says more.
  virtual std::string description() const;
  // The class name printed by description(); the C++ class name without namespaces by default.
  virtual std::string className() const;
  // Object equality; identity unless a class defines value equality.
  virtual bool isEqual(const Object& other) const;
  // A hash consistent with isEqual().
  virtual std::size_t hash() const;

  // The object's class in the runtime, whose method table answers the messages sent to it: the
  // root class "NSObject" unless the C++ class declares its own (see RuntimeClass.h).
  virtual Class* runtimeClass() const;
  // The runtime class of zu::Object itself: the root class.
  static Class* staticClass();

 private:
  friend class AssociationTable;
  // Set once the object has been given an associated value, so that only such objects visit
  // the association table when they are destroyed.
  mutable std::atomic<bool> _hasAssociatedObjects{false};
};

// A strong reference to any object.
using id = std::shared_ptr<Object>;
// A weak reference to any object.
using weak_id = std::weak_ptr<Object>;

}  // namespace zu
