#include "zukit/platform/foundation/NSTimeZone.h"

#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include "zukit/platform/foundation/FormattingSettings.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NoDestructor.h"

namespace zu {

namespace {

struct CurrentZone {
  Mutex mutex;
  std::shared_ptr<NSTimeZone> zone ZU_GUARDED_BY(mutex);
};

CurrentZone& current() {
  static NoDestructor<CurrentZone> state;
  return *state;
}

std::string idOf(const icu::TimeZone& zone) {
  icu::UnicodeString id;
  zone.getID(id);
  std::string name;
  id.toUTF8String(name);
  return name;
}

std::shared_ptr<NSTimeZone> systemZone() {
  std::unique_ptr<icu::TimeZone> host(icu::TimeZone::detectHostTimeZone());
  std::string name = host ? idOf(*host) : "UTC";
  if (name.empty() || name == UCAL_UNKNOWN_ZONE_ID) name = "UTC";
  return std::make_shared<NSTimeZone>(name);
}

}  // namespace

std::shared_ptr<NSTimeZone> NSTimeZone::defaultTimeZone() {
  CurrentZone& state = current();
  MutexLock lock(state.mutex);
  if (!state.zone) state.zone = systemZone();
  return state.zone;
}

std::shared_ptr<NSTimeZone> NSTimeZone::timeZoneWithName(const std::string& name) {
  std::unique_ptr<icu::TimeZone> zone(
      icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(name)));
  if (!zone || idOf(*zone) == UCAL_UNKNOWN_ZONE_ID) return nullptr;
  return std::make_shared<NSTimeZone>(idOf(*zone));
}

void NSTimeZone::setDefaultTimeZone(const std::shared_ptr<NSTimeZone>& zone) {
  if (!zone) return;
  CurrentZone& state = current();
  {
    MutexLock lock(state.mutex);
    state.zone = zone;
  }
  formattingSettingsChanged();
}

void NSTimeZone::resetSystemTimeZone() {
  CurrentZone& state = current();
  {
    MutexLock lock(state.mutex);
    state.zone = systemZone();
  }
  formattingSettingsChanged();
}

}  // namespace zu
