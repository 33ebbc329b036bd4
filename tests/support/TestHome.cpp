#include "tests/support/TestHome.h"

#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): mkdtemp and setenv

#include <filesystem>
#include <stdexcept>
#include <vector>

namespace zukit::test {

namespace {

std::string& currentHome() {
  static std::string home;
  return home;
}

}  // namespace

TestHome::TestHome() {
  std::string pattern = std::filesystem::temp_directory_path() / "zukit-test.XXXXXX";
  std::vector<char> buffer(pattern.begin(), pattern.end());
  buffer.push_back('\0');
  if (mkdtemp(buffer.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  _path = buffer.data();
  // Set before any library call reads them; the test process is still single-threaded here.
  setenv("HOME", _path.c_str(), 1);                               // NOLINT(concurrency-mt-unsafe)
  setenv("XDG_CONFIG_HOME", (_path + "/.config").c_str(), 1);     // NOLINT(concurrency-mt-unsafe)
  setenv("XDG_DATA_HOME", (_path + "/.local/share").c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
  setenv("XDG_CACHE_HOME", (_path + "/.cache").c_str(), 1);       // NOLINT(concurrency-mt-unsafe)
  currentHome() = _path;
}

TestHome::~TestHome() {
  if (std::getenv("ZUKIT_KEEP_TEST_HOME") != nullptr) return;  // NOLINT(concurrency-mt-unsafe)
  std::error_code ignored;
  std::filesystem::remove_all(_path, ignored);
}

const std::string& TestHome::current() {
  return currentHome();
}

}  // namespace zukit::test
