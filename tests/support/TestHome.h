#pragma once

#include <string>

namespace zukit::test {

// A temporary home for one test process: HOME and the XDG_* variables point into it, so that
// Documents, preferences, containers and caches never touch the real home. Removed at the end
// unless ZUKIT_KEEP_TEST_HOME is set.
class TestHome {
 public:
  TestHome();
  ~TestHome();
  TestHome(const TestHome&) = delete;
  TestHome& operator=(const TestHome&) = delete;

  // The home directory.
  const std::string& path() const { return _path; }

  // The home of the running test process.
  static const std::string& current();

 private:
  std::string _path;
};

}  // namespace zukit::test
