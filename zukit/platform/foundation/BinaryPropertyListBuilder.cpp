#include "zukit/platform/foundation/BinaryPropertyListBuilder.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>

#include "zukit/platform/foundation/Unicode.h"

namespace zu {

namespace {

constexpr std::string_view kSignature = "bplist00";
constexpr double kEpochOffset = 978307200.0;
// Key texts shared at most: a record's keys, looked up one by one.
constexpr std::size_t kMostSharedKeys = 64;
// What an object takes on average in the stores' lists of records.
constexpr std::size_t kBytesPerObject = 16;

// The fewest of 1, 2, 4 or 8 bytes that hold `number`.
std::size_t widthFor(std::uint64_t number) {
  if (number <= 0xFFU) return 1;
  if (number <= 0xFFFFU) return 2;
  if (number <= 0xFFFFFFFFU) return 4;
  return 8;
}

// Writes `number` big-endian in `width` bytes at `at`.
void storeBigEndian(std::uint8_t* at, std::uint64_t number, std::size_t width) {
  // One byte swap and copy per width: these run for every reference and offset.
  switch (width) {
    case 1:
      *at = static_cast<std::uint8_t>(number);
      return;
    case 2: {
      const std::uint16_t swapped = __builtin_bswap16(static_cast<std::uint16_t>(number));
      std::memcpy(at, &swapped, sizeof swapped);
      return;
    }
    case 4: {
      const std::uint32_t swapped = __builtin_bswap32(static_cast<std::uint32_t>(number));
      std::memcpy(at, &swapped, sizeof swapped);
      return;
    }
    default:
      for (std::size_t i = width; i > 0; --i)
        *at++ = static_cast<std::uint8_t>(number >> (8 * (i - 1)));
  }
}

void appendBigEndian(Data& out, std::uint64_t number, std::size_t width) {
  const std::size_t end = out.size();
  out.resize(end + width);
  storeBigEndian(out.data() + end, number, width);
}

// Appends every number of `numbers`, each in `width` bytes.
void appendAllBigEndian(Data& out, std::span<const std::uint64_t> numbers, std::size_t width) {
  std::size_t at = out.size();
  out.resize(at + numbers.size() * width);
  for (const std::uint64_t number : numbers) {
    storeBigEndian(out.data() + at, number, width);
    at += width;
  }
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

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<std::uint8_t>(c) < 0x80; });
}

// Text, ASCII as bytes and anything else (which the caller has checked to be UTF-8) as UTF-16.
void appendText(Data& out, std::string_view text) {
  if (isAscii(text)) {
    appendMarker(out, 0x5, text.size());
    const std::size_t at = out.size();
    out.resize(at + text.size());
    if (!text.empty()) std::memcpy(out.data() + at, text.data(), text.size());
    return;
  }
  const std::u16string units = utf16FromUtf8(text);
  appendMarker(out, 0x6, units.size());
  for (const char16_t unit : units)
    appendBigEndian(out, unit, 2);
}

}  // namespace

BinaryPropertyListBuilder::BinaryPropertyListBuilder(std::uint64_t objectCount)
    : _objectCount(objectCount),
      _referenceSize(widthFor(objectCount == 0 ? 0 : objectCount - 1)),
      _out(kSignature.begin(), kSignature.end()) {
  _offsets.reserve(objectCount);
  // Room for a short text or a marker and its references per object, so that lists of records
  // seldom move; long text and data grow it further.
  _out.reserve(objectCount * kBytesPerObject + 64);
}

std::uint64_t BinaryPropertyListBuilder::objectCount(const Value& value) {
  if (const Array* array = value.asArray()) {
    std::uint64_t count = 1;
    for (const Value& element : *array)
      count += objectCount(element);
    return count;
  }
  if (const Dictionary* dictionary = value.asDictionary()) return objectCount(*dictionary);
  return 1;
}

std::uint64_t BinaryPropertyListBuilder::objectCount(const Dictionary& dictionary) {
  std::uint64_t count = 1 + dictionary.size();
  for (const auto& [key, element] : dictionary)
    count += objectCount(element);
  return count;
}

void BinaryPropertyListBuilder::appendScalar(Data& out, const Value& value) {
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
    default:
      break;
  }
}

std::uint64_t BinaryPropertyListBuilder::begin() {
  _offsets.push_back(_out.size());
  return _offsets.size() - 1;
}

void BinaryPropertyListBuilder::appendReferences(std::span<const std::uint64_t> references) {
  appendAllBigEndian(_out, references, _referenceSize);
}

