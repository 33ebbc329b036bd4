// The public interface of libzukit.so: which headers are public, what they mark for export, and
// what the shared library really exports.

#include <cxxabi.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Probe.h"
#include "tests/support/PublicHeaders.h"
#include "tests/support/StderrCapture.h"

namespace {

using zukit::test::HeaderDeclaration;

std::string joinedLines(const std::vector<std::string>& lines) {
  std::string out;
  for (const std::string& line : lines)
    out += "  " + line + "\n";
  return out;
}

// The part of a demangled symbol that names what it belongs to: a class, a function or a
// variable with its namespaces ("zu::Value", "zu::dispatch_async", "ZuKitVersionNumber"), or
// "std" for the standard library's own templates.
std::string ownerOf(std::string symbol) {
  // AddressSanitizer's marker for an exported variable belongs to the variable.
  static const std::string odrMarker = "__odr_asan.";
  if (symbol.compare(0, odrMarker.size(), odrMarker) == 0) {
    symbol = symbol.substr(odrMarker.size());
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> demangled(
        abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status), &std::free);
    if (status == 0 && demangled) symbol = demangled.get();
  }
  static const std::vector<std::string> prefixes{"typeinfo name for ",
                                                 "typeinfo for ",
                                                 "vtable for ",
                                                 "VTT for ",
                                                 "guard variable for ",
                                                 "non-virtual thunk to ",
                                                 "virtual thunk to ",
                                                 "covariant return thunk to ",
                                                 "construction vtable for "};
  bool describesType = false;
  for (const std::string& prefix : prefixes) {
    if (symbol.compare(0, prefix.size(), prefix) == 0) {
      symbol = symbol.substr(prefix.size());
      describesType = prefix.find("typeinfo") != std::string::npos;
    }
  }
  // Walk the name at template and bracket depth 0: a blank there ends a return type, "::" parts
  // the components, "(" ends the name.
  std::vector<std::string> components{""};
  int depth = 0;
  for (std::size_t i = 0; i < symbol.size(); ++i) {
    const char c = symbol[i];
    if (depth == 0 && components.back().empty() && symbol.compare(i, 8, "operator") == 0) {
      // Operators hold brackets of their own ("operator<<", "operator()").
      std::size_t end = symbol.find('(', i);
      if (symbol.compare(end, 3, "()(") == 0) end += 2;
      components.back() = symbol.substr(i, end - i);
      break;
    }
    if (c == '<' || c == '[') {
      ++depth;
    } else if (c == '>' || c == ']') {
      --depth;
    } else if (depth > 0) {
      continue;
    } else if (c == '(') {
      break;
    } else if (c == ' ') {
      components = {""};
    } else if (c == ':' && i + 1 < symbol.size() && symbol[i + 1] == ':') {
      components.emplace_back();
      ++i;
    } else {
      components.back() += c;
    }
  }
  static const std::set<std::string> libraryNamespaces{"zu", "detail"};
  static const std::set<std::string> standardNamespaces{"std", "__gnu_cxx", "__cxxabiv1"};
  std::string owner;
  for (const std::string& component : components) {
    if (owner.empty() && standardNamespaces.contains(component)) return "std";
    owner += owner.empty() ? component : "::" + component;
    if (!libraryNamespaces.contains(component)) break;
  }
  // The type descriptors of function types (the runtime's method and callback signatures) are
  // shared by every module that names the type.
  if (owner.empty() && describesType) return "(function type)";
  return owner;
}

// nm's view of `files`: demangled name to symbol type, for defined external symbols.
std::multimap<std::string, char> definedSymbols(const std::vector<std::string>& arguments) {
  const auto result = zukit::test::runProgram(ZUKIT_NM, arguments);
  EXPECT_EQ(result.exitCode, 0) << result.standardError;
  std::multimap<std::string, char> symbols;
  std::istringstream lines(result.standardOutput);
  for (std::string line; std::getline(lines, line);) {
    // "<address> <type> <name>"; file headers and blank lines have no type column.
    const std::size_t first = line.find(' ');
    if (first == std::string::npos || first + 3 > line.size() || line[first + 2] != ' ') continue;
    symbols.emplace(line.substr(first + 3), line[first + 1]);
  }
  return symbols;
}

std::set<std::string> publicNames() {
  std::set<std::string> names;
  for (const std::string& header : zukit::test::umbrellaHeaders()) {
    for (const HeaderDeclaration& declaration : zukit::test::headerDeclarations(header))
      names.insert(declaration.qualifiedName);
  }
  return names;
}

TEST(PublicInterfaceTest, EveryHeaderIsEitherInTheUmbrellaOrInternal) {
  const std::vector<std::string> umbrella = zukit::test::umbrellaHeaders();
  std::vector<std::string> unclassified;
  std::vector<std::string> both;
  std::vector<std::string> leaks;
  for (const std::string& header : zukit::test::libraryHeaders()) {
    const bool isPublic = std::binary_search(umbrella.begin(), umbrella.end(), header);
    const bool isInternal = zukit::test::isInternalHeader(header);
    if (!isPublic && !isInternal) unclassified.push_back(header);
    if (isPublic && isInternal) both.push_back(header);
    if (!isPublic) continue;
    for (const std::string& included : zukit::test::includedLibraryHeaders(header)) {
      if (zukit::test::isInternalHeader(included))
        leaks.push_back(std::string(header).append(" -> ").append(included));
    }
  }
  EXPECT_TRUE(unclassified.empty())
      << "headers neither included by zukit/ZuKit.h nor marked \"// Internal to libzukit\":\n"
      << joinedLines(unclassified);
  EXPECT_TRUE(both.empty()) << "internal headers in the umbrella:\n" << joinedLines(both);
  EXPECT_TRUE(leaks.empty()) << "public headers including internal ones:\n" << joinedLines(leaks);
}

