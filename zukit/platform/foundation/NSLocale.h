#pragma once

#include <memory>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/runtime/Object.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// A locale by its ICU identifier ("en_US", "ar_EG", "zh_Hans_CN").
class ZU_EXPORT NSLocale final : public Object {
 public:
  ZU_RUNTIME_CLASS(NSLocale, Object)
  explicit NSLocale(std::string identifier) : _identifier(std::move(identifier)) {}

  // The process's current locale: ICU's default (from LANG and LC_* at start) unless
  // setCurrentLocale() chose another.
  static std::shared_ptr<NSLocale> currentLocale();
  // The locale for an identifier; ICU accepts any identifier and falls back for unknown parts.
  static std::shared_ptr<NSLocale> localeWithLocaleIdentifier(const std::string& identifier);
  // Makes `locale` the current locale for everything formatted from now on. Safe from any thread.
  static void setCurrentLocale(const std::shared_ptr<NSLocale>& locale);

  // The identifier.
  const std::string& localeIdentifier() const { return _identifier; }
  std::string description() const override { return _identifier; }

 private:
  std::string _identifier;
};

}  // namespace zu
