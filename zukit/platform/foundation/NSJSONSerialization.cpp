#include "zukit/platform/foundation/NSJSONSerialization.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include <nlohmann/json.hpp>

#include "zukit/platform/foundation/Unicode.h"

namespace zu {

namespace {

constexpr NSInteger kJSONErrorCode = 3840;
constexpr int kMaximumDepth = 512;

void setError(NSErrorOut error, const std::string& text) {
  if (error != nullptr) {
    *error = NSError::errorWithDomain(NSCocoaErrorDomain, kJSONErrorCode,
                                      Dictionary{{NSLocalizedDescriptionKey, Value(text)}});
  }
}

bool validJSON(const Value& value, int depth) {
  if (depth > kMaximumDepth) return false;
  switch (value.kind()) {
    case Value::Kind::Null:
    case Value::Kind::Boolean:
    case Value::Kind::Integer:
      return true;
    case Value::Kind::Real:
      return std::isfinite(value.doubleValue());
    case Value::Kind::String:
      return isValidUtf8(*value.asString());
    case Value::Kind::List:
      return std::all_of(value.asArray()->begin(), value.asArray()->end(),
                         [depth](const Value& element) { return validJSON(element, depth + 1); });
    case Value::Kind::Dictionary:
      return std::all_of(value.asDictionary()->begin(), value.asDictionary()->end(),
                         [depth](const auto& entry) {
                           return isValidUtf8(entry.first) && validJSON(entry.second, depth + 1);
                         });
    default:
      return false;
  }
}

class Writer {
 public:
  explicit Writer(unsigned long options)
      : _pretty((options & NSJSONWritingPrettyPrinted) != 0),
        _sorted((options & NSJSONWritingSortedKeys) != 0),
        _escapeSlashes((options & NSJSONWritingWithoutEscapingSlashes) == 0) {}

  void write(const Value& value, int level) {
    switch (value.kind()) {
      case Value::Kind::Null:
        _out += "null";
        return;
      case Value::Kind::Boolean:
        _out += value.boolValue() ? "true" : "false";
        return;
      case Value::Kind::Integer:
        _out += std::to_string(value.integerValue());
        return;
      case Value::Kind::Real:
        writeReal(value.doubleValue());
        return;
      case Value::Kind::String:
        writeString(*value.asString());
        return;
      case Value::Kind::List:
        writeArray(*value.asArray(), level);
        return;
      case Value::Kind::Dictionary:
        writeDictionary(*value.asDictionary(), level);
        return;
      default:
        return;
    }
  }

  std::string& text() { return _out; }

 private:
  void newline(int level) {
    if (!_pretty) return;
    _out += '\n';
    _out.append(static_cast<std::size_t>(level) * 2, ' ');
  }

  void writeReal(double number) {
    if (number == std::floor(number) && std::fabs(number) < 1e15) {
      _out += std::to_string(static_cast<long long>(number));
      return;
    }
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, number);
    _out.append(buffer, result.ptr);
  }

  void writeString(const std::string& text) {
    static constexpr char kHex[] = "0123456789abcdef";
    _out += '"';
    for (char c : text) {
      switch (c) {
        case '"':
          _out += "\\\"";
          break;
        case '\\':
          _out += "\\\\";
          break;
        case '/':
          _out += _escapeSlashes ? "\\/" : "/";
          break;
        case '\n':
          _out += "\\n";
          break;
        case '\r':
          _out += "\\r";
          break;
        case '\t':
          _out += "\\t";
          break;
        case '\b':
          _out += "\\b";
          break;
        case '\f':
          _out += "\\f";
          break;
        default:
          if (static_cast<unsigned char>(c) < 0x20) {
            _out += "\\u00";
            _out += kHex[(c >> 4) & 0xF];
            _out += kHex[c & 0xF];
          } else {
            _out += c;
          }
      }
    }
    _out += '"';
  }

  void writeArray(const Array& array, int level) {
    _out += '[';
    if (array.empty() && _pretty) {
      _out += "\n\n";
      _out.append(static_cast<std::size_t>(level) * 2, ' ');
    }
    for (std::size_t i = 0; i < array.size(); ++i) {
      if (i > 0) _out += ',';
      newline(level + 1);
      write(array[i], level + 1);
    }
    if (!array.empty()) newline(level);
    _out += ']';
  }

