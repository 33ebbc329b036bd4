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
#include "zukit/platform/foundation/Unicode.h"

namespace zu {

namespace {

constexpr std::string_view kSignature = "bplist00";
constexpr double kEpochOffset = 978307200.0;

// One object of the table: a value, a text (a dictionary key or a string value), or a UID.
struct TableEntry {
  const Value* value = nullptr;
  std::string_view text;
  std::optional<std::uint64_t> uid;
  // Elements of an array; keys then values of a dictionary.
  std::vector<std::uint64_t> references;
};

// The fewest of 1, 2, 4 or 8 bytes that hold `number`.
std::size_t widthFor(std::uint64_t number) {
  if (number <= 0xFFU) return 1;
  if (number <= 0xFFFFU) return 2;
  if (number <= 0xFFFFFFFFU) return 4;
  return 8;
}

void appendBigEndian(Data& out, std::uint64_t number, std::size_t width) {
  for (std::size_t i = width; i > 0; --i)
    out.push_back(static_cast<std::uint8_t>(number >> (8 * (i - 1))));
}

void appendInteger(Data& out, std::int64_t number) {
  if (number < 0) {
    out.push_back(0x13);
    appendBigEndian(out, std::bit_cast<std::uint64_t>(number), 8);
    return;
  }
  const std::size_t width = widthFor(static_cast<std::uint64_t>(number));
  out.push_back(static_cast<std::uint8_t>(0x10U | static_cast<unsigned>(std::countr_zero(width))));
  appendBigEndian(out, static_cast<std::uint64_t>(number), width);
}

// A marker with its count: in the low nibble below 15, else as an integer object after it.
void appendMarker(Data& out, std::uint8_t marker, std::uint64_t count) {
  if (count < 0xF) {
    out.push_back(static_cast<std::uint8_t>(marker << 4U | count));
    return;
  }
  out.push_back(static_cast<std::uint8_t>(marker << 4U | 0xFU));
  appendInteger(out, static_cast<std::int64_t>(count));
}

void appendDouble(Data& out, std::uint8_t marker, double number) {
  out.push_back(marker);
  appendBigEndian(out, std::bit_cast<std::uint64_t>(number), 8);
}

void appendText(Data& out, std::string_view text) {
  const bool ascii = std::all_of(text.begin(), text.end(),
                                 [](char c) { return static_cast<std::uint8_t>(c) < 0x80; });
  if (ascii) {
    appendMarker(out, 0x5, text.size());
    out.insert(out.end(), text.begin(), text.end());
    return;
  }
  const std::u16string units = utf16FromUtf8(text);
  appendMarker(out, 0x6, units.size());
  for (const char16_t unit : units)
    appendBigEndian(out, unit, 2);
}

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
    const std::size_t referenceSize = widthFor(_table.size() - 1);
    Data out(kSignature.begin(), kSignature.end());
    std::vector<std::uint64_t> offsets;
    offsets.reserve(_table.size());
    for (const TableEntry& entry : _table) {
      offsets.push_back(out.size());
      appendEntry(out, entry, referenceSize);
    }
    const std::uint64_t tableOffset = out.size();
    const std::size_t offsetSize = widthFor(offsets.back());
    for (const std::uint64_t offset : offsets)
      appendBigEndian(out, offset, offsetSize);
    // Trailer: five unused bytes, the sort version, both widths, the count, the top object and
    // where the offset table begins.
    out.insert(out.end(), 6, 0);
    out.push_back(static_cast<std::uint8_t>(offsetSize));
    out.push_back(static_cast<std::uint8_t>(referenceSize));
    appendBigEndian(out, _table.size(), 8);
    appendBigEndian(out, 0, 8);
    appendBigEndian(out, tableOffset, 8);
    return out;
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
        return collectScalar(TableEntry{&value, {}, {}, {}});
      case Value::Kind::Bytes: {
        const Data& bytes = *value.asData();
        const std::string_view key(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        const auto known = _data.find(key);
        if (known != _data.end()) return known->second;
        _table.push_back(TableEntry{&value, {}, {}, {}});
        _data.emplace(key, _table.size() - 1);
        return _table.size() - 1;
      }
      case Value::Kind::String:
        return collectText(*value.asString());
      case Value::Kind::List: {
        const std::uint64_t index = reserve(value);
        std::vector<std::uint64_t> references;
        references.reserve(value.asArray()->size());
        for (const Value& element : *value.asArray()) {
          const auto reference = collect(element, depth + 1);
          if (!reference) return std::nullopt;
          references.push_back(*reference);
        }
        _table[index].references = std::move(references);
        return index;
      }
      case Value::Kind::Dictionary: {
        const Dictionary& dictionary = *value.asDictionary();
        if (_uids == BinaryPropertyList::UidDictionaries::WriteAsUids) {
          if (const auto uid = uidOf(dictionary))
            return collectScalar(TableEntry{&value, {}, uid, {}});
        }
        const std::uint64_t index = reserve(value);
        std::vector<std::uint64_t> references(2 * dictionary.size());
        std::size_t i = 0;
        for (const auto& [key, element] : dictionary) {
          const auto keyReference = collectText(key);
          const auto valueReference = collect(element, depth + 1);
          if (!keyReference || !valueReference) return std::nullopt;
          references[i] = *keyReference;
          references[dictionary.size() + i] = *valueReference;
          ++i;
        }
        _table[index].references = std::move(references);
        return index;
      }
      default:
        return std::nullopt;  // absent, NSNull and objects have no property-list form
    }
  }

