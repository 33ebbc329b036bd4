#pragma once

#include <optional>
#include <string>

#include "zukit/platform/foundation/Dictionary.h"
#include "zukit/platform/foundation/Export.h"

// The dictionary as pretty-printed JSON text (indented, one member per line), as the platform's
// JSON writer makes it; none when the writer refuses it (a value JSON cannot hold: data, dates,
// objects, non-finite numbers, text that is not UTF-8). Callable from any thread.
ZU_EXPORT std::optional<std::string> zu_dictionaryToJson(const zu::Dictionary& dictionary);
