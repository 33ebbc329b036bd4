#include "zukit/platform/foundation/Format.h"

#include <algorithm>
#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <optional>
#include <utility>

#include "zukit/platform/runtime/Runtime.h"

namespace zu {

std::int64_t FormatArg::asSigned() const {
  switch (_kind) {
    case Kind::Signed:
      return _signed;
    case Kind::Unsigned:
      return static_cast<std::int64_t>(_unsigned);
    case Kind::Real:
      return static_cast<std::int64_t>(_real);
    case Kind::Value:
      return _value->integerValue();
    case Kind::Pointer:
      return static_cast<std::int64_t>(reinterpret_cast<std::intptr_t>(_pointer));
    default:
      return 0;
  }
}

std::uint64_t FormatArg::asUnsigned() const {
  return _kind == Kind::Unsigned ? _unsigned : static_cast<std::uint64_t>(asSigned());
}

double FormatArg::asReal() const {
  switch (_kind) {
    case Kind::Signed:
      return static_cast<double>(_signed);
    case Kind::Unsigned:
      return static_cast<double>(_unsigned);
    case Kind::Real:
      return _real;
    case Kind::Value:
      return _value->doubleValue();
    default:
      return 0;
  }
}

std::string FormatArg::asText() const {
  switch (_kind) {
    case Kind::Text:
      return _isNullText ? "(null)" : std::string(_text);
    case Kind::Value:
      return _value->description();
    case Kind::Object:
      return _object->description();
    case Kind::Pointer:
      return "(null)";
    default:
      return describe();
  }
}

void FormatArg::appendText(std::string& out) const {
  if (_isNullText) {
    out += "(null)";
  } else {
    out.append(_text);
  }
}

std::string FormatArg::describe() const {
  switch (_kind) {
    case Kind::Signed:
      return std::to_string(_signed);
    case Kind::Unsigned:
      return std::to_string(_unsigned);
    case Kind::Real:
      return Value(_real).description();
    case Kind::Text:
      return _isNullText ? "(null)" : std::string(_text);
    case Kind::Pointer: {
      if (_pointer == nullptr) return "(null)";
      char text[32];
      std::snprintf(text, sizeof text, "%p", _pointer);
      return text;
    }
    case Kind::Value:
      return _value->description();
    case Kind::Object:
      return _object == nullptr ? "(null)" : _object->description();
  }
  return {};
}

namespace {

// Largest width or precision honoured, so a hostile format cannot ask for gigabytes.
constexpr long long kMaximumWidth = 100000;

// One parsed conversion: "%[n$][flags][width][.precision][length]conversion".
struct Conversion {
  std::string flags;
  std::optional<long long> width;
  std::optional<long long> precision;
  std::string length;
  char conversion = 0;
};

class Formatter {
 public:
  Formatter(std::string_view format, std::span<const FormatArg> args)
      : _format(format), _args(args) {}

  std::string run() {
    std::string out;
    out.reserve(_format.size() + 16 * _args.size());
    std::size_t i = 0;
    while (i < _format.size()) {
      const std::size_t percent = _format.find('%', i);
      if (percent == std::string_view::npos) {
        out.append(_format.substr(i));
        break;
      }
      out.append(_format.substr(i, percent - i));
      i = convert(percent + 1, out);
    }
    return out;
  }

 private:
  // Reads a decimal number at `i`, if any.
  std::optional<long long> number(std::size_t& i) const {
    if (i >= _format.size() || _format[i] < '0' || _format[i] > '9') return std::nullopt;
    long long value = 0;
    while (i < _format.size() && _format[i] >= '0' && _format[i] <= '9') {
      value = std::min(value * 10 + (_format[i] - '0'), kMaximumWidth);
      ++i;
    }
    return value;
  }

