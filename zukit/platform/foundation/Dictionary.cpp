#include "zukit/platform/foundation/Dictionary.h"

#include <algorithm>

#include "zukit/platform/foundation/Value.h"

namespace zu {

Dictionary::Dictionary() = default;
Dictionary::Dictionary(const Dictionary& other) = default;
Dictionary::Dictionary(Dictionary&& other) noexcept = default;
Dictionary& Dictionary::operator=(const Dictionary& other) = default;
Dictionary& Dictionary::operator=(Dictionary&& other) noexcept = default;
Dictionary::~Dictionary() = default;

// Out of line, where Value is complete: clang instantiates the entry type for these bodies.
std::size_t Dictionary::size() const {
  return _entries.size();
}

bool Dictionary::empty() const {
  return _entries.empty();
}

Dictionary::Dictionary(std::initializer_list<Entry> entries) {
  for (const Entry& entry : entries)
    setObject(entry.second, entry.first);
}

const Value* Dictionary::find(std::string_view key) const {
  const auto found = _index.find(key);
  return found == _index.end() ? nullptr : &_entries[found->second].second;
}

Value* Dictionary::find(std::string_view key) {
  const auto found = _index.find(key);
  return found == _index.end() ? nullptr : &_entries[found->second].second;
}

Value Dictionary::objectForKey(std::string_view key) const {
  const Value* value = find(key);
  return value ? *value : Value();
}

void Dictionary::setObject(Value value, std::string key) {
  if (value.isAbsent()) {
    removeObjectForKey(key);
    return;
  }
  if (Value* existing = find(key)) {
    *existing = std::move(value);
    return;
  }
  _index.emplace(key, _entries.size());
  _entries.emplace_back(std::move(key), std::move(value));
}

bool Dictionary::removeObjectForKey(std::string_view key) {
  const auto found = _index.find(key);
  if (found == _index.end()) return false;
  const std::size_t position = found->second;
  _index.erase(found);
  _entries.erase(_entries.begin() + static_cast<std::ptrdiff_t>(position));
  reindexFrom(position);
  return true;
}

void Dictionary::removeAllObjects() {
  _entries.clear();
  _index.clear();
}

std::vector<std::string> Dictionary::allKeys() const {
  std::vector<std::string> keys;
  keys.reserve(_entries.size());
  for (const Entry& entry : _entries)
    keys.push_back(entry.first);
  return keys;
}

Dictionary::const_iterator Dictionary::begin() const {
  return _entries.begin();
}

Dictionary::const_iterator Dictionary::end() const {
  return _entries.end();
}

bool Dictionary::operator==(const Dictionary& other) const {
  if (size() != other.size()) return false;
  return std::all_of(_entries.begin(), _entries.end(), [&other](const Entry& entry) {
    const Value* theirs = other.find(entry.first);
    return theirs != nullptr && *theirs == entry.second;
  });
}

void Dictionary::reindexFrom(std::size_t position) {
  for (std::size_t i = position; i < _entries.size(); ++i)
    _index[_entries[i].first] = i;
}

}  // namespace zu
