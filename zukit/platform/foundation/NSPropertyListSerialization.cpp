#include "zukit/platform/foundation/NSPropertyListSerialization.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>

#include <plist/plist.h>

#include "zukit/platform/foundation/PlistNode.h"

namespace zu {

namespace {

// Seconds between 1970-01-01 and 2001-01-01, the epoch of property-list dates.
constexpr double kPlistEpochOffset = 978307200.0;
// Deepest nesting read or written; deeper input is refused rather than overflowing the stack.
constexpr int kMaximumDepth = 512;

plist_t toPlist(const Value& value, int depth) {
  if (depth > kMaximumDepth) return nullptr;
  switch (value.kind()) {
    case Value::Kind::Boolean:
      return plist_new_bool(value.boolValue() ? 1 : 0);
    case Value::Kind::Integer:
      return plist_new_uint(static_cast<std::uint64_t>(value.integerValue()));
    case Value::Kind::Real:
      return plist_new_real(value.doubleValue());
    case Value::Kind::String:
      return plist_new_string(value.asString()->c_str());
    case Value::Kind::Bytes: {
      const Data& bytes = *value.asData();
      return plist_new_data(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    }
    case Value::Kind::Date: {
      const double since = value.asDate()->timeIntervalSince1970() - kPlistEpochOffset;
      const double seconds = std::floor(since);
      return plist_new_date(static_cast<std::int32_t>(seconds),
                            static_cast<std::int32_t>(std::lround((since - seconds) * 1e6)));
    }
    case Value::Kind::List: {
      PlistNode array(plist_new_array());
      for (const Value& element : *value.asArray()) {
        plist_t child = toPlist(element, depth + 1);
        if (child == nullptr) return nullptr;
        plist_array_append_item(array.get(), child);
      }
      return array.release();
    }
    case Value::Kind::Dictionary: {
      PlistNode dictionary(plist_new_dict());
      for (const auto& [key, element] : *value.asDictionary()) {
        plist_t child = toPlist(element, depth + 1);
        if (child == nullptr) return nullptr;
        plist_dict_set_item(dictionary.get(), key.c_str(), child);
      }
      return dictionary.release();
    }
    default:
      return nullptr;
  }
}

Value fromPlist(plist_t node, int depth, bool& ok) {
  if (node == nullptr || depth > kMaximumDepth) {
    ok = false;
    return {};
  }
  if (std::optional<Value> scalar = plistScalar(node)) return std::move(*scalar);
  switch (plist_get_node_type(node)) {
    case PLIST_KEY:
      return Value(plistText(node));
    case PLIST_DATE: {
      std::int32_t seconds = 0;
      std::int32_t micros = 0;
      plist_get_date_val(node, &seconds, &micros);
      return Value(Date::dateWithTimeIntervalSince1970(seconds + micros / 1e6 + kPlistEpochOffset));
    }
    case PLIST_UID: {
      std::uint64_t uid = 0;
      plist_get_uid_val(node, &uid);
      return Value(Dictionary{{"CF$UID", Value(static_cast<std::int64_t>(uid))}});
    }
    case PLIST_ARRAY: {
      Array array;
      const std::vector<plist_t> children = plistElements(node);
      array.reserve(children.size());
      for (plist_t child : children) {
        array.push_back(fromPlist(child, depth + 1, ok));
        if (!ok) break;
      }
      return Value(std::move(array));
    }
    case PLIST_DICT: {
      Dictionary dictionary;
      plist_dict_iter iterator = nullptr;
      plist_dict_new_iter(node, &iterator);
      for (;;) {
        char* key = nullptr;
        plist_t child = nullptr;
        plist_dict_next_item(node, iterator, &key, &child);
        if (key == nullptr) break;
        std::string name(key);
        std::free(key);  // NOLINT(cppcoreguidelines-no-malloc)
        if (child == nullptr) break;
        dictionary.setObject(fromPlist(child, depth + 1, ok), std::move(name));
        if (!ok) break;
      }
      std::free(iterator);  // NOLINT(cppcoreguidelines-no-malloc)
      return Value(std::move(dictionary));
    }
    default:
      ok = false;
      return {};
  }
}

void setError(NSErrorOut error, NSInteger code, const std::string& text) {
  if (error != nullptr) {
    *error = NSError::errorWithDomain(NSCocoaErrorDomain, code,
                                      Dictionary{{NSLocalizedDescriptionKey, Value(text)}});
  }
}

}  // namespace

bool NSPropertyListSerialization::propertyListIsValid(const Value& plist) {
  const PlistNode node(toPlist(plist, 0));
  return node != nullptr;
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
  const PlistNode node(toPlist(plist, 0));
  if (!node) {
    setError(error, NSPropertyListWriteInvalidError,
             "Property list invalid for format: " + std::to_string(format) +
                 " (property lists cannot contain objects of this type)");
    return std::nullopt;
  }
  char* bytes = nullptr;
  std::uint32_t length = 0;
  if (format == NSPropertyListXMLFormat_v1_0) {
    plist_to_xml(node.get(), &bytes, &length);
  } else {
    plist_to_bin(node.get(), &bytes, &length);
  }
  if (bytes == nullptr) {
    setError(error, NSPropertyListWriteInvalidError, "The property list could not be written");
    return std::nullopt;
  }
  Data data(reinterpret_cast<std::uint8_t*>(bytes),
            reinterpret_cast<std::uint8_t*>(bytes) + length);
  if (format == NSPropertyListXMLFormat_v1_0) {
    plist_to_xml_free(bytes);
  } else {
    plist_to_bin_free(bytes);
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
  const auto* bytes = reinterpret_cast<const char*>(data.data());
  const auto length = static_cast<std::uint32_t>(data.size());
  const bool binary = plist_is_binary(bytes, length) != 0;
  plist_t raw = nullptr;
  if (binary) {
    plist_from_bin(bytes, length, &raw);
  } else {
    plist_from_xml(bytes, length, &raw);
  }
  const PlistNode node(raw);
  bool ok = true;
  Value value = node ? fromPlist(node.get(), 0, ok) : Value();
  if (!node || !ok) {
    setError(error, NSPropertyListReadCorruptError,
             "The data couldn’t be read because it isn’t in the correct format.");
    return {};
  }
  if (format != nullptr)
    *format = binary ? NSPropertyListBinaryFormat_v1_0 : NSPropertyListXMLFormat_v1_0;
  return value;
}

}  // namespace zu
