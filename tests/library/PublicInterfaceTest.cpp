// The public interface of libzukit.so: which headers are public, what they mark for export, and
// what the shared library really exports.

#include <algorithm>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

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

}  // namespace
