#pragma once

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "zukit/platform/foundation/Export.h"

namespace zu {

class Value;

// A map from text keys to values that keeps its keys in insertion order, which is the order
// in which it enumerates, prints and serialises them.
class ZU_EXPORT Dictionary {
 public:
  // One key and its value.
  using Entry = std::pair<std::string, Value>;
  // Walks the entries in insertion order.
  using const_iterator = std::vector<Entry>::const_iterator;

  Dictionary();
  Dictionary(std::initializer_list<Entry> entries);
  Dictionary(const Dictionary& other);
  Dictionary(Dictionary&& other) noexcept;
  Dictionary& operator=(const Dictionary& other);
  Dictionary& operator=(Dictionary&& other) noexcept;
  ~Dictionary();

  // Number of keys.
  std::size_t size() const;
  // True when there are no keys.
  bool empty() const;
  // The value under `key`, or nullptr.
  const Value* find(std::string_view key) const;
  // The value under `key`, or nullptr.
  Value* find(std::string_view key);
  // The value under `key`; an absent value when the key is missing.
  Value objectForKey(std::string_view key) const;
  // Sets the value under `key`, keeping the key's place if present; an absent value removes it.
  void setObject(Value value, std::string key);
  // Removes `key`; false when it was not there.
  bool removeObjectForKey(std::string_view key);
  // Removes every key.
  void removeAllObjects();
  // The keys in insertion order.
  std::vector<std::string> allKeys() const;

  const_iterator begin() const;
  const_iterator end() const;

  // Same keys with equal values, whatever the order.
  bool operator==(const Dictionary& other) const;

 private:
  struct KeyHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view key) const {
      return std::hash<std::string_view>{}(key);
    }
  };
  void reindexFrom(std::size_t position);

  std::vector<Entry> _entries;
  std::unordered_map<std::string, std::size_t, KeyHash, std::equal_to<>> _index;
};

}  // namespace zu
