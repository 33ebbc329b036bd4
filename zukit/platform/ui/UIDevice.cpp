#include "zukit/platform/ui/UIDevice.h"

#include <algorithm>
#include <cctype>
#include <sstream>
#include <vector>

#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/platform/foundation/SystemInfo.h"

namespace zu {

namespace {

std::string osReleaseText() {
  const auto manager = NSFileManager::defaultManager();
  for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
    if (const auto bytes = manager->contentsAtPath(path)) {
      return std::string(bytes->begin(), bytes->end());
    }
  }
  return {};
}

}  // namespace

std::string osReleaseValue(const std::string& text, const std::string& key) {
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    if (line.compare(0, key.size() + 1, key + "=") != 0) continue;
    std::string value = line.substr(key.size() + 1);
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
        value.back() == value.front()) {
      value = value.substr(1, value.size() - 2);
    }
    return value;
  }
  return {};
}

std::shared_ptr<UIDevice> UIDevice::currentDevice() {
  static NoDestructor<std::shared_ptr<UIDevice>> device(std::make_shared<UIDevice>());
  return *device;
}

std::string UIDevice::systemName() const {
  const std::string name = osReleaseValue(osReleaseText(), "NAME");
  return name.empty() ? uname().sysname : name;
}

std::string UIDevice::systemVersion() const {
  {
    MutexLock lock(_mutex);
    if (_systemVersion) return *_systemVersion;
  }
  const std::string version = osReleaseValue(osReleaseText(), "VERSION_ID");
  return version.empty() ? uname().release : version;
}

void UIDevice::setSystemVersion(std::optional<std::string> version) {
  MutexLock lock(_mutex);
  _systemVersion = std::move(version);
}

bool UIDevice::systemVersionIsAtLeast(const std::string& version) const {
  return compareVersions(systemVersion(), version) >= 0;
}

int compareVersions(const std::string& first, const std::string& second) {
  const auto parts = [](const std::string& text) {
    std::vector<unsigned long long> numbers;
    std::size_t start = 0;
    while (start <= text.size()) {
      const std::size_t dot = std::min(text.find('.', start), text.size());
      unsigned long long number = 0;
      for (std::size_t i = start; i < dot && std::isdigit(static_cast<unsigned char>(text[i]));
           ++i) {
        number = number * 10 + static_cast<unsigned long long>(text[i] - '0');
      }
      numbers.push_back(number);
      start = dot + 1;
    }
    return numbers;
  };
  const std::vector<unsigned long long> a = parts(first);
  const std::vector<unsigned long long> b = parts(second);
  for (std::size_t i = 0; i < std::max(a.size(), b.size()); ++i) {
    const unsigned long long x = i < a.size() ? a[i] : 0;
    const unsigned long long y = i < b.size() ? b[i] : 0;
    if (x != y) return x < y ? -1 : 1;
  }
  return 0;
}

std::string UIDevice::model() const {
  return uname().machine;
}

std::string UIDevice::name() const {
  return uname().nodename;
}

}  // namespace zu
