#include "zukit/platform/foundation/NSBundle.h"

#include <cctype>
#include <filesystem>

#include "zukit/platform/foundation/Environment.h"
#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/foundation/NSPropertyListSerialization.h"
#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/platform/foundation/SystemInfo.h"

namespace zu {

namespace {

Dictionary defaultInfo(const std::string& executableName) {
  std::string identifierPart;
  for (char c : executableName) {
    const auto byte = static_cast<unsigned char>(c);
    identifierPart += (std::isalnum(byte) || c == '-' || c == '.') ? c : '-';
  }
  return Dictionary{{"CFBundleIdentifier", Value("org.zukit." + identifierPart)},
                    {"CFBundleName", Value(executableName)},
                    {"CFBundleExecutable", Value(executableName)},
                    {"CFBundleShortVersionString", Value("1.0")},
                    {"CFBundleVersion", Value("1")},
                    {"CFBundleInfoDictionaryVersion", Value("6.0")}};
}

}  // namespace

std::shared_ptr<NSBundle> NSBundle::mainBundle() {
  static NoDestructor<std::shared_ptr<NSBundle>> bundle([] {
    const std::string executable = zu::executablePath();
    const std::string infoPath =
        environmentValue("ZUKIT_INFO_PLIST")
            .value_or(std::filesystem::path(executable).parent_path() / "Info.plist");
    return std::make_shared<NSBundle>(executable, infoPath);
  }());
  return *bundle;
}

NSBundle::NSBundle(const std::string& executable, const std::string& infoPlistPath)
    : _executablePath(executable),
      _bundlePath(std::filesystem::path(executable).parent_path().string()) {
  if (const auto bytes = NSFileManager::defaultManager()->contentsAtPath(infoPlistPath)) {
    Value info = NSPropertyListSerialization::propertyListWithData(*bytes, 0);
    if (const Dictionary* dictionary = info.asDictionary()) {
      _info = *dictionary;
      _hasInfoFile = true;
      return;
    }
  }
  _info = defaultInfo(std::filesystem::path(executable).filename().string());
}

Value NSBundle::objectForInfoDictionaryKey(const std::string& key) const {
  return _info.objectForKey(key);
}

std::optional<std::string> NSBundle::bundleIdentifier() const {
  return validText(_info.objectForKey("CFBundleIdentifier"));
}

}  // namespace zu