  // The argument at an explicit 1-based position, or the next one in order.
  const FormatArg* argument(std::optional<long long> position) {
    std::size_t index = 0;
    if (position && *position > 0) {
      index = static_cast<std::size_t>(*position - 1);
    } else {
      index = _next++;
    }
    return index < _args.size() ? &_args[index] : nullptr;
  }

  // A "*" width or precision: an explicit "*m$" position or the next argument.
  long long starValue(std::size_t& i) {
    std::size_t probe = i;
    std::optional<long long> position = number(probe);
    if (position && probe < _format.size() && _format[probe] == '$') {
      i = probe + 1;
    } else {
      position.reset();
    }
    const FormatArg* arg = argument(position);
    return arg ? arg->asSigned() : 0;
  }

  std::size_t convert(std::size_t i, std::string& out) {
    const std::size_t start = i - 1;
    Conversion spec;
    std::optional<long long> position;
    {
      std::size_t probe = i;
      const std::optional<long long> digits = number(probe);
      if (digits && probe < _format.size() && _format[probe] == '$') {
        position = digits;
        i = probe + 1;
      }
    }
    while (i < _format.size() && std::string_view("-+ #0'").find(_format[i]) != std::string::npos) {
      spec.flags += _format[i++];
    }
    if (i < _format.size() && _format[i] == '*') {
      ++i;
      long long width = starValue(i);
      if (width < 0) {
        spec.flags += '-';
        width = -width;
      }
      spec.width = width;
    } else {
      spec.width = number(i);
    }
    if (i < _format.size() && _format[i] == '.') {
      ++i;
      if (i < _format.size() && _format[i] == '*') {
        ++i;
        const long long precision = starValue(i);
        if (precision >= 0) spec.precision = precision;
      } else {
        spec.precision = number(i).value_or(0);
      }
    }
    while (i < _format.size() &&
           std::string_view("hlqLzjt").find(_format[i]) != std::string::npos) {
      spec.length += _format[i++];
    }
    if (i >= _format.size()) {
      out.append(_format.substr(start));
      return i;
    }
    spec.conversion = _format[i++];
    if (spec.conversion == '%') {
      out += '%';
      return i;
    }
    if (std::string_view("diouxXfFeEgGaAcCsSp@n").find(spec.conversion) == std::string::npos) {
      out.append(_format.substr(start, i - start));
      return i;
    }
    if (spec.conversion == 'n') {
      argument(position);
      return i;
    }
    emit(spec, argument(position), out);
    return i;
  }

  static std::string cSpec(const Conversion& spec, std::string_view length, char conversion) {
    std::string text = "%" + spec.flags;
    if (spec.width) text += std::to_string(*spec.width);
    if (spec.precision) text += "." + std::to_string(*spec.precision);
    text += length;
    text += conversion;
    return text;
  }

  template <class T>
  static void printC(std::string& out, const std::string& cFormat, T value) {
    char buffer[128];
    // The format is built from a parsed, validated conversion with a matching argument type.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    const int needed = std::snprintf(buffer, sizeof buffer, cFormat.c_str(), value);
    if (needed < 0) return;
    if (static_cast<std::size_t>(needed) < sizeof buffer) {
      out.append(buffer, static_cast<std::size_t>(needed));
      return;
    }
    std::string large(static_cast<std::size_t>(needed) + 1, '\0');
    std::snprintf(large.data(), large.size(), cFormat.c_str(), value);
#pragma GCC diagnostic pop
    large.resize(static_cast<std::size_t>(needed));
    out += large;
  }

  static void pad(const Conversion& spec, std::string text, std::string& out) {
    if (spec.precision && text.size() > static_cast<std::size_t>(*spec.precision)) {
      text.resize(static_cast<std::size_t>(*spec.precision));
    }
    const std::size_t width = spec.width ? static_cast<std::size_t>(*spec.width) : 0;
    if (text.size() >= width) {
      out += text;
    } else if (spec.flags.find('-') != std::string::npos) {
      out += text;
      out.append(width - text.size(), ' ');
    } else {
      out.append(width - text.size(), ' ');
      out += text;
    }
  }

