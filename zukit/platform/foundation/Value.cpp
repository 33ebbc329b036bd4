#include "zukit/platform/foundation/Value.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <ostream>

#include "zukit/platform/foundation/Unicode.h"

namespace zu {

namespace {

constexpr std::string_view kIndentUnit = "    ";

std::string indent(int level) {
  std::string text;
  for (int i = 0; i < level; ++i)
    text += kIndentUnit;
  return text;
}

std::string describeReal(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.16g", value);
  return text;
}

// Text inside a collection is quoted unless it is made only of plain property-list characters.
std::string quotedIfNeeded(const std::string& text) {
  const bool plain = !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return std::isalnum(byte) || c == '_' || c == '$' || c == '+' || c == '/' || c == ':' ||
           c == '.' || c == '-';
  });
  if (plain) return text;
  std::string quoted = "\"";
  for (char c : text) {
    switch (c) {
      case '"':
        quoted += "\\\"";
        break;
      case '\\':
        quoted += "\\\\";
        break;
      case '\n':
        quoted += "\\n";
        break;
      default:
        quoted += c;
    }
  }
  quoted += '"';
  return quoted;
}

std::string describeData(const Data& bytes) {
  static constexpr char kHex[] = "0123456789abcdef";
  auto hex = [](std::uint8_t byte) { return std::string{kHex[byte >> 4], kHex[byte & 0xF]}; };
  std::string text = "{length = " + std::to_string(bytes.size()) + ", bytes = 0x";
  if (bytes.size() <= 24) {
    for (std::uint8_t byte : bytes)
      text += hex(byte);
    return text + "}";
  }
  for (std::size_t i = 0; i < 16; ++i) {
    text += hex(bytes[i]);
    if (i % 4 == 3) text += ' ';
  }
  text += "... ";
  for (std::size_t i = bytes.size() - 8; i < bytes.size(); ++i) {
    text += hex(bytes[i]);
    if (i % 4 == 3) text += ' ';
  }
  return text + "}";
}

std::int64_t leadingInteger(const std::string& text) {
  std::size_t i = 0;
  while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i])))
    ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
  std::int64_t magnitude = 0;
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  for (; i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])); ++i) {
    const int digit = text[i] - '0';
    if (magnitude > (kMax - digit) / 10) {
      return negative ? std::numeric_limits<std::int64_t>::min() : kMax;
    }
    magnitude = magnitude * 10 + digit;
  }
  return negative ? -magnitude : magnitude;
}

}  // namespace

// Builds the "%@" text of a value, with the platform's nested-collection layout.
class ValueDescriber {
 public:
  static std::string describe(const Value& value, int level, bool nested) {
    switch (value.kind()) {
      case Value::Kind::Absent:
        return "(null)";
      case Value::Kind::Null:
        return nested ? "\"<null>\"" : "<null>";
      case Value::Kind::Boolean:
        return std::get<bool>(value._storage) ? "1" : "0";
      case Value::Kind::Integer:
        return std::to_string(std::get<std::int64_t>(value._storage));
      case Value::Kind::Real:
        return describeReal(std::get<double>(value._storage));
      case Value::Kind::String: {
        const auto& text = std::get<std::string>(value._storage);
        return nested ? quotedIfNeeded(text) : text;
      }
      case Value::Kind::Bytes:
        return describeData(std::get<Data>(value._storage));
      case Value::Kind::Date:
        return std::get<Date>(value._storage).description();
      case Value::Kind::List:
        return describeArray(std::get<Array>(value._storage), level);
      case Value::Kind::Dictionary:
        return describeDictionary(std::get<Dictionary>(value._storage), level);
      case Value::Kind::Object:
        return std::get<id>(value._storage)->description();
    }
    return {};
  }

 private:
  static std::string describeArray(const Array& array, int level) {
    std::string text = indent(level) + "(\n";
    for (std::size_t i = 0; i < array.size(); ++i) {
      text += indent(level + 1) + describe(array[i], level + 1, true);
      text += i + 1 < array.size() ? ",\n" : "\n";
    }
    return text + indent(level) + ")";
  }

