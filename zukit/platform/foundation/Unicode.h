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

}  // namespace zu
