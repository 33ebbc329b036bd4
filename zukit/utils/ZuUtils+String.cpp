// ZuUtils: the point-in-circle test, web-link test, base64 of text and placeholder extraction.

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zukit/platform/foundation/Unicode.h"
#include "zukit/platform/runtime/Runtime.h"
#include "zukit/utils/ZuUtils.h"

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The 6-bit value of each byte of the alphabet; -1 for every other byte.
constexpr std::array<std::int8_t, 256> makeDecodeTable() {
  std::array<std::int8_t, 256> table{};
  for (auto& entry : table)
    entry = -1;
  for (std::size_t i = 0; i < kAlphabet.size(); ++i) {
    table[static_cast<unsigned char>(kAlphabet[i])] = static_cast<std::int8_t>(i);
  }
  return table;
}

constexpr std::array<std::int8_t, 256> kDecodeTable = makeDecodeTable();

std::string encode(std::string_view bytes) {
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  std::size_t i = 0;
  for (; i + 3 <= bytes.size(); i += 3) {
    const std::uint32_t group =
        static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i])) << 16U |
        static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i + 1])) << 8U |
        static_cast<unsigned char>(bytes[i + 2]);
    out += kAlphabet[group >> 18U & 0x3FU];
    out += kAlphabet[group >> 12U & 0x3FU];
    out += kAlphabet[group >> 6U & 0x3FU];
    out += kAlphabet[group & 0x3FU];
  }
  const std::size_t left = bytes.size() - i;
  if (left == 0) return out;
  std::uint32_t group = static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i])) << 16U;
  if (left == 2)
    group |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i + 1])) << 8U;
  out += kAlphabet[group >> 18U & 0x3FU];
  out += kAlphabet[group >> 12U & 0x3FU];
  out += left == 2 ? kAlphabet[group >> 6U & 0x3FU] : '=';
  out += '=';
  return out;
}

// The bytes of base64 text, every byte outside the alphabet (padding included) skipped. None
// when no alphabet character is left, or when one lone character ends the text: six bits
// cannot make a byte.
std::optional<std::string> decode(std::string_view text) {
  std::string out;
  out.reserve(text.size() / 4 * 3 + 3);
  std::uint32_t group = 0;
  std::size_t count = 0;
  std::size_t characters = 0;
  for (const char c : text) {
    const std::int8_t value = kDecodeTable[static_cast<unsigned char>(c)];
    if (value < 0) continue;
    ++characters;
    group = group << 6U | static_cast<std::uint32_t>(value);
    if (++count == 4) {
      out += static_cast<char>(group >> 16U & 0xFFU);
      out += static_cast<char>(group >> 8U & 0xFFU);
      out += static_cast<char>(group & 0xFFU);
      group = 0;
      count = 0;
    }
  }
  if (characters == 0 || count == 1) return std::nullopt;
  if (count == 2) {
    out += static_cast<char>(group >> 4U & 0xFFU);
  } else if (count == 3) {
    out += static_cast<char>(group >> 10U & 0xFFU);
    out += static_cast<char>(group >> 2U & 0xFFU);
  }
  return out;
}

}  // namespace

bool ZuUtils::point(const zu::CGPoint& point, const zu::CGRect& inCircleRect) {
  const double radius = inCircleRect.size.width * 0.5;
  const double centreX = inCircleRect.origin.x + radius;
  const double centreY = inCircleRect.origin.y + radius;
  const double distance = std::hypot(std::fabs(point.x - centreX), std::fabs(point.y - centreY));
  // A NaN anywhere fails the comparison, so it answers NO.
  return distance <= radius;
}

bool ZuUtils::isUniversalLink(const zu::Value& text) {
  const auto string = zu::validText(text);
  if (!string) return false;
  if (string->starts_with("http://")) return true;
  if (string->starts_with("https://")) return true;
  return zu::NSClassFromString(text) != nullptr;
}

std::optional<std::string> ZuUtils::base64Encode(const zu::Value& text) {
  const auto string = zu::validText(text);
  if (!string || !zu::isValidUtf8(*string)) return std::nullopt;
  return encode(*string);
}

std::optional<std::string> ZuUtils::base64Decode(const zu::Value& text) {
  const auto string = zu::validText(text);
  if (!string) return std::nullopt;
  auto bytes = decode(*string);
  if (!bytes || !zu::isValidUtf8(*bytes)) return std::nullopt;
  return bytes;
}

std::optional<std::vector<std::string>> ZuUtils::getStringInBracesWithString(
    const zu::Value& text) {
  const auto string = zu::validText(text);
  if (!string) return std::nullopt;
  std::vector<std::string> placeholders;
  std::string working = *string;
  for (std::size_t open = working.find("${"); open != std::string::npos;
       open = working.find("${")) {
    // The closing brace is searched from the start of the text, not from the opening one.
    const std::size_t close = working.find('}');
    // A template with no "}" after its first "${" is malformed: what was collected stands.
    if (close == std::string::npos || close < open) break;
    const std::size_t length = close - open + 1;
    placeholders.push_back(working.substr(open, length));
    working.erase(open, length);
  }
  return placeholders;
}