  std::uint64_t reserve(const Value& container) {
    _table.push_back(TableEntry{&container, {}, {}, {}});
    return _table.size() - 1;
  }

  // Equal numbers, dates and UIDs share one object: the one of the same bytes.
  std::uint64_t collectScalar(TableEntry entry) {
    Data encoded;
    appendEntry(encoded, entry, 0);
    std::string key(encoded.begin(), encoded.end());
    const auto known = _scalars.find(key);
    if (known != _scalars.end()) return known->second;
    _table.push_back(std::move(entry));
    _scalars.emplace(std::move(key), _table.size() - 1);
    return _table.size() - 1;
  }

  // Equal texts share one object.
  std::optional<std::uint64_t> collectText(std::string_view text) {
    if (!isValidUtf8(text)) return std::nullopt;
    const auto known = _texts.find(text);
    if (known != _texts.end()) return known->second;
    _table.push_back(TableEntry{nullptr, text, {}, {}});
    _texts.emplace(text, _table.size() - 1);
    return _table.size() - 1;
  }

  static void appendEntry(Data& out, const TableEntry& entry, std::size_t referenceSize) {
    if (entry.value == nullptr) {
      appendText(out, entry.text);
      return;
    }
    if (entry.uid) {
      const std::size_t width = widthFor(*entry.uid);
      out.push_back(static_cast<std::uint8_t>(0x80U | (width - 1)));
      appendBigEndian(out, *entry.uid, width);
      return;
    }
    const Value& value = *entry.value;
    switch (value.kind()) {
      case Value::Kind::Boolean:
        out.push_back(value.boolValue() ? 0x09 : 0x08);
        break;
      case Value::Kind::Integer:
        appendInteger(out, value.integerValue());
        break;
      case Value::Kind::Real:
        appendDouble(out, 0x23, value.doubleValue());
        break;
      case Value::Kind::Date:
        appendDouble(out, 0x33, value.asDate()->timeIntervalSince1970() - kEpochOffset);
        break;
      case Value::Kind::Bytes:
        appendMarker(out, 0x4, value.asData()->size());
        out.insert(out.end(), value.asData()->begin(), value.asData()->end());
        break;
      case Value::Kind::List:
        appendMarker(out, 0xA, entry.references.size());
        for (const std::uint64_t reference : entry.references)
          appendBigEndian(out, reference, referenceSize);
        break;
      case Value::Kind::Dictionary:
        appendMarker(out, 0xD, entry.references.size() / 2);
        for (const std::uint64_t reference : entry.references)
          appendBigEndian(out, reference, referenceSize);
        break;
      default:
        break;
    }
  }

  const BinaryPropertyList::UidDictionaries _uids;
  std::vector<TableEntry> _table;
  std::unordered_map<std::string_view, std::uint64_t> _texts;
  std::unordered_map<std::string_view, std::uint64_t> _data;
  std::unordered_map<std::string, std::uint64_t> _scalars;
};

}  // namespace

std::optional<Data> BinaryPropertyList::write(const Value& value, UidDictionaries uids) {
  return Writer(uids).run(value);
}

}  // namespace zu
