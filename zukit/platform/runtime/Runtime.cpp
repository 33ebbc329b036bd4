#include "zukit/platform/runtime/Runtime.h"

#include <memory>
#include <unordered_map>

#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NoDestructor.h"

namespace zu {

namespace {

struct ClassTable {
  Mutex mutex;
  std::unordered_map<std::string, std::unique_ptr<Class>> classes ZU_GUARDED_BY(mutex);
};

ClassTable& table() {
  static NoDestructor<ClassTable> classes;
  return *classes;
}

}  // namespace

Class* objc_registerClass(std::string_view name, Class* superclass) {
  ClassTable& classes = table();
  MutexLock lock(classes.mutex);
  auto& slot = classes.classes[std::string(name)];
  if (!slot) slot = std::make_unique<Class>(std::string(name), superclass);
  return slot.get();
}

Class* objc_getClass(std::string_view name) {
  rootClass();
  ClassTable& classes = table();
  MutexLock lock(classes.mutex);
  const auto found = classes.classes.find(std::string(name));
  return found == classes.classes.end() ? nullptr : found->second.get();
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

}  // namespace zu
