#pragma once

#include <memory>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// The running program's identity. Its information dictionary is read (with libplist) from the
// file named by $ZUKIT_INFO_PLIST, else from "Info.plist" beside the executable. Without such a
// file these defaults stand in: CFBundleIdentifier "org.zukit.<executable name>",
// CFBundleName and CFBundleExecutable the executable name, CFBundleShortVersionString "1.0",
// CFBundleVersion "1".
class ZU_EXPORT NSBundle final : public Object {
 public:
  ZU_RUNTIME_CLASS(NSBundle, Object)
  // The running program's bundle, read once.
  static std::shared_ptr<NSBundle> mainBundle();

  // The bundle of `executable`, with its information dictionary from `infoPlistPath` (or the
  // defaults when that file is missing or unreadable).
  NSBundle(const std::string& executable, const std::string& infoPlistPath);

  // The information dictionary.
  const Dictionary& infoDictionary() const { return _info; }
  // One entry of the information dictionary; absent when missing.
  Value objectForInfoDictionaryKey(const std::string& key) const;
  // CFBundleIdentifier, or none.
  std::optional<std::string> bundleIdentifier() const;
  // The directory holding the executable.
  const std::string& bundlePath() const { return _bundlePath; }
  // The executable.
  const std::string& executablePath() const { return _executablePath; }
  // True when the information dictionary came from a file rather than the defaults.
  bool hasInfoFile() const { return _hasInfoFile; }

 private:
  std::string _executablePath;
  std::string _bundlePath;
  Dictionary _info;
  bool _hasInfoFile = false;
};

}  // namespace zu
