#include "tests/support/PublicHeaders.h"

#include <algorithm>
#include <filesystem>
#include <regex>
#include <sstream>

#include "tests/support/StderrCapture.h"

namespace zukit::test {

namespace {

bool startsWith(const std::string& text, std::string_view prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

std::string joined(const std::vector<std::string>& namespaces, const std::string& name) {
  std::string out;
  for (const std::string& space : namespaces)
    out += space + "::";
  return out + name;
}

}  // namespace

std::string sourceFile(const std::string& path) {
  return readFile(std::string(ZUKIT_SOURCE_DIR) + "/" + path);
}

std::vector<std::string> umbrellaHeaders() {
  std::vector<std::string> headers = includedLibraryHeaders("zukit/ZuKit.h");
  std::sort(headers.begin(), headers.end());
  return headers;
}

std::vector<std::string> libraryHeaders() {
  const std::filesystem::path root(ZUKIT_SOURCE_DIR);
  std::vector<std::string> headers;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root / "zukit")) {
    if (entry.path().extension() != ".h") continue;
    const std::string relative = std::filesystem::relative(entry.path(), root).string();
    if (relative != "zukit/ZuKit.h") headers.push_back(relative);
  }
  std::sort(headers.begin(), headers.end());
  return headers;
}

bool isInternalHeader(const std::string& header) {
  static const std::regex marker("^// Internal to libzukit", std::regex::multiline);
  return std::regex_search(sourceFile(header), marker);
}

std::vector<std::string> includedLibraryHeaders(const std::string& header) {
  static const std::regex include("^#include \"(zukit/[^\"]+)\"", std::regex::multiline);
  const std::string text = sourceFile(header);
  std::vector<std::string> headers;
  for (auto it = std::sregex_iterator(text.begin(), text.end(), include);
       it != std::sregex_iterator(); ++it) {
    headers.push_back((*it)[1].str());
  }
  return headers;
}

std::vector<HeaderDeclaration> headerDeclarations(const std::string& header) {
  static const std::regex namespaceOpen(R"(^namespace ([\w:]+) \{)");
  static const std::regex classHead(
      R"(^(class|struct) (ZU_EXPORT )?(?:ZU_\w+(?:\([^)]*\))? )*(\w+))");
  static const std::regex functionName(R"((operator[^\s(]+|\w+) ?\()");
  static const std::regex variableName(R"((\w+)(\[\])? ?(=.*)?;$)");
  std::vector<HeaderDeclaration> declarations;
  std::vector<std::string> namespaces;
  std::istringstream lines(sourceFile(header));
  std::string line;
  std::string previous;
  int number = 0;
  for (; std::getline(lines, line); previous = line) {
    ++number;
    std::smatch match;
    if (std::regex_search(line, match, namespaceOpen)) {
      std::stringstream parts(match[1].str());
      for (std::string part; std::getline(parts, part, ':');) {
        if (!part.empty()) namespaces.push_back(part);
      }
      continue;
    }
    if (startsWith(line, "}  // namespace")) {
      const std::string closed = line.substr(std::string("}  // namespace ").size());
      const auto depth = std::count(closed.begin(), closed.end(), ':') / 2 + 1;
      for (long i = 0; i < depth && !namespaces.empty(); ++i)
        namespaces.pop_back();
      continue;
    }
    // A template's head, with its constraints, covers the declaration that follows it.
    if (startsWith(line, "requires") && startsWith(previous, "template")) line = previous;
    if (line.empty() || line[0] == ' ') continue;
    // A class template is a public name of its own (its instantiations' type descriptors are
    // exported with it); function and variable templates are compiled into each user.
    const bool templated = startsWith(previous, "template");
    if (templated && !std::regex_search(line, classHead)) continue;
    static const std::vector<std::string_view> skipped{"#",
                                                       "//",
                                                       "}",
                                                       "{",
                                                       "using ",
                                                       "enum ",
                                                       "template",
                                                       "inline",
                                                       "constexpr",
                                                       "static_assert",
                                                       "extern \"C\"",
                                                       "friend",
                                                       "typedef"};
    if (std::any_of(skipped.begin(), skipped.end(),
                    [&line](std::string_view prefix) { return startsWith(line, prefix); })) {
      continue;
    }
    HeaderDeclaration declaration;
    declaration.where = header + ":" + std::to_string(number);
    declaration.isTemplate = templated;
    // A long declaration may carry the mark and its return type on the line before its name.
    const bool markedAbove = startsWith(previous, "ZU_EXPORT ") && previous.back() != ';' &&
                             previous.back() != '{' && previous.back() != '}';
    declaration.exported = markedAbove || line.find("ZU_EXPORT") != std::string::npos;
    if (std::regex_search(line, match, classHead)) {
      // A forward declaration names a class that is defined elsewhere.
      if (line.back() == ';' && line.find('{') == std::string::npos) continue;
      declaration.kind =
          match[1] == "class" ? HeaderDeclaration::Kind::Class : HeaderDeclaration::Kind::Struct;
      declaration.qualifiedName = joined(namespaces, match[3].str());
    } else if (std::regex_search(line, match, functionName)) {
      declaration.kind = HeaderDeclaration::Kind::Function;
      declaration.qualifiedName = joined(namespaces, match[1].str());
    } else if (std::regex_search(line, match, variableName)) {
      declaration.kind = HeaderDeclaration::Kind::Variable;
      declaration.qualifiedName = joined(namespaces, match[1].str());
    } else {
      continue;
    }
    declarations.push_back(declaration);
  }
  return declarations;
}

}  // namespace zukit::test
