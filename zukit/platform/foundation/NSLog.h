#pragma once

#include <string>
#include <string_view>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Format.h"

namespace zu {

// Writes one console line to standard error: "yyyy-MM-dd HH:mm:ss.SSS name[pid:tid] message",
// ending with a line feed. Lines from racing threads never interleave.
ZU_EXPORT void NSLogv(std::string_view message);

// Formats with format() (so "%@" works, for every value formatArgument() takes) and writes the
// result with NSLogv().
template <class... Args>
void NSLog(std::string_view formatText, const Args&... args) {
  NSLogv(format(formatText, args...));
}

}  // namespace zu
