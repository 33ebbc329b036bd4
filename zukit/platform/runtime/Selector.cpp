#include "zukit/platform/runtime/Selector.h"

#include <memory>
#include <unordered_map>

#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/platform/foundation/Unicode.h"

namespace zu {

namespace {

struct SelectorTable {
  Mutex mutex;
  std::unordered_map<std::string_view, std::unique_ptr<objc_selector>> selectors
      ZU_GUARDED_BY(mutex);
};

SelectorTable& selectorTable() {
  static NoDestructor<SelectorTable> table;
  return *table;
}

}  // namespace

SEL sel_registerName(std::string_view name) {
  SelectorTable& table = selectorTable();
  MutexLock lock(table.mutex);
  const auto found = table.selectors.find(name);
  if (found != table.selectors.end()) return found->second.get();
  auto selector = std::make_unique<objc_selector>(std::string(name));
  // The key views the selector's own copy of the name, which lives as long as the entry.
  const std::string_view key = selector->name;
  return table.selectors.emplace(key, std::move(selector)).first->second.get();
}

const char* sel_getName(SEL selector) {
  return selector != nullptr ? selector->name.c_str() : "<null selector>";
}

SEL NSSelectorFromString(const Value& name) {
  const std::optional<std::string> text = validText(name);
  if (!text || !isValidUtf8(*text)) return nullptr;
  return sel_registerName(*text);
}

std::string NSStringFromSelector(SEL selector) {
  return selector != nullptr ? selector->name : std::string();
}

}  // namespace zu
