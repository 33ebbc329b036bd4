// Reading binary property lists. The file is a signature, the objects, a table of their offsets
// and a 32-byte trailer; containers refer to their elements by index into the offset table.

#include "zukit/platform/foundation/BinaryPropertyList.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "zukit/platform/foundation/Unicode.h"

namespace zu {

namespace {

constexpr std::string_view kSignature = "bplist00";
constexpr std::size_t kTrailerSize = 32;
// Seconds between 1970-01-01 and 2001-01-01, the epoch of property-list dates.
constexpr double kEpochOffset = 978307200.0;
// What shared references may expand to, at least, and per byte of the file: values, and bytes
// of text and data. Writers store equal objects once, so a file may rightly hold far fewer
// objects than it has values; a reference takes at least one byte, though.
constexpr std::size_t kMinimumValueBudget = std::size_t{1} << 18;
constexpr std::size_t kValuesPerFileByte = 16;
constexpr std::size_t kMinimumByteBudget = std::size_t{1} << 24;
constexpr std::size_t kBytesPerFileByte = 64;

// The high nibble of an object's first byte.
enum Marker : std::uint8_t {
  kSingleton = 0x0,
  kInteger = 0x1,
  kReal = 0x2,
  kDate = 0x3,
  kBytes = 0x4,
  kAscii = 0x5,
  kUtf16 = 0x6,
  kUid = 0x8,
  kArray = 0xA,
  kOrderedSet = 0xB,
  kSet = 0xC,
  kDictionary = 0xD,
};

constexpr std::uint8_t kFalse = 0x8;
constexpr std::uint8_t kTrue = 0x9;
// The low nibble that says a count follows as an integer object.
constexpr std::uint8_t kCountFollows = 0xF;

bool isSized(std::uint8_t marker) {
  switch (marker) {
    case kBytes:
    case kAscii:
    case kUtf16:
    case kArray:
    case kOrderedSet:
    case kSet:
    case kDictionary:
      return true;
    default:
      return false;
  }
}

class Reader {
 public:
  explicit Reader(std::span<const std::uint8_t> bytes) : _bytes(bytes) {}

  std::optional<Value> run() {
    if (!readTrailer()) return std::nullopt;
    _onPath.assign(static_cast<std::size_t>(_count), false);
    _valueBudget = std::max(kMinimumValueBudget, kValuesPerFileByte * _bytes.size());
    _byteBudget = std::max(kMinimumByteBudget, kBytesPerFileByte * _bytes.size());
    return decode(_top, 0);
  }

 private:
  // An object's marker and, for sized kinds, its count and where its contents begin.
  struct Header {
    std::uint8_t marker = 0;
    std::uint8_t info = 0;
    std::uint64_t count = 0;
    std::size_t contents = 0;
  };

  // The big-endian number of `width` (1 to 8) bytes at `offset`, which must end by `end`.
  std::optional<std::uint64_t> number(std::size_t offset, std::size_t width,
                                      std::size_t end) const {
    if (width == 0 || width > sizeof(std::uint64_t) || offset > end || end - offset < width) {
      return std::nullopt;
    }
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < width; ++i)
      value = value << 8U | _bytes[offset + i];
    return value;
  }

  bool readTrailer() {
    if (_bytes.size() < kSignature.size() + 1 + kTrailerSize ||
        !BinaryPropertyList::hasSignature(_bytes)) {
      return false;
    }
    const std::size_t trailer = _bytes.size() - kTrailerSize;
    _offsetSize = _bytes[trailer + 6];
    _referenceSize = _bytes[trailer + 7];
    const auto count = number(trailer + 8, 8, _bytes.size());
    const auto top = number(trailer + 16, 8, _bytes.size());
    const auto table = number(trailer + 24, 8, _bytes.size());
    if (_offsetSize < 1 || _offsetSize > 8 || _referenceSize < 1 || _referenceSize > 8) {
      return false;
    }
    // The table lies between the objects and the trailer, with room for every offset.
    if (*count == 0 || *top >= *count || *table <= kSignature.size() || *table > trailer ||
        (trailer - *table) / _offsetSize < *count) {
      return false;
    }
    _count = static_cast<std::size_t>(*count);
    _top = *top;
    _table = static_cast<std::size_t>(*table);
    return true;
  }

  // Where object `index` begins; objects lie between the signature and the offset table.
  std::optional<std::size_t> offsetOf(std::uint64_t index) const {
    const auto offset =
        number(_table + static_cast<std::size_t>(index) * _offsetSize, _offsetSize, _bytes.size());
    if (!offset || *offset < kSignature.size() || *offset >= _table) return std::nullopt;
    return static_cast<std::size_t>(*offset);
  }

