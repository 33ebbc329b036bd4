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
  const auto found = std::find_if(_entries.begin(), _entries.end(),
                                  [&name](const Entry& entry) { return entry.first == name; });
  if (found != _entries.end()) {
    found->second = std::move(block);
  } else {
    _entries.emplace_back(std::move(name), std::move(block));
  }
  entriesChanged();
}

void ZuBlockMap::removeObjectForKey(std::string_view name) {
  if (std::erase_if(_entries, [name](const Entry& entry) { return entry.first == name; }) > 0)
    entriesChanged();
}

void ZuBlockMap::entriesChanged() {
  _calls.clear();
  _calls.reserve(_entries.size());
  for (const auto& [name, block] : _entries)
    _calls.push_back(Call{block.get(), &block->signature(), block->entry()});
  _commonSignature = _calls.empty() ? nullptr : _calls.front().signature;
  for (const Call& call : _calls) {
    if (*call.signature != *_commonSignature) {
      _commonSignature = nullptr;
      break;
    }
  }
}

bool ZuBlockMap::operator==(const ZuBlockMap& other) const {
  if (count() != other.count()) return false;
  return std::all_of(_entries.begin(), _entries.end(), [&other](const Entry& entry) {
    return other.objectForKey(entry.first) == entry.second;
  });
}
