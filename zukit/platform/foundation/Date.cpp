#include "zukit/platform/foundation/Date.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace zu {

Date Date::date() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return Date(std::chrono::duration<double>(now).count());
}

std::string Date::description() const {
  const auto whole = static_cast<std::time_t>(std::floor(_seconds));
  std::tm utc{};
  gmtime_r(&whole, &utc);
  char text[64];
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S +0000", &utc);
  return text;
}

}  // namespace zu
