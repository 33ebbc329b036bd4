#pragma once

#include <string>
#include <vector>

namespace zukit::test {

// One namespace-scope declaration of a library header: a class or struct definition, a function
// or a variable (templates, inline functions and constants are left out: they have no symbol of
// their own in the library).
struct HeaderDeclaration {
  enum class Kind { Class, Struct, Function, Variable };
  Kind kind = Kind::Function;
  // The name with its namespaces, such as "zu::Value" or "ZuLogger".
  std::string qualifiedName;
  // True when the declaration carries ZU_EXPORT.
  bool exported = false;
  // True for a class template, which needs the mark only when the library itself instantiates it.
  bool isTemplate = false;
  // "zukit/...h:line", for messages.
  std::string where;
};

// The headers that zukit/ZuKit.h includes, as "zukit/..." paths: the public interface.
std::vector<std::string> umbrellaHeaders();
// Every header under zukit/ (ZuKit.h itself excluded), as "zukit/..." paths.
std::vector<std::string> libraryHeaders();
// True when the header says it is internal to the library.
bool isInternalHeader(const std::string& header);
// The "zukit/..." headers that `header` includes.
std::vector<std::string> includedLibraryHeaders(const std::string& header);
// The namespace-scope declarations of `header`, read from its text. The headers are formatted by
// the checked-in .clang-format, so such declarations start in the first column.
std::vector<HeaderDeclaration> headerDeclarations(const std::string& header);
// The text of a file of the source tree, by its path relative to the tree.
std::string sourceFile(const std::string& path);

}  // namespace zukit::test
