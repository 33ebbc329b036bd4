#include "zukit/platform/foundation/Unicode.h"

#include <cstdint>

namespace zu {

namespace {

// Decodes one sequence at `text[i]`; returns its length, or 0 when it is malformed.
std::size_t decode(std::string_view text, std::size_t i, char32_t& codePoint) {
  const auto lead = static_cast<std::uint8_t>(text[i]);
  std::size_t length = 0;
  char32_t minimum = 0;
  if (lead < 0x80) {
    codePoint = lead;
    return 1;
  }
  if ((lead & 0xE0) == 0xC0) {
    length = 2;
    codePoint = lead & 0x1F;
    minimum = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    length = 3;
    codePoint = lead & 0x0F;
    minimum = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    length = 4;
    codePoint = lead & 0x07;
    minimum = 0x10000;
  } else {
    return 0;
  }
  if (i + length > text.size()) return 0;
  for (std::size_t k = 1; k < length; ++k) {
    const auto next = static_cast<std::uint8_t>(text[i + k]);
    if ((next & 0xC0) != 0x80) return 0;
    codePoint = (codePoint << 6) | (next & 0x3F);
  }
  if (codePoint < minimum || codePoint > 0x10FFFF) return 0;
  if (codePoint >= 0xD800 && codePoint <= 0xDFFF) return 0;
  return length;
}

constexpr char32_t kReplacementCharacter = 0xFFFD;

void appendUtf8(std::string& out, char32_t codePoint) {
  if (codePoint < 0x80) {
    out += static_cast<char>(codePoint);
  } else if (codePoint < 0x800) {
    out += static_cast<char>(0xC0 | (codePoint >> 6));
    out += static_cast<char>(0x80 | (codePoint & 0x3F));
  } else if (codePoint < 0x10000) {
    out += static_cast<char>(0xE0 | (codePoint >> 12));
    out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (codePoint & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (codePoint >> 18));
    out += static_cast<char>(0x80 | ((codePoint >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (codePoint & 0x3F));
  }
}

bool isHighSurrogate(char16_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}

bool isLowSurrogate(char16_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

}  // namespace

bool isValidUtf8(std::string_view bytes) {
  std::size_t i = 0;
  while (i < bytes.size()) {
    char32_t codePoint = 0;
    const std::size_t length = decode(bytes, i, codePoint);
    if (length == 0) return false;
    i += length;
  }
  return true;
}

std::size_t utf16Length(std::string_view text) {
  std::size_t units = 0;
  std::size_t i = 0;
  while (i < text.size()) {
    char32_t codePoint = 0;
    const std::size_t length = decode(text, i, codePoint);
    if (length == 0) {
      ++units;
      ++i;
      continue;
    }
    units += codePoint >= 0x10000 ? 2 : 1;
    i += length;
  }
  return units;
}

std::size_t utf8SequenceLength(std::string_view text) {
  if (text.empty()) return 0;
  char32_t codePoint = 0;
  const std::size_t length = decode(text, 0, codePoint);
  return length == 0 ? 1 : length;
}

std::string dropFirstCharacter(std::string_view text) {
  return std::string(text.substr(utf8SequenceLength(text)));
}

std::string utf8FromLatin1(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size() * 2);
  for (const char byte : bytes)
    appendUtf8(out, static_cast<std::uint8_t>(byte));
  return out;
}

std::string utf8WithLatin1Fallback(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  std::size_t i = 0;
  while (i < bytes.size()) {
    char32_t codePoint = 0;
    const std::size_t length = decode(bytes, i, codePoint);
    if (length == 0) {
      appendUtf8(out, static_cast<std::uint8_t>(bytes[i]));
      ++i;
    } else {
      out.append(bytes.substr(i, length));
      i += length;
    }
  }
  return out;
}

std::string utf8FromUtf16(std::u16string_view units) {
  std::string out;
  out.reserve(units.size() * 3);
  for (std::size_t i = 0; i < units.size(); ++i) {
    const char16_t unit = units[i];
    if (isHighSurrogate(unit) && i + 1 < units.size() && isLowSurrogate(units[i + 1])) {
      appendUtf8(out, 0x10000 + ((static_cast<char32_t>(unit) - 0xD800) << 10) +
                          (static_cast<char32_t>(units[i + 1]) - 0xDC00));
      ++i;
    } else if (isHighSurrogate(unit) || isLowSurrogate(unit)) {
      appendUtf8(out, kReplacementCharacter);
    } else {
      appendUtf8(out, unit);
    }
  }
  return out;
}

std::u16string utf16FromUtf8(std::string_view text) {
  std::u16string out;
  out.reserve(text.size());
  std::size_t i = 0;
  while (i < text.size()) {
    char32_t codePoint = kReplacementCharacter;
    const std::size_t length = decode(text, i, codePoint);
    if (length == 0) codePoint = kReplacementCharacter;
    i += length == 0 ? 1 : length;
    if (codePoint >= 0x10000) {
      out += static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10));
      out += static_cast<char16_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
    } else {
      out += static_cast<char16_t>(codePoint);
    }
  }
  return out;
}

}  // namespace zu
