#pragma once

#include <memory>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/runtime/Object.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// A time zone by its IANA name ("Europe/Paris", "Asia/Shanghai", "UTC").
class ZU_EXPORT NSTimeZone final : public Object {
 public:
  ZU_RUNTIME_CLASS(NSTimeZone, Object)
  explicit NSTimeZone(std::string name) : _name(std::move(name)) {}

  // The process's current time zone: the system's (TZ, else /etc/localtime) unless
  // setDefaultTimeZone() chose another.
  static std::shared_ptr<NSTimeZone> defaultTimeZone();
  // The zone for an IANA name or "GMT+hh:mm"; none for an unknown name.
  static std::shared_ptr<NSTimeZone> timeZoneWithName(const std::string& name);
  // Makes `zone` the current time zone for everything formatted from now on. Safe from any
  // thread.
  static void setDefaultTimeZone(const std::shared_ptr<NSTimeZone>& zone);
  // Forgets a chosen zone and reads the system's again.
  static void resetSystemTimeZone();

  // The zone's name.
  const std::string& name() const { return _name; }
  std::string description() const override { return _name; }

 private:
  std::string _name;
};

}  // namespace zu
