#pragma once

#include <memory>
#include <string>

#include "zukit/platform/runtime/Object.h"

namespace zu {

// The device the program runs on. On Linux the system is the distribution named by
// /etc/os-release (else the kernel), and the device's name is the host name.
class UIDevice final : public Object {
 public:
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
};

// The value of `key` in an os-release file's text (quotes removed), or empty.
std::string osReleaseValue(const std::string& text, const std::string& key);

}  // namespace zu
