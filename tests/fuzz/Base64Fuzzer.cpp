// base64 of text: decoding agrees with a plain reference decoder (and ICU on what is UTF-8),
// and encoding round-trips.

#include <optional>
#include <string>
#include <vector>

#include <unicode/ustring.h>

#include "tests/fuzz/FuzzSupport.h"
#include "zukit/utils/ZuUtils.h"

namespace {

// Well-formed UTF-8, by ICU.
bool icuSaysUtf8(const std::string& bytes) {
  UErrorCode status = U_ZERO_ERROR;
  std::int32_t length = 0;
  u_strFromUTF8(nullptr, 0, &length, bytes.data(), static_cast<std::int32_t>(bytes.size()),
                &status);
  return status != U_INVALID_CHAR_FOUND && status != U_ILLEGAL_ARGUMENT_ERROR;
}

// Decodes by collecting the six-bit values first and then cutting bytes out of them.
std::optional<std::string> referenceDecode(const std::string& text) {
  std::vector<unsigned> sextets;
  for (const char c : text) {
    if (c >= 'A' && c <= 'Z') {
      sextets.push_back(static_cast<unsigned>(c - 'A'));
    } else if (c >= 'a' && c <= 'z') {
      sextets.push_back(static_cast<unsigned>(c - 'a' + 26));
    } else if (c >= '0' && c <= '9') {
      sextets.push_back(static_cast<unsigned>(c - '0' + 52));
    } else if (c == '+') {
      sextets.push_back(62);
    } else if (c == '/') {
      sextets.push_back(63);
    }
  }
  if (sextets.empty() || sextets.size() % 4 == 1) return std::nullopt;
  std::string bytes;
  const std::size_t bits = sextets.size() * 6;
  for (std::size_t bit = 0; bit + 8 <= bits; bit += 8) {
    unsigned byte = 0;
    for (std::size_t k = bit; k < bit + 8; ++k)
      byte = byte << 1U | (sextets[k / 6] >> (5 - k % 6) & 1U);
    bytes += static_cast<char>(byte);
  }
  if (!icuSaysUtf8(bytes)) return std::nullopt;
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using zukit::fuzz::check;
  const std::string text = zukit::fuzz::textOf(data, size);
  const auto decoded = ZuUtils::base64Decode(zu::Value(text));
  check(decoded == referenceDecode(text), "base64Decode disagrees with the reference decoder");

  if (!text.empty() && icuSaysUtf8(text)) {
    const auto encoded = ZuUtils::base64Encode(zu::Value(text));
    check(encoded.has_value(), "UTF-8 text did not encode");
    check(encoded->size() % 4 == 0, "an encoding is not a whole number of quads");
    check(ZuUtils::base64Decode(zu::Value(*encoded)) == text, "encoding does not round-trip");
  } else {
    check(!ZuUtils::base64Encode(zu::Value(text)), "text that is not UTF-8 was encoded");
  }
  if (decoded && !decoded->empty()) {
    const auto again = ZuUtils::base64Encode(zu::Value(*decoded));
    check(again && ZuUtils::base64Decode(zu::Value(*again)) == decoded,
          "decoded text does not round-trip");
  }
  return 0;
}
