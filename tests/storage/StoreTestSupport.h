#pragma once

#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): setenv

#include <ostream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/StderrCapture.h"
#include "tests/support/TestHome.h"
#include "zukit/core/ZuLogger.h"

namespace zu {

// Lets GoogleTest print values by their description.
inline void PrintTo(const Value& value, std::ostream* out) {
  *out << value.description();
}

}  // namespace zu

namespace zukit::test {

// A name made of `prefix` and the running test's name, so that tests sharing one process (and
// one home) keep to their own keychain groups and files.
inline std::string uniqueName(const std::string& prefix) {
  return prefix + testing::UnitTest::GetInstance()->current_test_info()->name();
}

// Declares the app groups this test process belongs to; container lookups read the list on
// every call. Call at the start of a test, before it starts threads of its own.
inline void declareAppGroups(const std::string& commaSeparated) {
  setenv("ZUKIT_APP_GROUPS", commaSeparated.c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
}

// The directory that holds the container of `group` in the test home.
inline std::string containerPath(const std::string& group) {
  return TestHome::current() + "/.local/share/zukit/app-groups/" + group;
}

// The directory of the keychain's files in the test home.
inline std::string keychainDirectory() {
  return TestHome::current() + "/.local/share/zukit/keychain";
}

// The messages of this launch's log file so far, each without its time stamp, once everything
// logged before the call has been written.
inline std::vector<std::string> logMessages() {
  const std::string path = ZuLogger::getInstance()->logFilePath();
  zu::dispatch_sync(zu_log_get_dispatch_serial_queue(), [] {});
  static const std::regex stamped(R"(^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}  (.*)$)");
  std::vector<std::string> messages;
  std::istringstream lines(readFile(path));
  std::string line;
  std::smatch match;
  while (std::getline(lines, line)) {
    if (std::regex_match(line, match, stamped)) messages.push_back(match[1].str());
  }
  return messages;
}

// The messages of the NSLog lines in captured console text.
inline std::vector<std::string> consoleMessages(const std::string& text) {
  static const std::regex prefixed(
      R"(^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} \S+\[\d+:\d+\] (.*)$)");
  std::vector<std::string> messages;
  std::istringstream lines(text);
  std::string line;
  std::smatch match;
  while (std::getline(lines, line)) {
    if (std::regex_match(line, match, prefixed)) messages.push_back(match[1].str());
  }
  return messages;
}

}  // namespace zukit::test
