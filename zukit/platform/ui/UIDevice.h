#pragma once

#include <memory>
#include <optional>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/runtime/Object.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// The device the program runs on. On Linux the system is the distribution named by
// /etc/os-release (else the kernel), and the device's name is the host name.
class ZU_EXPORT UIDevice final : public Object {
 public:
  ZU_RUNTIME_CLASS(UIDevice, Object)
  // The shared device object.
  static std::shared_ptr<UIDevice> currentDevice();

  // The system's name: NAME of os-release, else the kernel's name.
  std::string systemName() const;
  // The system's version: VERSION_ID of os-release ("12"), else the kernel release.
  std::string systemVersion() const;
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
};

// The value of `key` in an os-release file's text (quotes removed), or empty.
ZU_EXPORT std::string osReleaseValue(const std::string& text, const std::string& key);

}  // namespace zu
