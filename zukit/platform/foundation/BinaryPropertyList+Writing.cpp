// Writing binary property lists: the value tree is flattened into a table of objects (the top
// one first, each container before its elements, equal scalars once, as the platform's writer
// stores them), then each object is written with references of the smallest width that
// numbers them all.

#include <algorithm>
#include <bit>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "zukit/platform/foundation/BinaryPropertyList.h"
#include "zukit/platform/foundation/BinaryPropertyListBuilder.h"
#include "zukit/platform/foundation/Unicode.h"

namespace zu {

namespace {

// One object of the table: a value, a text (a dictionary key or a string value), or a UID.
struct TableEntry {
  const Value* value = nullptr;
  std::string_view text;
  std::optional<std::uint64_t> uid;
  // Where the references of an array (its elements) or a dictionary (its keys, then its
  // values) begin in the writer's list of references, and how many there are.
  std::size_t firstReference = 0;
  std::size_t referenceCount = 0;
};

// The number of a dictionary that holds only "CF$UID" and an integer that fits a UID.
std::optional<std::uint64_t> uidOf(const Dictionary& dictionary) {
  if (dictionary.size() != 1) return std::nullopt;
  const Value* number = dictionary.find("CF$UID");
  if (number == nullptr || !number->isInteger() || number->integerValue() < 0 ||
      number->integerValue() > 0xFFFFFFFFLL) {
    return std::nullopt;
  }
  return static_cast<std::uint64_t>(number->integerValue());
}

class Writer {
 public:
  explicit Writer(BinaryPropertyList::UidDictionaries uids) : _uids(uids) {}

  std::optional<Data> run(const Value& top) {
    if (!collect(top, 0)) return std::nullopt;
    BinaryPropertyListBuilder builder(_table.size());
    for (const TableEntry& entry : _table) {
      if (entry.value == nullptr) {
        builder.addText(entry.text);  // checked when collected
      } else if (entry.uid) {
        builder.addUid(*entry.uid);
      } else if (entry.value->isData()) {
        builder.addData(*entry.value->asData());
      } else if (entry.value->isArray() || entry.value->isDictionary()) {
        const std::span<const std::uint64_t> references =
            std::span(_references).subspan(entry.firstReference, entry.referenceCount);
        if (entry.value->isArray()) {
          builder.addArray(references);
        } else {
          builder.addDictionary(references.first(references.size() / 2),
                                references.subspan(references.size() / 2));
        }
      } else {
        builder.addScalar(*entry.value);
      }
    }
    return builder.finish(0);
  }

 private:
  // Adds `value` (and what it holds) to the table; its index, or none when it cannot be written.
  std::optional<std::uint64_t> collect(const Value& value, int depth) {
    if (depth > BinaryPropertyList::kMaximumDepth) return std::nullopt;
    switch (value.kind()) {
      case Value::Kind::Boolean:
      case Value::Kind::Integer:
      case Value::Kind::Real:
      case Value::Kind::Date:
        return collectScalar(TableEntry{&value, {}, {}});
      case Value::Kind::Bytes: {
        const Data& bytes = *value.asData();
        const std::string_view key(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        const auto known = _data.find(key);
        if (known != _data.end()) return known->second;
        _table.push_back(TableEntry{&value, {}, {}});
        _data.emplace(key, _table.size() - 1);
        return _table.size() - 1;
      }
      case Value::Kind::String:
        return collectText(*value.asString());
      case Value::Kind::List: {
        const std::uint64_t index = reserve(value);
        // Elements add references of their own: this array's go in a place kept for them.
        const std::size_t first = keepReferences(value.asArray()->size());
        std::size_t i = first;
        for (const Value& element : *value.asArray()) {
          const auto reference = collect(element, depth + 1);
          if (!reference) return std::nullopt;
          _references[i++] = *reference;
        }
        _table[index].firstReference = first;
        _table[index].referenceCount = value.asArray()->size();
        return index;
      }
      case Value::Kind::Dictionary: {
        const Dictionary& dictionary = *value.asDictionary();
        if (_uids == BinaryPropertyList::UidDictionaries::WriteAsUids) {
          if (const auto uid = uidOf(dictionary)) return collectScalar(TableEntry{&value, {}, uid});
        }
        const std::uint64_t index = reserve(value);
        const std::size_t first = keepReferences(2 * dictionary.size());
        std::size_t i = first;
        for (const auto& [key, element] : dictionary) {
          const auto keyReference = collectText(key);
          const auto valueReference = collect(element, depth + 1);
          if (!keyReference || !valueReference) return std::nullopt;
          _references[i] = *keyReference;
          _references[dictionary.size() + i] = *valueReference;
          ++i;
        }
        _table[index].firstReference = first;
        _table[index].referenceCount = 2 * dictionary.size();
        return index;
      }
      default:
        return std::nullopt;  // absent, NSNull and objects have no property-list form
    }
  }

  std::uint64_t reserve(const Value& container) {
    _table.push_back(TableEntry{&container, {}, {}});
    return _table.size() - 1;
  }

  // Keeps `count` references in a row; where they begin.
  std::size_t keepReferences(std::size_t count) {
    _references.resize(_references.size() + count);
    return _references.size() - count;
  }

  // Equal numbers, dates and UIDs share one object: the one of the same bytes.
  std::uint64_t collectScalar(TableEntry entry) {
    _scalarBytes.clear();
    if (entry.uid) {
      // Apart from every scalar: no scalar's bytes begin with 0xFF.
      _scalarBytes.push_back(0xFF);
      for (int shift = 56; shift >= 0; shift -= 8)
        _scalarBytes.push_back(static_cast<std::uint8_t>(*entry.uid >> shift));
    } else {
      BinaryPropertyListBuilder::appendScalar(_scalarBytes, *entry.value);
    }
    // At most nine bytes: held by the string itself, without an allocation.
    std::string key(_scalarBytes.begin(), _scalarBytes.end());
    const auto known = _scalars.find(key);
    if (known != _scalars.end()) return known->second;
    _table.push_back(entry);
    _scalars.emplace(std::move(key), _table.size() - 1);
    return _table.size() - 1;
  }

  // Equal texts share one object.
  std::optional<std::uint64_t> collectText(std::string_view text) {
    const auto known = _texts.find(text);
    if (known != _texts.end()) return known->second;
    if (!isValidUtf8(text)) return std::nullopt;
    _table.push_back(TableEntry{nullptr, text, {}});
    _texts.emplace(text, _table.size() - 1);
    return _table.size() - 1;
  }

  const BinaryPropertyList::UidDictionaries _uids;
  std::vector<TableEntry> _table;
  std::vector<std::uint64_t> _references;
  // Where a scalar is encoded to find its equal.
  Data _scalarBytes;
  std::unordered_map<std::string_view, std::uint64_t> _texts;
  std::unordered_map<std::string_view, std::uint64_t> _data;
  std::unordered_map<std::string, std::uint64_t> _scalars;
};

}  // namespace

std::optional<Data> BinaryPropertyList::write(const Value& value, UidDictionaries uids) {
  return Writer(uids).run(value);
}

}  // namespace zu
