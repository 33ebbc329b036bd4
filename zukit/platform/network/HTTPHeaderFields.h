#pragma once

// Internal to libzukit (not installed, not exported): header field bookkeeping of requests and
// responses.

#include <optional>
#include <string>
#include <string_view>

#include "zukit/platform/foundation/Value.h"

namespace zu {

// Header fields are kept in a Dictionary under the name as first given; names compare without
// regard to case, as HTTP wants.

// The key under which `name` is stored, compared without case; none when absent.
std::optional<std::string> headerFieldKey(const Dictionary& fields, std::string_view name);
// The text stored under `name`, compared without case; none when absent.
std::optional<std::string> headerFieldValue(const Dictionary& fields, std::string_view name);
// Stores `value` under `name` (replacing the value of a field of any case); none removes it.
void setHeaderField(Dictionary& fields, const std::string& name,
                    const std::optional<std::string>& value);
// Appends `value` to the field, joined by "," as HTTP does for repeated fields.
void addHeaderField(Dictionary& fields, const std::string& name, const std::string& value);
// True for a non-empty name made of HTTP token characters.
bool isValidHeaderFieldName(std::string_view name);
// True for a value without CR, LF or NUL (which would split or end the header).
bool isValidHeaderFieldValue(std::string_view value);
// ASCII lower case, for comparing names and media types.
std::string asciiLowercase(std::string_view text);

}  // namespace zu
