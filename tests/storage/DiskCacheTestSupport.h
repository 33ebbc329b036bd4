#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zukit/platform/foundation/Clock.h"
#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/foundation/NSUserDefaults.h"
#include "zukit/storage/ZuDiskCache.h"
#include "zukit/utils/ZuUtils.h"

namespace zukit::test {

// Fixes the clock at a second for a scope, and gives it back to the system afterwards.
class ClockScope {
 public:
  explicit ClockScope(std::int64_t second) { set(second); }
  ~ClockScope() { zu::Clock::setTimeForTesting(std::nullopt); }
  ClockScope(const ClockScope&) = delete;
  ClockScope& operator=(const ClockScope&) = delete;

  static void set(std::int64_t second) { zu::Clock::setTimeForTesting(second); }
};

// An index entry as read back: the key and the storing second.
using DecodedEntry = std::pair<std::string, std::int64_t>;

// The index of `cache`, each entry decoded; undecodable entries show as ("?", -1).
inline std::vector<DecodedEntry> decodedIndex(const ZuDiskCache& cache) {
  std::vector<DecodedEntry> list;
  for (const std::string& entry : cache.keys()) {
    const auto parts = ZuDiskCache::componentsOfEntry(entry);
    const auto second = ZuDiskCache::storingSecondOfComponents(parts);
    list.emplace_back(parts.empty() ? "?" : parts.front(), second.value_or(-1));
  }
  return list;
}

// The entry that the key stored at `second` gets: base64 of key, separator and second.
inline std::string entryOf(const std::string& key, long second) {
  return ZuUtils::base64Encode(zu::Value(zu::format("%@__#Zu#__%ld", key, second))).value_or("");
}

// The index as the standard preferences hold it under `indexKey`; none when the key is absent.
inline std::optional<std::vector<std::string>> persistedIndex(const std::string& indexKey) {
  const zu::Value stored = zu::NSUserDefaults::standardUserDefaults()->objectForKey(indexKey);
  const zu::Array* list = stored.asArray();
  if (list == nullptr) return std::nullopt;
  std::vector<std::string> entries;
  for (const zu::Value& element : *list) {
    entries.push_back(element.asString() != nullptr ? *element.asString() : "<not text>");
  }
  return entries;
}

// The bytes of a text.
inline zu::Data bytesOf(const std::string& text) {
  return {text.begin(), text.end()};
}

}  // namespace zukit::test
