#include "tests/fuzz/FuzzSupport.h"

#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): mkdtemp and setenv

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "zukit/platform/foundation/BinaryPropertyList.h"

namespace zukit::fuzz {

namespace {

std::string& home() {
  static std::string path;
  return path;
}

void removeHome() {
  std::error_code ignored;
  std::filesystem::remove_all(home(), ignored);
}

}  // namespace

void useTemporaryHome() {
  // In memory when the machine offers it: the store harnesses write files on every input.
  std::error_code ignored;
  const std::filesystem::path base = std::filesystem::is_directory("/dev/shm", ignored)
                                         ? std::filesystem::path("/dev/shm")
                                         : std::filesystem::temp_directory_path();
  std::string pattern = base / "zukit-fuzz.XXXXXX";
  std::vector<char> buffer(pattern.begin(), pattern.end());
  buffer.push_back('\0');
  check(mkdtemp(buffer.data()) != nullptr, "mkdtemp failed");
  home() = buffer.data();
  // The harness is still single-threaded here.
  setenv("HOME", home().c_str(), 1);                               // NOLINT(concurrency-mt-unsafe)
  setenv("XDG_CONFIG_HOME", (home() + "/.config").c_str(), 1);     // NOLINT(concurrency-mt-unsafe)
  setenv("XDG_DATA_HOME", (home() + "/.local/share").c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
  setenv("XDG_CACHE_HOME", (home() + "/.cache").c_str(), 1);       // NOLINT(concurrency-mt-unsafe)
  setenv("TMPDIR", home().c_str(), 1);                             // NOLINT(concurrency-mt-unsafe)
  setenv("TZ", "UTC", 1);                                          // NOLINT(concurrency-mt-unsafe)
  setenv("LC_ALL", "C", 1);                                        // NOLINT(concurrency-mt-unsafe)
  std::atexit(removeHome);
}

const std::string& temporaryHome() {
  return home();
}

void check(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "oracle failed: %s\n", what);
  std::abort();
}

std::string textOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

std::optional<std::string> readWholeFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

void replaceFile(const std::string& path, const std::string& bytes) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  const std::string temporary = path + ".fuzz-new";
  {
    std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
    file << bytes;
  }
  std::filesystem::rename(temporary, path);
}

std::string canonicalBytes(const zu::Value& value) {
  const auto bytes = zu::BinaryPropertyList::write(value);
  return bytes ? std::string(bytes->begin(), bytes->end()) : std::string("<unwritable>");
}

}  // namespace zukit::fuzz
