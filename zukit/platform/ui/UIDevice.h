#pragma once

#include <memory>
#include <optional>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// The device the program runs on. On Linux the system is the distribution named by
// /etc/os-release (else the kernel), and the device's name is the host name. The system version
// is the running release that version-dependent code compares with (the navigation lookups
// compare it with 13.0.0); a host or test may set it. Safe from any thread.
class ZU_EXPORT UIDevice final : public Object {
 public:
  ZU_RUNTIME_CLASS(UIDevice, Object)

  // The shared device object.
  static std::shared_ptr<UIDevice> currentDevice();

  // The system's name: NAME of os-release, else the kernel's name.
  std::string systemName() const;
  // The system's version: the one set with setSystemVersion(), else VERSION_ID of os-release
  // ("12"), else the kernel release.
  std::string systemVersion() const;
  // Makes systemVersion() answer `version` from now on, as if the program ran on that release;
  // none returns to the system's own.
  void setSystemVersion(std::optional<std::string> version);
  // True when systemVersion() is `version` or later, compared numerically part by part
  // (compareVersions()).
  bool systemVersionIsAtLeast(const std::string& version) const;
  // The hardware model identifier, as uname reports it ("x86_64").
  std::string model() const;
  // The device's name: the host name.
  std::string name() const;
  // The identifier of this installation for the app's vendor (the bundle identifier without its
  // last component, "cn.com.quorvel" for "cn.com.quorvel.ZuKitDemo"): a random UUID as 36
  // upper-case characters, made on first use and kept in
  // $XDG_DATA_HOME/zukit/vendor-identifiers/<vendor>, so that it is the same on every launch
  // and for every app of the vendor; racing first launches agree on one. None when it can be
  // neither read nor stored.
  std::optional<std::string> identifierForVendor() const;

 private:
  mutable Mutex _mutex;
  std::optional<std::string> _systemVersion ZU_GUARDED_BY(_mutex);
};

// Compares two dotted version texts numerically, part by part, a missing part counting as 0
// and each part read up to its first non-digit ("13" equals "13.0.0", "12.4.1" is before
// "13.0", "6.1.0-18-amd64" reads as 6.1.0): -1, 0 or 1.
ZU_EXPORT int compareVersions(const std::string& first, const std::string& second);

// The value of `key` in an os-release file's text (quotes removed), or empty.
ZU_EXPORT std::string osReleaseValue(const std::string& text, const std::string& key);

}  // namespace zu