TEST(PublicInterfaceTest, PublicDeclarationsAndOnlyThoseCarryTheExportMark) {
  std::vector<std::string> unmarked;
  for (const std::string& header : zukit::test::umbrellaHeaders()) {
    for (const HeaderDeclaration& declaration : zukit::test::headerDeclarations(header)) {
      if (!declaration.exported && !declaration.isTemplate)
        unmarked.push_back(declaration.where + " " + declaration.qualifiedName);
    }
  }
  EXPECT_TRUE(unmarked.empty()) << "public declarations without ZU_EXPORT:\n"
                                << joinedLines(unmarked);
  std::vector<std::string> marked;
  for (const std::string& header : zukit::test::libraryHeaders()) {
    if (zukit::test::isInternalHeader(header) &&
        zukit::test::sourceFile(header).find("ZU_EXPORT") != std::string::npos) {
      marked.push_back(header);
    }
  }
  EXPECT_TRUE(marked.empty()) << "internal headers exporting declarations:\n"
                              << joinedLines(marked);
}

TEST(PublicInterfaceTest, OwnersOfSymbolsAreFoundThroughTheirNames) {
  EXPECT_EQ(ownerOf("zu::Value::description() const"), "zu::Value");
  EXPECT_EQ(ownerOf("zu::detail::lookupMethodSlow(zu::Class*, zu::objc_selector const*)"),
            "zu::detail::lookupMethodSlow");
  EXPECT_EQ(ownerOf("typeinfo for ZuLogger"), "ZuLogger");
  EXPECT_EQ(ownerOf("guard variable for zu::rootClass()::root"), "zu::rootClass");
  EXPECT_EQ(ownerOf("zu::operator<<(std::ostream&, zu::Value const&)"), "zu::operator<<");
  EXPECT_EQ(ownerOf("void ZuLogger::log<int>(long, char const*, std::basic_string_view<char, "
                    "std::char_traits<char> >, int const&)"),
            "ZuLogger");
  EXPECT_EQ(ownerOf("std::vector<zu::Value, std::allocator<zu::Value> >::~vector()"), "std");
  EXPECT_EQ(ownerOf("ZuKitVersionNumber"), "ZuKitVersionNumber");
  EXPECT_EQ(ownerOf("getSerialQueue(void*)"), "getSerialQueue");
  EXPECT_EQ(ownerOf("__odr_asan._ZN2zu6detail16methodTableEpochE"), "zu::detail::methodTableEpoch");
  EXPECT_EQ(ownerOf("__odr_asan.ZuKitVersionNumber"), "ZuKitVersionNumber");
  EXPECT_EQ(ownerOf("typeinfo for void (*)(zu::Object*, zu::objc_selector const*, bool)"),
            "(function type)");
}

TEST(PublicInterfaceTest, TheSharedLibraryExportsExactlyThePublicDeclarations) {
  const std::set<std::string> names = publicNames();
  ASSERT_TRUE(names.contains("ZuLogger") && names.contains("zu::dispatch_async"))
      << "the public headers could not be read";

  // Exported: everything the dynamic symbol table defines.
  const std::multimap<std::string, char> exported =
      definedSymbols({"-D", "-C", "--defined-only", ZUKIT_LIBRARY_PATH});
  std::vector<std::string> internalExported;
  std::set<std::string> exportedNames;
  for (const auto& [symbol, type] : exported) {
    exportedNames.insert(symbol);
    const std::string owner = ownerOf(symbol);
    if (owner != "std" && owner != "(function type)" && !names.contains(owner))
      internalExported.push_back(std::string(symbol).append("  [").append(owner).append("]"));
  }
  EXPECT_TRUE(internalExported.empty())
      << internalExported.size() << " exported symbols belong to no public declaration:\n"
      << joinedLines(internalExported);

  // Every strong definition in the library's objects that belongs to a public declaration must
  // reach the dynamic symbol table (inline functions and templates are weak: hosts compile
  // their own copies).
  std::vector<std::string> arguments{"-C", "--defined-only", "-g"};
  std::istringstream objects(zukit::test::readFile(ZUKIT_OBJECTS_LIST));
  for (std::string object; std::getline(objects, object);) {
    if (!object.empty()) arguments.push_back(object);
  }
  ASSERT_GT(arguments.size(), 50U) << "the library's object list is missing";
  std::vector<std::string> hidden;
  std::size_t publicDefinitions = 0;
  for (const auto& [symbol, type] : definedSymbols(arguments)) {
    if (std::string("TDBR").find(type) == std::string::npos) continue;
    if (!names.contains(ownerOf(symbol))) continue;
    ++publicDefinitions;
    if (!exportedNames.contains(symbol)) hidden.push_back(symbol);
  }
  EXPECT_GT(publicDefinitions, 300U);
  EXPECT_TRUE(hidden.empty()) << hidden.size()
                              << " public definitions are not exported (a definition that does "
                                 "not see its ZU_EXPORT declaration stays hidden):\n"
                              << joinedLines(hidden);
}

TEST(PublicInterfaceTest, AHostFunctionNamedLikeAnInternalOneDoesNotReplaceIt) {
  const auto result = zukit::test::runProgram(ZUKIT_UMBRELLA_HOST_PATH, {});
  EXPECT_EQ(result.exitCode, 0) << result.standardError;
  EXPECT_EQ(result.standardOutput,
            "serial queue: ran\n"
            "host getSerialQueue calls: 1\n"
            "base64: WnVLaXQ=\n"
            "version: 1.0\n");
}

}  // namespace