  static void emit(const Conversion& spec, const FormatArg* arg, std::string& out) {
    const bool plain = spec.flags.empty() && !spec.width && !spec.precision;
    if (plain && arg != nullptr && emitPlain(spec, *arg, out)) return;
    switch (spec.conversion) {
      case '@':
        pad(spec, arg ? arg->describe() : "(null)", out);
        return;
      case 's':
      case 'S':
        pad(spec, arg ? arg->asText() : "(null)", out);
        return;
      case 'c':
      case 'C':
        pad(spec, std::string(1, static_cast<char>(arg ? arg->asSigned() : 0)), out);
        return;
      case 'p': {
        char digits[24];
        const auto end =
            std::to_chars(digits, digits + sizeof digits, arg ? arg->asUnsigned() : 0, 16);
        pad(spec, "0x" + std::string(digits, end.ptr), out);
        return;
      }
      case 'd':
      case 'i': {
        long long value = arg ? arg->asSigned() : 0;
        if (spec.length == "hh") {
          // NOLINTNEXTLINE(bugprone-signed-char-misuse): "%hhd" prints a signed char's value
          value = static_cast<signed char>(value);
        }
        if (spec.length == "h") value = static_cast<short>(value);
        printC(out, cSpec(spec, "ll", spec.conversion), value);
        return;
      }
      case 'o':
      case 'u':
      case 'x':
      case 'X': {
        unsigned long long value = arg ? arg->asUnsigned() : 0;
        if (spec.length == "hh") value = static_cast<unsigned char>(value);
        if (spec.length == "h") value = static_cast<unsigned short>(value);
        printC(out, cSpec(spec, "ll", spec.conversion), value);
        return;
      }
      default:
        printC(out, cSpec(spec, "", spec.conversion), arg ? arg->asReal() : 0.0);
        return;
    }
  }

  // The common conversions without flags, width or precision, written straight into `out`.
  static bool emitPlain(const Conversion& spec, const FormatArg& arg, std::string& out) {
    const char conversion = spec.conversion;
    if ((conversion == '@' || conversion == 's') && arg.kind() == FormatArg::Kind::Text) {
      arg.appendText(out);
      return true;
    }
    const bool decimal = conversion == 'd' || conversion == 'i' || conversion == 'u';
    if (!decimal ||
        (!spec.length.empty() && spec.length != "l" && spec.length != "ll" && spec.length != "q" &&
         spec.length != "z" && spec.length != "j" && spec.length != "t")) {
      return false;
    }
    char buffer[24];
    const auto result = conversion == 'u'
                            ? std::to_chars(buffer, buffer + sizeof buffer, arg.asUnsigned())
                            : std::to_chars(buffer, buffer + sizeof buffer, arg.asSigned());
    out.append(buffer, result.ptr);
    return true;
  }

  std::string_view _format;
  std::span<const FormatArg> _args;
  std::size_t _next = 0;
};

}  // namespace

Value formatArgument(const Date& date) {
  return Value(date);
}

Value formatArgument(const Dictionary& dictionary) {
  return Value(dictionary);
}

Value formatArgument(const Array& array) {
  return Value(array);
}

Value formatArgument(const Data& bytes) {
  return Value(bytes);
}

Value formatArgument(const std::vector<std::string>& texts) {
  Array array;
  array.reserve(texts.size());
  for (const std::string& text : texts)
    array.emplace_back(text);
  return Value(std::move(array));
}

Value formatArgument(const Class* cls) {
  return cls != nullptr ? Value(NSStringFromClass(cls)) : Value();
}

Value formatArgument(Class* cls) {
  return formatArgument(static_cast<const Class*>(cls));
}

std::string formatString(std::string_view format, std::span<const FormatArg> args) {
  return Formatter(format, args).run();
}

}  // namespace zu