std::optional<std::uint64_t> BinaryPropertyListBuilder::add(const Value& value, int depthLeft) {
  if (depthLeft < 0) return std::nullopt;
  switch (value.kind()) {
    case Value::Kind::Boolean:
    case Value::Kind::Integer:
    case Value::Kind::Real:
    case Value::Kind::Date:
      return addScalar(value);
    case Value::Kind::Bytes:
      return addData(*value.asData());
    case Value::Kind::String:
      return addText(*value.asString());
    case Value::Kind::List: {
      const std::size_t first = _pending.size();
      for (const Value& element : *value.asArray()) {
        const std::optional<std::uint64_t> number = add(element, depthLeft - 1);
        if (!number) return std::nullopt;
        _pending.push_back(*number);
      }
      const std::uint64_t number =
          addArray(std::span(_pending).subspan(first, _pending.size() - first));
      _pending.resize(first);
      return number;
    }
    case Value::Kind::Dictionary:
      return add(*value.asDictionary(), depthLeft);
    default:
      return std::nullopt;  // absent, NSNull and objects have no property-list form
  }
}

std::optional<std::uint64_t> BinaryPropertyListBuilder::add(const Dictionary& dictionary,
                                                            int depthLeft) {
  if (depthLeft < 0) return std::nullopt;
  // Keys first, then values, as the dictionary lists them.
  const std::size_t first = _pending.size();
  for (const auto& [key, element] : dictionary) {
    const std::optional<std::uint64_t> number = addKey(key);
    if (!number) return std::nullopt;
    _pending.push_back(*number);
  }
  for (const auto& [key, element] : dictionary) {
    const std::optional<std::uint64_t> number = add(element, depthLeft - 1);
    if (!number) return std::nullopt;
    _pending.push_back(*number);
  }
  const std::span<const std::uint64_t> both =
      std::span(_pending).subspan(first, _pending.size() - first);
  const std::uint64_t number =
      addDictionary(both.first(dictionary.size()), both.subspan(dictionary.size()));
  _pending.resize(first);
  return number;
}

std::optional<std::uint64_t> BinaryPropertyListBuilder::addKey(std::string_view key) {
  if (!_sharesKeys) return addText(key);
  for (const auto& [text, number] : _sharedKeys) {
    if (text == key) return number;
  }
  const std::optional<std::uint64_t> number = addText(key);
  if (number && _sharedKeys.size() < kMostSharedKeys) _sharedKeys.emplace_back(key, *number);
  return number;
}

std::uint64_t BinaryPropertyListBuilder::addScalar(const Value& value) {
  const std::uint64_t number = begin();
  appendScalar(_out, value);
  return number;
}

std::optional<std::uint64_t> BinaryPropertyListBuilder::shareText(std::string_view text) {
  const std::optional<std::uint64_t> number = addText(text);
  if (number) _sharedTexts.emplace_back(text, *number);
  return number;
}

std::optional<std::uint64_t> BinaryPropertyListBuilder::addText(std::string_view text) {
  for (const auto& [shared, number] : _sharedTexts) {
    if (shared == text) return number;
  }
  if (!isAscii(text) && !isValidUtf8(text)) return std::nullopt;
  const std::uint64_t number = begin();
  appendText(_out, text);
  return number;
}

std::uint64_t BinaryPropertyListBuilder::addData(std::span<const std::uint8_t> bytes) {
  const std::uint64_t number = begin();
  appendMarker(_out, 0x4, bytes.size());
  _out.insert(_out.end(), bytes.begin(), bytes.end());
  return number;
}

std::uint64_t BinaryPropertyListBuilder::addUid(std::uint64_t uid) {
  const std::uint64_t number = begin();
  const std::size_t width = widthFor(uid);
  _out.push_back(static_cast<std::uint8_t>(0x80U | (width - 1)));
  appendBigEndian(_out, uid, width);
  return number;
}

std::uint64_t BinaryPropertyListBuilder::addArray(std::span<const std::uint64_t> elements) {
  const std::uint64_t number = begin();
  appendMarker(_out, 0xA, elements.size());
  appendReferences(elements);
  return number;
}

std::uint64_t BinaryPropertyListBuilder::addDictionary(std::span<const std::uint64_t> keys,
                                                       std::span<const std::uint64_t> values) {
  const std::uint64_t number = begin();
  appendMarker(_out, 0xD, keys.size());
  appendReferences(keys);
  appendReferences(values);
  return number;
}

std::optional<Data> BinaryPropertyListBuilder::finish(std::uint64_t top) {
  if (_offsets.size() > _objectCount || top >= _offsets.size()) return std::nullopt;
  const std::uint64_t tableOffset = _out.size();
  const std::size_t offsetSize = widthFor(_offsets.back());
  _out.reserve(_out.size() + _offsets.size() * offsetSize + 32);
  appendAllBigEndian(_out, _offsets, offsetSize);
  // Trailer: five unused bytes, the sort version, both widths, the count, the top object and
  // where the offset table begins.
  _out.insert(_out.end(), 6, 0);
  _out.push_back(static_cast<std::uint8_t>(offsetSize));
  _out.push_back(static_cast<std::uint8_t>(_referenceSize));
  appendBigEndian(_out, _offsets.size(), 8);
  appendBigEndian(_out, top, 8);
  appendBigEndian(_out, tableOffset, 8);
  return std::move(_out);
}

}  // namespace zu
