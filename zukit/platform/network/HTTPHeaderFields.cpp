#include "zukit/platform/network/HTTPHeaderFields.h"

#include <algorithm>
#include <cctype>

namespace zu {

namespace {

// ASCII's own lower case, whatever the C locale: field names are ASCII, and this runs for every
// header line of every response.
char asciiLower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return asciiLower(x) == asciiLower(y);
         });
}

}  // namespace

std::optional<std::string> headerFieldKey(const Dictionary& fields, std::string_view name) {
  for (const auto& [key, value] : fields) {
    if (equalIgnoringCase(key, name)) return key;
  }
  return std::nullopt;
}

std::optional<std::string> headerFieldValue(const Dictionary& fields, std::string_view name) {
  const std::optional<std::string> key = headerFieldKey(fields, name);
  if (!key) return std::nullopt;
  const Value* value = fields.find(*key);
  if (value == nullptr || !value->isString()) return std::nullopt;
  return *value->asString();
}

void setHeaderField(Dictionary& fields, const std::string& name,
                    const std::optional<std::string>& value) {
  const std::optional<std::string> key = headerFieldKey(fields, name);
  if (!value) {
    if (key) fields.removeObjectForKey(*key);
    return;
  }
  fields.setObject(*value, key.value_or(name));
}

void addHeaderField(Dictionary& fields, const std::string& name, const std::string& value) {
  const std::optional<std::string> existing = headerFieldValue(fields, name);
  setHeaderField(fields, name, existing ? *existing + "," + value : value);
}

bool isValidHeaderFieldName(std::string_view name) {
  if (name.empty()) return false;
  return std::all_of(name.begin(), name.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x80 && (std::isalnum(byte) ||
                           std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos);
  });
}

bool isValidHeaderFieldValue(std::string_view value) {
  return value.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

std::string asciiLowercase(std::string_view text) {
  std::string out(text);
  for (char& c : out)
    c = asciiLower(c);
  return out;
}

}  // namespace zu
