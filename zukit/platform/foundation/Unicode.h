#pragma once

// Internal to libzukit (not installed, not exported): UTF-8 helpers.

#include <cstddef>
#include <string>
#include <string_view>

namespace zu {

// True when `bytes` is well-formed UTF-8 (no overlongs, surrogates or values above U+10FFFF).
bool isValidUtf8(std::string_view bytes);

// Number of UTF-16 code units that the UTF-8 text `text` needs: the platform's string length.
std::size_t utf16Length(std::string_view text);

// Byte length of the UTF-8 sequence that starts `text`; 0 for empty text, 1 for a malformed lead.
std::size_t utf8SequenceLength(std::string_view text);

// The text without its first character (one UTF-8 sequence).
std::string dropFirstCharacter(std::string_view text);

// UTF-8 text of Latin-1 (ISO 8859-1) bytes: each byte is the character of the same number.
std::string utf8FromLatin1(std::string_view bytes);

// UTF-8 text of bytes that should be UTF-8: well-formed sequences stay as they are, and every
// other byte becomes the Latin-1 character of the same number.
std::string utf8WithLatin1Fallback(std::string_view bytes);

// UTF-8 text of UTF-16 code units; a surrogate without its partner becomes U+FFFD.
std::string utf8FromUtf16(std::u16string_view units);

// UTF-16 code units of UTF-8 text; a malformed sequence becomes U+FFFD.
std::u16string utf16FromUtf8(std::string_view text);

}  // namespace zu
