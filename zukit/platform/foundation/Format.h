#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"

namespace zu {

// One argument of a printf-style format, kept by reference for the duration of the call.
class ZU_EXPORT FormatArg {
 public:
  // What the argument holds.
  enum class Kind : std::uint8_t { Signed, Unsigned, Real, Text, Pointer, Value, Object };

  template <std::integral T>
  FormatArg(T value)  // NOLINT(google-explicit-constructor)
      : _kind(std::is_signed_v<T> ? Kind::Signed : Kind::Unsigned) {
    if constexpr (std::is_signed_v<T>) {
      // A signed char prints as its signed value, as printf prints it.
      _signed = value;  // NOLINT(bugprone-signed-char-misuse)
    } else {
      _unsigned = value;
    }
  }
  template <class T>
  requires std::is_enum_v<T> FormatArg(T value)  // NOLINT(google-explicit-constructor)
      : FormatArg(static_cast<std::underlying_type_t<T>>(value)) {}
  template <std::floating_point T>
  FormatArg(T value) : _kind(Kind::Real), _real(value) {}  // NOLINT(google-explicit-constructor)
  FormatArg(const char* text)                              // NOLINT(google-explicit-constructor)
      : _kind(Kind::Text),
        _text(text != nullptr ? std::string_view(text) : std::string_view()),
        _isNullText(text == nullptr) {}
  FormatArg(char* text) : FormatArg(static_cast<const char*>(text)) {}  // NOLINT
  FormatArg(const std::string& text)  // NOLINT(google-explicit-constructor)
      : _kind(Kind::Text), _text(text) {}
  FormatArg(std::string_view text) : _kind(Kind::Text), _text(text) {}  // NOLINT
  FormatArg(const void* pointer)  // NOLINT(google-explicit-constructor)
      : _kind(Kind::Pointer), _pointer(pointer) {}
  FormatArg(std::nullptr_t) : _kind(Kind::Pointer) {}  // NOLINT(google-explicit-constructor)
  // Only a Value itself: a converted temporary would not outlive the argument list.
  template <class T>
  requires std::same_as<T, Value> FormatArg(const T& value)  // NOLINT(google-explicit-constructor)
      : _kind(Kind::Value), _value(&value) {}
  template <class T>
  requires std::derived_from<T, Object> FormatArg(
      const std::shared_ptr<T>& object)  // NOLINT(google-explicit-constructor)
      : _kind(Kind::Object), _object(object.get()) {}
  FormatArg(const Object& object)  // NOLINT(google-explicit-constructor)
      : _kind(Kind::Object), _object(&object) {}

  Kind kind() const { return _kind; }
  // The argument as a signed integer (numbers and numeric values; 0 otherwise).
  std::int64_t asSigned() const;
  // The argument as an unsigned integer.
  std::uint64_t asUnsigned() const;
  // The argument as a real.
  double asReal() const;
  // The argument as text for "%s"; "(null)" for a null pointer.
  std::string asText() const;
  // The argument's description, as "%@" prints it.
  std::string describe() const;
  // Appends a text argument (Kind::Text) to `out`.
  void appendText(std::string& out) const;

 private:
  Kind _kind;
  std::int64_t _signed = 0;
  std::uint64_t _unsigned = 0;
  double _real = 0;
  std::string_view _text;
  bool _isNullText = false;
  const void* _pointer = nullptr;
  const Value* _value = nullptr;
  const Object* _object = nullptr;
};

class Class;

// What a value that is not a format argument of its own (see FormatArg) stands for in an
// argument list: "%@" prints its description, as the platform prints the object it would be.
// Dates, dictionaries, arrays and bytes print as property-list values; an optional value
// prints its value, or "(null)" when absent; a list of texts prints as an array; a class
// prints its name. Format arguments of their own are passed through untouched.
template <class T>
requires std::constructible_from<FormatArg, const T&>
const T& formatArgument(const T& value) {
  return value;
}
ZU_EXPORT Value formatArgument(const Date& date);
ZU_EXPORT Value formatArgument(const Dictionary& dictionary);
ZU_EXPORT Value formatArgument(const Array& array);
ZU_EXPORT Value formatArgument(const Data& bytes);
ZU_EXPORT Value formatArgument(const std::vector<std::string>& texts);
ZU_EXPORT Value formatArgument(const Class* cls);
ZU_EXPORT Value formatArgument(Class* cls);
template <class T>
Value formatArgument(const std::optional<T>& value) {
  if (!value) return Value();
  if constexpr (std::is_constructible_v<Value, const T&>) {
    return Value(*value);
  } else {
    return Value(formatArgument(*value));
  }
}

// Formats `format` with printf conversions (flags, width, precision, length modifiers, "*" and
// "n$" positions) plus "%@", which prints any argument by its description. A missing argument
// prints as "(null)" for "%@" and "%s" and as 0 for numbers; nothing ever reads past `args`.
// Widths and precisions above 100000 are cut to 100000.
ZU_EXPORT std::string formatString(std::string_view format, std::span<const FormatArg> args);

// formatString() with the arguments given inline; any value formatArgument() accepts may be
// given. (The converted values live until the end of the full expression, so across the call.)
template <class... Args>
std::string format(std::string_view formatText, const Args&... args) {
  return formatString(formatText,
                      std::array<FormatArg, sizeof...(Args)>{FormatArg(formatArgument(args))...});
}

}  // namespace zu
