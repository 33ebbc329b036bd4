#include "zukit/platform/runtime/Object.h"

#include <cxxabi.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <typeinfo>

#include "zukit/platform/runtime/AssociationTable.h"
#include "zukit/platform/runtime/Runtime.h"

namespace zu {

namespace {

std::string demangledName(const std::type_info& type) {
  int status = 0;
  std::unique_ptr<char, decltype(&std::free)> name(
      abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
  std::string full = (status == 0 && name) ? std::string(name.get()) : std::string(type.name());
  const std::size_t scope = full.rfind("::");
  return scope == std::string::npos ? full : full.substr(scope + 2);
}

}  // namespace

Object::~Object() {
  if (_hasAssociatedObjects.load(std::memory_order_acquire))
    AssociationTable::objectDestroyed(this);
}

std::string Object::description() const {
  char address[32];
  std::snprintf(address, sizeof address, "%p", static_cast<const void*>(this));
  return "<" + className() + ": " + address + ">";
}

std::string Object::className() const {
  return demangledName(typeid(*this));
}

bool Object::isEqual(const Object& other) const {
  return this == &other;
}

std::size_t Object::hash() const {
  return std::hash<const void*>{}(this);
}

Class* Object::runtimeClass() const {
  return rootClass();
}

Class* Object::staticClass() {
  return rootClass();
}

}  // namespace zu
