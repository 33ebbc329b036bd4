#pragma once

#include <concepts>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "zukit/platform/foundation/Date.h"
#include "zukit/platform/foundation/Dictionary.h"
#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/runtime/Object.h"

namespace zu {

class Value;

// The platform's signed word-size integer.
using NSInteger = long;
// The platform's unsigned word-size integer.
using NSUInteger = unsigned long;
// Raw bytes.
using Data = std::vector<std::uint8_t>;
// An ordered list of values.
using Array = std::vector<Value>;

// The null placeholder object (NSNull): present, but standing for "nothing".
struct ZU_EXPORT Null {
  bool operator==(const Null&) const = default;
};

// One value type for property-list and JSON data and for "any object" arguments: absent, NSNull,
// boolean, integer, real, text, bytes, date, array, dictionary, or an object. Absent and NSNull
// are different values.
class ZU_EXPORT Value {
 public:
  // What a Value holds.
  enum class Kind : std::uint8_t {
    Absent,
    Null,
    Boolean,
    Integer,
    Real,
    String,
    Bytes,
    Date,
    List,
    Dictionary,
    Object
  };

  // An absent value (nil).
  Value() = default;
  // An absent value (nil).
  Value(std::nullptr_t) {}  // NOLINT(google-explicit-constructor)
  // NSNull.
  Value(Null) : _storage(Null{}) {}  // NOLINT(google-explicit-constructor)
  // A boolean number.
  Value(bool value) : _storage(value) {}  // NOLINT(google-explicit-constructor)
  // An integer number.
  template <std::integral T>
  requires(!std::same_as<T, bool>) Value(T value)
      : _storage(static_cast<std::int64_t>(value)) {}  // NOLINT(google-explicit-constructor)
  // A real number.
  template <std::floating_point T>
  Value(T value) : _storage(static_cast<double>(value)) {}  // NOLINT(google-explicit-constructor)
  // Text; a null pointer gives an absent value.
  Value(const char* text);  // NOLINT(google-explicit-constructor)
  // Text.
  Value(std::string text) : _storage(std::move(text)) {}  // NOLINT(google-explicit-constructor)
  // Text.
  Value(std::string_view text)
      : _storage(std::string(text)) {}  // NOLINT(google-explicit-constructor)
  // Bytes.
  Value(Data bytes) : _storage(std::move(bytes)) {}  // NOLINT(google-explicit-constructor)
  // A date.
  Value(Date date) : _storage(date) {}  // NOLINT(google-explicit-constructor)
  // An array.
  Value(Array array) : _storage(std::move(array)) {}  // NOLINT(google-explicit-constructor)
  // A dictionary.
  Value(Dictionary dictionary)  // NOLINT(google-explicit-constructor)
      : _storage(std::move(dictionary)) {}
  // An object; a null pointer gives an absent value.
  template <class T>
  requires std::derived_from<T, Object> Value(
      std::shared_ptr<T> object) {  // NOLINT(google-explicit-constructor)
    if (object) _storage = std::static_pointer_cast<Object>(std::move(object));
  }

  // NSNull.
  static Value null() { return Value(Null{}); }

  // What this value holds.
  Kind kind() const { return static_cast<Kind>(_storage.index()); }
  bool isAbsent() const { return kind() == Kind::Absent; }
  bool isNull() const { return kind() == Kind::Null; }
  bool isBoolean() const { return kind() == Kind::Boolean; }
  bool isInteger() const { return kind() == Kind::Integer; }
  bool isReal() const { return kind() == Kind::Real; }
  // Boolean, integer or real.
  bool isNumber() const { return isBoolean() || isInteger() || isReal(); }
  bool isString() const { return kind() == Kind::String; }
  bool isData() const { return kind() == Kind::Bytes; }
  bool isDate() const { return kind() == Kind::Date; }
  bool isArray() const { return kind() == Kind::List; }
  bool isDictionary() const { return kind() == Kind::Dictionary; }
  bool isObject() const { return kind() == Kind::Object; }
  // True for anything but an absent value (NSNull is present).
  explicit operator bool() const { return !isAbsent(); }

  // The text, or nullptr when this is not text.
  const std::string* asString() const { return std::get_if<std::string>(&_storage); }
  // The bytes, or nullptr.
  const Data* asData() const { return std::get_if<Data>(&_storage); }
  // The date, or nullptr.
  const Date* asDate() const { return std::get_if<Date>(&_storage); }
  // The array, or nullptr.
  const Array* asArray() const { return std::get_if<Array>(&_storage); }
  // The array, or nullptr.
  Array* asArray() { return std::get_if<Array>(&_storage); }
  // The dictionary, or nullptr.
  const Dictionary* asDictionary() const { return std::get_if<Dictionary>(&_storage); }
  // The dictionary, or nullptr.
  Dictionary* asDictionary() { return std::get_if<Dictionary>(&_storage); }
  // The object, or nullptr.
  id asObject() const;
  // The object cast to T, or nullptr when it is not a T.
  template <class T>
  std::shared_ptr<T> asObject() const {
    return std::dynamic_pointer_cast<T>(asObject());
  }

  // The number as an integer (reals truncated toward zero, booleans 0 or 1); text by its
  // leading decimal digits; 0 for anything else.
  std::int64_t integerValue() const;
  // The number as a real; text by its leading numeric prefix; 0 for anything else.
  double doubleValue() const;
  // Non-zero numbers are true; text "Y", "y", "T", "t" or a non-zero number is true.
  bool boolValue() const;

  // Number of characters of text, elements of an array, keys of a dictionary or bytes of data;
  // 0 for anything else.
  std::size_t count() const;

  // The text that "%@" prints: "(null)" when absent, "<null>" for NSNull, numbers in decimal,
  // text as itself, collections in the platform's property-list style.
  std::string description() const;

  // Equality as the platform's isEqual: numbers compare by value, objects by isEqual().
  bool operator==(const Value& other) const;

 private:
  friend class ValueDescriber;

  std::variant<std::monostate, Null, bool, std::int64_t, double, std::string, Data, Date, Array,
               Dictionary, id>
      _storage;
};

// Writes the value's description.
ZU_EXPORT std::ostream& operator<<(std::ostream& stream, const Value& value);

// A text argument is valid when present, not NSNull, and not empty.
ZU_EXPORT bool isValidText(const Value& text);

// The text of a valid text argument, or std::nullopt.
ZU_EXPORT std::optional<std::string> validText(const Value& text);

}  // namespace zu
