#pragma once

#include <string>

namespace zu {

// A class of the object runtime: a name and a superclass. Classes are registered once, by
// name, and live for the process.
class Class {
 public:
  Class(std::string name, Class* superclass) : _name(std::move(name)), _superclass(superclass) {}
  Class(const Class&) = delete;
  Class& operator=(const Class&) = delete;

  // The class's name.
  const std::string& name() const { return _name; }
  // The superclass, or nullptr for a root class.
  Class* superclass() const { return _superclass; }
  // True when this class is `other` or inherits from it.
  bool isSubclassOfClass(const Class* other) const;

 private:
  const std::string _name;
  Class* const _superclass;
};

}  // namespace zu
