#include "zukit/hooks/ZuBlockMap.h"

#include <algorithm>

std::shared_ptr<ZuBlock> ZuBlockMap::objectForKey(std::string_view name) const {
  for (const Entry& entry : _entries) {
    if (entry.first == name) return entry.second;
  }
  return nullptr;
}

void ZuBlockMap::setObject(std::shared_ptr<ZuBlock> block, std::string name) {
  if (!block) {
    removeObjectForKey(name);
    return;
  }
  for (Entry& entry : _entries) {
    if (entry.first == name) {
      entry.second = std::move(block);
      return;
    }
  }
  _entries.emplace_back(std::move(name), std::move(block));
}

void ZuBlockMap::removeObjectForKey(std::string_view name) {
  std::erase_if(_entries, [name](const Entry& entry) { return entry.first == name; });
}

bool ZuBlockMap::operator==(const ZuBlockMap& other) const {
  if (count() != other.count()) return false;
  return std::all_of(_entries.begin(), _entries.end(), [&other](const Entry& entry) {
    return other.objectForKey(entry.first) == entry.second;
  });
}