  // Whether `count` items of `width` bytes each fit between `contents` and the table.
  bool fits(std::size_t contents, std::uint64_t count, std::size_t width) const {
    return contents <= _table && count <= (_table - contents) / width;
  }

  std::optional<Header> headerAt(std::size_t offset) const {
    Header header;
    header.marker = static_cast<std::uint8_t>(_bytes[offset] >> 4U);
    header.info = static_cast<std::uint8_t>(_bytes[offset] & 0xFU);
    header.count = header.info;
    header.contents = offset + 1;
    if (isSized(header.marker) && header.info == kCountFollows) {
      // The count is an integer object of 1, 2, 4 or 8 bytes.
      if (header.contents >= _table) return std::nullopt;
      const std::uint8_t marker = _bytes[header.contents];
      if (marker >> 4U != kInteger || (marker & 0xFU) > 3) return std::nullopt;
      const std::size_t width = std::size_t{1} << (marker & 0xFU);
      const auto count = number(header.contents + 1, width, _table);
      if (!count) return std::nullopt;
      header.count = *count;
      header.contents += 1 + width;
    }
    return header;
  }

  bool spend(std::size_t& budget, std::uint64_t amount) {
    if (amount > budget) return false;
    budget -= static_cast<std::size_t>(amount);
    return true;
  }

  std::optional<Value> decode(std::uint64_t index, int depth) {
    if (depth > BinaryPropertyList::kMaximumDepth || index >= _count) return std::nullopt;
    const auto position = static_cast<std::size_t>(index);
    // An object that contains itself, however deep down, is a cycle.
    if (_onPath[position] || !spend(_valueBudget, 1)) return std::nullopt;
    const auto offset = offsetOf(index);
    if (!offset) return std::nullopt;
    _onPath[position] = true;
    std::optional<Value> value = decodeAt(*offset, depth);
    _onPath[position] = false;
    return value;
  }

  std::optional<Value> decodeAt(std::size_t offset, int depth) {
    const auto header = headerAt(offset);
    if (!header) return std::nullopt;
    switch (header->marker) {
      case kSingleton:
        if (header->info == kFalse) return Value(false);
        if (header->info == kTrue) return Value(true);
        return std::nullopt;  // null and fill bytes are not property-list values
      case kInteger:
        return integerAt(header->contents, header->info);
      case kReal:
        return realAt(header->contents, header->info);
      case kDate: {
        if (header->info != 3) return std::nullopt;
        const auto bits = number(header->contents, 8, _table);
        if (!bits) return std::nullopt;
        return Value(
            Date::dateWithTimeIntervalSince1970(std::bit_cast<double>(*bits) + kEpochOffset));
      }
      case kBytes: {
        if (!fits(header->contents, header->count, 1) || !spend(_byteBudget, header->count)) {
          return std::nullopt;
        }
        const auto* begin = _bytes.data() + header->contents;
        return Value(Data(begin, begin + header->count));
      }
      case kAscii:
        return asciiAt(header->contents, header->count);
      case kUtf16:
        return utf16At(header->contents, header->count);
      case kUid: {
        const auto uid = number(header->contents, header->info + 1U, _table);
        if (!uid || *uid > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
          return std::nullopt;
        }
        return Value(Dictionary{{"CF$UID", Value(static_cast<std::int64_t>(*uid))}});
      }
      case kArray:
      case kOrderedSet:
      case kSet:
        return arrayAt(header->contents, header->count, depth);
      case kDictionary:
        return dictionaryAt(header->contents, header->count, depth);
      default:
        return std::nullopt;
    }
  }

  std::optional<Value> integerAt(std::size_t contents, std::uint8_t info) const {
    if (info <= 2) {
      const auto value = number(contents, std::size_t{1} << info, _table);
      if (!value) return std::nullopt;
      return Value(static_cast<std::int64_t>(*value));
    }
    if (info == 3) {
      const auto value = number(contents, 8, _table);
      if (!value) return std::nullopt;
      return Value(std::bit_cast<std::int64_t>(*value));
    }
    if (info != 4) return std::nullopt;
    // 128 bits, two's complement: what fits 64 signed bits stays an integer, the rest is real.
    const auto high = number(contents, 8, _table);
    const auto low = number(contents + 8, 8, _table);
    if (!high || !low) return std::nullopt;
    constexpr std::uint64_t kSignBit = std::uint64_t{1} << 63U;
    const bool fitsPositive = *high == 0 && (*low & kSignBit) == 0;
    const bool fitsNegative =
        *high == std::numeric_limits<std::uint64_t>::max() && (*low & kSignBit) != 0;
    if (fitsPositive || fitsNegative) return Value(std::bit_cast<std::int64_t>(*low));
    constexpr double kTwoToThe64 = 18446744073709551616.0;
    return Value(static_cast<double>(std::bit_cast<std::int64_t>(*high)) * kTwoToThe64 +
                 static_cast<double>(*low));
  }

