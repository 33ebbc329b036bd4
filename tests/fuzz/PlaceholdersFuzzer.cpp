// "${...}" placeholders: what comes out is always shaped like a placeholder, and a template
// built from known placeholders gives exactly those back.

#include <string>
#include <vector>

#include "tests/fuzz/FuzzSupport.h"
#include "zukit/utils/ZuUtils.h"

namespace {

// The input cut at its line feeds into pieces free of "$", "{" and "}".
std::vector<std::string> piecesOf(const std::string& text) {
  std::vector<std::string> pieces(1);
  for (const char c : text) {
    if (c == '\n') {
      pieces.emplace_back();
    } else if (c != '$' && c != '{' && c != '}') {
      pieces.back() += c;
    }
  }
  return pieces;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using zukit::fuzz::check;
  const std::string text = zukit::fuzz::textOf(data, size);
  const auto found = ZuUtils::getStringInBracesWithString(zu::Value(text));
  check(found.has_value() == !text.empty(), "only missing text gives no list");
  if (found) {
    for (const std::string& placeholder : *found) {
      check(placeholder.starts_with("${") && placeholder.ends_with("}") &&
                placeholder.find('}') == placeholder.size() - 1,
            R"(a placeholder is not "${", text without "}", then "}")");
    }
  }

  // Odd pieces are text between placeholders, even ones the names inside them.
  const std::vector<std::string> pieces = piecesOf(text);
  std::string built;
  std::vector<std::string> expected;
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    if (i % 2 == 0) {
      built += pieces[i];
    } else {
      expected.push_back("${" + pieces[i] + "}");
      built += expected.back();
    }
  }
  if (!built.empty()) {
    check(ZuUtils::getStringInBracesWithString(zu::Value(built)) == expected,
          "a well-formed template did not give its placeholders in order");
  }
  return 0;
}
