#include "zukit/platform/runtime/NSSet.h"

#include <algorithm>

namespace zu {

NSSet::NSSet(const std::vector<id>& objects) {
  _objects.reserve(objects.size());
  for (const id& object : objects) {
    if (object && !containsObject(object)) _objects.push_back(object);
  }
}

std::shared_ptr<NSSet> NSSet::setWithObject(const id& object) {
  return std::make_shared<NSSet>(std::vector<id>{object});
}

std::shared_ptr<NSSet> NSSet::setWithArray(const std::vector<id>& objects) {
  return std::make_shared<NSSet>(objects);
}

bool NSSet::containsObject(const id& object) const {
  if (!object) return false;
  return std::any_of(_objects.begin(), _objects.end(), [&object](const id& member) {
    return member == object || member->isEqual(*object);
  });
}

std::string NSSet::description() const {
  std::string text = "{(";
  for (std::size_t i = 0; i < _objects.size(); ++i) {
    text += (i == 0 ? "\n    " : ",\n    ") + _objects[i]->description();
  }
  return text + (_objects.empty() ? ")}" : "\n)}");
}

bool NSSet::isEqual(const Object& other) const {
  const auto* set = dynamic_cast<const NSSet*>(&other);
  if (set == nullptr || set->count() != count()) return false;
  return std::all_of(_objects.begin(), _objects.end(),
                     [set](const id& object) { return set->containsObject(object); });
}

}  // namespace zu