  void writeDictionary(const Dictionary& dictionary, int level) {
    std::vector<const Dictionary::Entry*> entries;
    for (const auto& entry : dictionary)
      entries.push_back(&entry);
    if (_sorted) {
      std::sort(entries.begin(), entries.end(),
                [](const auto* a, const auto* b) { return a->first < b->first; });
    }
    _out += '{';
    if (entries.empty() && _pretty) {
      _out += "\n\n";
      _out.append(static_cast<std::size_t>(level) * 2, ' ');
    }
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (i > 0) _out += ',';
      newline(level + 1);
      writeString(entries[i]->first);
      _out += _pretty ? " : " : ":";
      write(entries[i]->second, level + 1);
    }
    if (!entries.empty()) newline(level);
    _out += '}';
  }

  bool _pretty;
  bool _sorted;
  bool _escapeSlashes;
  std::string _out;
};

Value fromJSON(const nlohmann::ordered_json& json) {
  switch (json.type()) {
    case nlohmann::ordered_json::value_t::null:
      return Value::null();
    case nlohmann::ordered_json::value_t::boolean:
      return Value(json.get<bool>());
    case nlohmann::ordered_json::value_t::number_integer:
      return Value(json.get<std::int64_t>());
    case nlohmann::ordered_json::value_t::number_unsigned: {
      const auto number = json.get<std::uint64_t>();
      if (number <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        return Value(static_cast<std::int64_t>(number));
      }
      return Value(static_cast<double>(number));
    }
    case nlohmann::ordered_json::value_t::number_float:
      return Value(json.get<double>());
    case nlohmann::ordered_json::value_t::string:
      return Value(json.get<std::string>());
    case nlohmann::ordered_json::value_t::array: {
      Array array;
      array.reserve(json.size());
      for (const auto& element : json)
        array.push_back(fromJSON(element));
      return Value(std::move(array));
    }
    case nlohmann::ordered_json::value_t::object: {
      Dictionary dictionary;
      for (const auto& [key, element] : json.items())
        dictionary.setObject(fromJSON(element), key);
      return Value(std::move(dictionary));
    }
    default:
      return {};
  }
}

// Refuses documents nested deeper than kMaximumDepth before they reach the recursive parser.
bool nestingWithinLimit(const Data& data) {
  int depth = 0;
  bool inString = false;
  bool escaped = false;
  for (std::uint8_t byte : data) {
    if (inString) {
      if (escaped) {
        escaped = false;
      } else if (byte == '\\') {
        escaped = true;
      } else if (byte == '"') {
        inString = false;
      }
      continue;
    }
    if (byte == '"') inString = true;
    if (byte == '[' || byte == '{') {
      if (++depth > kMaximumDepth) return false;
    }
    if (byte == ']' || byte == '}') --depth;
  }
  return true;
}

}  // namespace

bool NSJSONSerialization::isValidJSONObject(const Value& object) {
  return (object.isArray() || object.isDictionary()) && validJSON(object, 0);
}

std::optional<Data> NSJSONSerialization::dataWithJSONObject(const Value& object,
                                                            unsigned long options,
                                                            NSErrorOut error) {
  const bool fragments = (options & NSJSONWritingFragmentsAllowed) != 0;
  if ((!fragments && !object.isArray() && !object.isDictionary()) || !validJSON(object, 0)) {
    setError(error, "Invalid type in JSON write");
    return std::nullopt;
  }
  Writer writer(options);
  writer.write(object, 0);
  const std::string& text = writer.text();
  return Data(text.begin(), text.end());
}

Value NSJSONSerialization::JSONObjectWithData(const Data& data, unsigned long options,
                                              NSErrorOut error) {
  if (!nestingWithinLimit(data)) {
    setError(error, "The data couldn’t be read because it is nested too deeply.");
    return {};
  }
  const nlohmann::ordered_json json =
      nlohmann::ordered_json::parse(data.begin(), data.end(), nullptr, false);
  if (json.is_discarded()) {
    setError(error, "The data couldn’t be read because it isn’t in the correct format.");
    return {};
  }
  if ((options & NSJSONReadingFragmentsAllowed) == 0 && !json.is_array() && !json.is_object()) {
    setError(error,
             "JSON text did not start with array or object and option to allow fragments not set.");
    return {};
  }
  return fromJSON(json);
}

}  // namespace zu
