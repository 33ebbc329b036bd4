#include "zukit/platform/foundation/NSPropertyListSerialization.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <span>
#include <string_view>

#include <plist/plist.h>

#include "zukit/platform/foundation/BinaryPropertyList.h"
#include "zukit/platform/foundation/PlistNode.h"
#include "zukit/platform/foundation/Unicode.h"

namespace zu {

namespace {

// Seconds between 1970-01-01 and 2001-01-01, the epoch of property-list dates.
constexpr double kPlistEpochOffset = 978307200.0;
constexpr double kMicrosecondsPerSecond = 1e6;

bool isPropertyListValue(const Value& value, int depth) {
  if (depth > BinaryPropertyList::kMaximumDepth) return false;
  switch (value.kind()) {
    case Value::Kind::Boolean:
    case Value::Kind::Integer:
    case Value::Kind::Real:
    case Value::Kind::Bytes:
    case Value::Kind::Date:
      return true;
    case Value::Kind::String:
      return isValidUtf8(*value.asString());
    case Value::Kind::List:
      return std::all_of(
          value.asArray()->begin(), value.asArray()->end(),
          [depth](const Value& element) { return isPropertyListValue(element, depth + 1); });
    case Value::Kind::Dictionary:
      return std::all_of(value.asDictionary()->begin(), value.asDictionary()->end(),
                         [depth](const Dictionary::Entry& entry) {
                           return isValidUtf8(entry.first) &&
                                  isPropertyListValue(entry.second, depth + 1);
                         });
    default:
      return false;
  }
}

bool holdsNul(std::string_view text) {
  return text.find('\0') != std::string_view::npos;
}

// A libplist node for the XML writer; none for what XML cannot hold: text holding NUL, and dates
// outside libplist's range (whole seconds from 2001 in 32 bits: 1933 to 2069).
plist_t toXmlNode(const Value& value) {
  switch (value.kind()) {
    case Value::Kind::Boolean:
      return plist_new_bool(value.boolValue() ? 1 : 0);
    case Value::Kind::Integer:
      return plist_new_uint(static_cast<std::uint64_t>(value.integerValue()));
    case Value::Kind::Real:
      return plist_new_real(value.doubleValue());
    case Value::Kind::String:
      if (holdsNul(*value.asString())) return nullptr;
      return plist_new_string(value.asString()->c_str());
    case Value::Kind::Bytes: {
      const Data& bytes = *value.asData();
      return plist_new_data(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    }
    case Value::Kind::Date: {
      const double since = value.asDate()->timeIntervalSince1970() - kPlistEpochOffset;
      double seconds = std::floor(since);
      double micros = std::round((since - seconds) * kMicrosecondsPerSecond);
      if (micros >= kMicrosecondsPerSecond) {
        seconds += 1;
        micros = 0;
      }
      constexpr double kLowest = std::numeric_limits<std::int32_t>::min();
      constexpr double kHighest = std::numeric_limits<std::int32_t>::max();
      if (!(seconds >= kLowest && seconds <= kHighest)) return nullptr;
      return plist_new_date(static_cast<std::int32_t>(seconds), static_cast<std::int32_t>(micros));
    }
    case Value::Kind::List: {
      PlistNode array(plist_new_array());
      for (const Value& element : *value.asArray()) {
        plist_t child = toXmlNode(element);
        if (child == nullptr) return nullptr;
        plist_array_append_item(array.get(), child);
      }
      return array.release();
    }
    case Value::Kind::Dictionary: {
      PlistNode dictionary(plist_new_dict());
      for (const auto& [key, element] : *value.asDictionary()) {
        if (holdsNul(key)) return nullptr;
        plist_t child = toXmlNode(element);
        if (child == nullptr) return nullptr;
        plist_dict_set_item(dictionary.get(), key.c_str(), child);
      }
      return dictionary.release();
    }
    default:
      return nullptr;
  }
}

std::optional<Data> xmlData(const Value& plist) {
  const PlistNode node(toXmlNode(plist));
  if (!node) return std::nullopt;
  char* bytes = nullptr;
  std::uint32_t length = 0;
  plist_to_xml(node.get(), &bytes, &length);
  if (bytes == nullptr) return std::nullopt;
  Data data(reinterpret_cast<std::uint8_t*>(bytes),
            reinterpret_cast<std::uint8_t*>(bytes) + length);
  plist_to_xml_free(bytes);
  return data;
}

// XML is parsed by libplist, but nothing is read out of its nodes: libplist writes them as a
// binary property list, which the library's own reader reads. libplist's text accessors assert
// on text holding NUL, and XML cannot hold that character anyway, so bytes holding NUL are
// refused before libplist sees them. Bytes that are not UTF-8 are read as Latin-1 characters,
// as the binary reader does, where libplist would cut the text short at them.
std::optional<Value> xmlValue(const Data& data) {
  if (std::find(data.begin(), data.end(), 0) != data.end()) return std::nullopt;
  const std::string_view input(reinterpret_cast<const char*>(data.data()), data.size());
  std::string repaired;
  if (!isValidUtf8(input)) repaired = utf8WithLatin1Fallback(input);
  const std::string_view text = repaired.empty() ? input : std::string_view(repaired);
  if (text.size() > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  plist_t raw = nullptr;
  plist_from_xml(text.data(), static_cast<std::uint32_t>(text.size()), &raw);
  const PlistNode node(raw);
  if (!node) return std::nullopt;
  char* bytes = nullptr;
  std::uint32_t length = 0;
  plist_to_bin(node.get(), &bytes, &length);
  if (bytes == nullptr) return std::nullopt;
  std::optional<Value> value =
      BinaryPropertyList::read(std::span(reinterpret_cast<const std::uint8_t*>(bytes), length));
  plist_to_bin_free(bytes);
  return value;
}

void setError(NSErrorOut error, NSInteger code, const std::string& text) {
  if (error != nullptr) {
    *error = NSError::errorWithDomain(NSCocoaErrorDomain, code,
                                      Dictionary{{NSLocalizedDescriptionKey, Value(text)}});
  }
}

}  // namespace

bool NSPropertyListSerialization::propertyListIsValid(const Value& plist) {
  return isPropertyListValue(plist, 0);
}

std::optional<Data> NSPropertyListSerialization::dataWithPropertyList(const Value& plist,
                                                                      NSPropertyListFormat format,
                                                                      unsigned long /*options*/,
                                                                      NSErrorOut error) {
  if (format != NSPropertyListXMLFormat_v1_0 && format != NSPropertyListBinaryFormat_v1_0) {
    setError(error, NSPropertyListWriteInvalidError,
             "Property list format " + std::to_string(format) + " cannot be written");
    return std::nullopt;
  }
  // The binary writer refuses what is not a property list as it goes, without a walk of its own.
  if (format == NSPropertyListXMLFormat_v1_0 && !propertyListIsValid(plist)) {
    setError(error, NSPropertyListWriteInvalidError,
             "Property list invalid for format: " + std::to_string(format) +
                 " (property lists cannot contain objects of this type)");
    return std::nullopt;
  }
  std::optional<Data> data =
      format == NSPropertyListXMLFormat_v1_0 ? xmlData(plist) : BinaryPropertyList::write(plist);
  if (!data) {
    setError(error, NSPropertyListWriteInvalidError,
             "Property list invalid for format: " + std::to_string(format) +
                 (format == NSPropertyListXMLFormat_v1_0
                      ? " (XML cannot hold text with NUL or dates beyond 1933 to 2069)"
                      : " (property lists cannot contain objects of this type)"));
  }
  return data;
}

Value NSPropertyListSerialization::propertyListWithData(const Data& data, unsigned long /*options*/,
                                                        NSPropertyListFormat* format,
                                                        NSErrorOut error) {
  if (data.empty() || data.size() > std::numeric_limits<std::uint32_t>::max()) {
    setError(error, NSPropertyListReadCorruptError,
             "The data couldn’t be read because it is empty.");
    return {};
  }
  const bool binary = BinaryPropertyList::hasSignature(data);
  std::optional<Value> value = binary ? BinaryPropertyList::read(data) : xmlValue(data);
  if (!value) {
    setError(error, NSPropertyListReadCorruptError,
             "The data couldn’t be read because it isn’t in the correct format.");
    return {};
  }
  if (format != nullptr)
    *format = binary ? NSPropertyListBinaryFormat_v1_0 : NSPropertyListXMLFormat_v1_0;
  return std::move(*value);
}

}  // namespace zu
