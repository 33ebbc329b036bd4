#include "zukit/platform/foundation/NSLocale.h"

#include <unicode/locid.h>

#include "zukit/platform/foundation/FormattingSettings.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NoDestructor.h"

namespace zu {

namespace {

struct CurrentLocale {
  Mutex mutex;
  std::shared_ptr<NSLocale> locale ZU_GUARDED_BY(mutex);
};

CurrentLocale& current() {
  static NoDestructor<CurrentLocale> state;
  return *state;
}

}  // namespace

std::shared_ptr<NSLocale> NSLocale::currentLocale() {
  CurrentLocale& state = current();
  MutexLock lock(state.mutex);
  if (!state.locale) state.locale = std::make_shared<NSLocale>(icu::Locale::getDefault().getName());
  return state.locale;
}

std::shared_ptr<NSLocale> NSLocale::localeWithLocaleIdentifier(const std::string& identifier) {
  return std::make_shared<NSLocale>(icu::Locale(identifier.c_str()).getName());
}

void NSLocale::setCurrentLocale(const std::shared_ptr<NSLocale>& locale) {
  if (!locale) return;
  CurrentLocale& state = current();
  {
    MutexLock lock(state.mutex);
    state.locale = locale;
  }
  formattingSettingsChanged();
}

}  // namespace zu
