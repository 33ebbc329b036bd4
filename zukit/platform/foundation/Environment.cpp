#include "zukit/platform/foundation/Environment.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace zu {

std::optional<std::string> environmentValue(const char* name) {
  const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): read-only use
  if (value == nullptr || *value == '\0') return std::nullopt;
  return std::string(value);
}

std::string homeDirectory() {
  if (auto home = environmentValue("HOME")) return *home;
  long size = sysconf(_SC_GETPW_R_SIZE_MAX);
  if (size <= 0) size = 16384;
  std::vector<char> buffer(static_cast<std::size_t>(size));
  passwd entry{};
  passwd* result = nullptr;
  if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &result) == 0 &&
      result != nullptr && result->pw_dir != nullptr) {
    return result->pw_dir;
  }
  return "/";
}

std::string xdgConfigHome() {
  return environmentValue("XDG_CONFIG_HOME").value_or(homeDirectory() + "/.config");
}

std::string xdgDataHome() {
  return environmentValue("XDG_DATA_HOME").value_or(homeDirectory() + "/.local/share");
}

std::string xdgCacheHome() {
  return environmentValue("XDG_CACHE_HOME").value_or(homeDirectory() + "/.cache");
}

std::string temporaryDirectory() {
  std::string directory = environmentValue("TMPDIR").value_or("/tmp");
  if (directory.back() != '/') directory += '/';
  return directory;
}

}  // namespace zu
