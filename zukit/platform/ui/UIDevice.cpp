#include "zukit/platform/ui/UIDevice.h"

#include <sstream>

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
  const std::string version = osReleaseValue(osReleaseText(), "VERSION_ID");
  return version.empty() ? uname().release : version;
}

std::string UIDevice::model() const {
  return uname().machine;
}

std::string UIDevice::name() const {
  return uname().nodename;
}

}  // namespace zu