  static std::string describeDictionary(const Dictionary& dictionary, int level) {
    std::vector<std::string> keys = dictionary.allKeys();
    std::sort(keys.begin(), keys.end());
    std::string text = indent(level) + "{\n";
    for (const std::string& key : keys) {
      text += indent(level + 1) + quotedIfNeeded(key) + " = ";
      text += describe(*dictionary.find(key), level + 1, true) + ";\n";
    }
    return text + indent(level) + "}";
  }
};

Value::Value(const char* text) {
  if (text != nullptr) _storage = std::string(text);
}

id Value::asObject() const {
  const id* object = std::get_if<id>(&_storage);
  return object ? *object : nullptr;
}

std::int64_t Value::integerValue() const {
  switch (kind()) {
    case Kind::Boolean:
      return std::get<bool>(_storage) ? 1 : 0;
    case Kind::Integer:
      return std::get<std::int64_t>(_storage);
    case Kind::Real: {
      const double real = std::get<double>(_storage);
      if (std::isnan(real)) return 0;
      if (real >= 9.2e18) return std::numeric_limits<std::int64_t>::max();
      if (real <= -9.2e18) return std::numeric_limits<std::int64_t>::min();
      return static_cast<std::int64_t>(real);
    }
    case Kind::String:
      return leadingInteger(std::get<std::string>(_storage));
    default:
      return 0;
  }
}

double Value::doubleValue() const {
  switch (kind()) {
    case Kind::Boolean:
      return std::get<bool>(_storage) ? 1.0 : 0.0;
    case Kind::Integer:
      return static_cast<double>(std::get<std::int64_t>(_storage));
    case Kind::Real:
      return std::get<double>(_storage);
    case Kind::String: {
      const auto& text = std::get<std::string>(_storage);
      char* end = nullptr;
      const double parsed = std::strtod(text.c_str(), &end);
      return end == text.c_str() ? 0.0 : parsed;
    }
    default:
      return 0.0;
  }
}

bool Value::boolValue() const {
  if (isString()) {
    const auto& text = std::get<std::string>(_storage);
    std::size_t i = 0;
    while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i])))
      ++i;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
    while (i < text.size() && text[i] == '0')
      ++i;
    return i < text.size() && std::string_view("YyTt123456789").find(text[i]) != std::string::npos;
  }
  if (isReal()) return std::get<double>(_storage) != 0.0;
  return integerValue() != 0;
}

std::size_t Value::count() const {
  switch (kind()) {
    case Kind::String:
      return utf16Length(std::get<std::string>(_storage));
    case Kind::Bytes:
      return std::get<Data>(_storage).size();
    case Kind::List:
      return std::get<Array>(_storage).size();
    case Kind::Dictionary:
      return std::get<Dictionary>(_storage).size();
    default:
      return 0;
  }
}

std::string Value::description() const {
  return ValueDescriber::describe(*this, 0, false);
}

bool Value::operator==(const Value& other) const {
  if (isNumber() && other.isNumber()) {
    if (isReal() || other.isReal()) return doubleValue() == other.doubleValue();
    return integerValue() == other.integerValue();
  }
  if (kind() != other.kind()) return false;
  if (isObject()) {
    const id& mine = std::get<id>(_storage);
    const id& theirs = std::get<id>(other._storage);
    return mine == theirs || mine->isEqual(*theirs);
  }
  return _storage == other._storage;
}

std::ostream& operator<<(std::ostream& stream, const Value& value) {
  return stream << value.description();
}

bool isValidText(const Value& text) {
  const std::string* string = text.asString();
  return string != nullptr && !string->empty();
}

std::optional<std::string> validText(const Value& text) {
  if (!isValidText(text)) return std::nullopt;
  return *text.asString();
}

}  // namespace zu