  std::optional<Value> realAt(std::size_t contents, std::uint8_t info) const {
    if (info == 2) {
      const auto bits = number(contents, 4, _table);
      if (!bits) return std::nullopt;
      return Value(static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(*bits))));
    }
    if (info != 3) return std::nullopt;
    const auto bits = number(contents, 8, _table);
    if (!bits) return std::nullopt;
    return Value(std::bit_cast<double>(*bits));
  }

  // Bytes of an "ASCII" string; bytes from 0x80 on are read as Latin-1 characters.
  std::optional<Value> asciiAt(std::size_t contents, std::uint64_t count) {
    if (!fits(contents, count, 1) || !spend(_byteBudget, 2 * count)) return std::nullopt;
    const std::string_view bytes(reinterpret_cast<const char*>(_bytes.data() + contents),
                                 static_cast<std::size_t>(count));
    const bool ascii = std::all_of(bytes.begin(), bytes.end(),
                                   [](char c) { return static_cast<std::uint8_t>(c) < 0x80; });
    return Value(ascii ? std::string(bytes) : utf8FromLatin1(bytes));
  }

  std::optional<Value> utf16At(std::size_t contents, std::uint64_t count) {
    if (!fits(contents, count, 2) || !spend(_byteBudget, 3 * count)) return std::nullopt;
    std::u16string units;
    units.reserve(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t at = contents + 2 * i;
      units += static_cast<char16_t>(_bytes[at] << 8U | _bytes[at + 1]);
    }
    return Value(utf8FromUtf16(units));
  }

  // The `i`-th reference of a list that starts at `contents` and was checked to fit.
  std::uint64_t referenceAt(std::size_t contents, std::uint64_t i) const {
    return *number(contents + static_cast<std::size_t>(i) * _referenceSize, _referenceSize, _table);
  }

  std::optional<Value> arrayAt(std::size_t contents, std::uint64_t count, int depth) {
    if (!fits(contents, count, _referenceSize)) return std::nullopt;
    Array array;
    array.reserve(static_cast<std::size_t>(count));
    for (std::uint64_t i = 0; i < count; ++i) {
      std::optional<Value> element = decode(referenceAt(contents, i), depth + 1);
      if (!element) return std::nullopt;
      array.push_back(std::move(*element));
    }
    return Value(std::move(array));
  }

  // Keys first, then the values in the same order.
  std::optional<Value> dictionaryAt(std::size_t contents, std::uint64_t count, int depth) {
    if (!fits(contents, count, 2 * _referenceSize)) return std::nullopt;
    const std::size_t values = contents + static_cast<std::size_t>(count) * _referenceSize;
    Dictionary dictionary;
    for (std::uint64_t i = 0; i < count; ++i) {
      std::optional<Value> key = decode(referenceAt(contents, i), depth + 1);
      if (!key || !key->isString()) return std::nullopt;
      std::optional<Value> value = decode(referenceAt(values, i), depth + 1);
      if (!value) return std::nullopt;
      dictionary.setObject(std::move(*value), *key->asString());
    }
    return Value(std::move(dictionary));
  }

  std::span<const std::uint8_t> _bytes;
  std::size_t _offsetSize = 0;
  std::size_t _referenceSize = 0;
  std::size_t _count = 0;
  std::uint64_t _top = 0;
  std::size_t _table = 0;
  std::vector<bool> _onPath;
  std::size_t _valueBudget = 0;
  std::size_t _byteBudget = 0;
};

}  // namespace

bool BinaryPropertyList::hasSignature(std::span<const std::uint8_t> bytes) {
  return bytes.size() >= kSignature.size() &&
         std::equal(kSignature.begin(), kSignature.end(), bytes.begin(),
                    [](char expected, std::uint8_t byte) {
                      return static_cast<std::uint8_t>(expected) == byte;
                    });
}

std::optional<Value> BinaryPropertyList::read(std::span<const std::uint8_t> bytes) {
  return Reader(bytes).run();
}

}  // namespace zu
