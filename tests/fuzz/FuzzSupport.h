#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "zukit/platform/foundation/Value.h"

// Helpers shared by the libFuzzer harnesses.
namespace zukit::fuzz {

// Points HOME and the XDG_* variables at a fresh temporary directory (removed at exit), and
// fixes the time zone (UTC) and locale (C) so that the oracles do not depend on the machine.
// Call from LLVMFuzzerInitialize, before any library call.
void useTemporaryHome();

// The home made by useTemporaryHome().
const std::string& temporaryHome();

// Ends the run with `what` on standard error when `condition` is false: an oracle found a
// fault, which libFuzzer then reports with the input that caused it.
void check(bool condition, const char* what);

// The input as text, byte for byte.
std::string textOf(const std::uint8_t* data, std::size_t size);

// The whole content of the file at `path`; none when it cannot be read.
std::optional<std::string> readWholeFile(const std::string& path);

// Replaces `path` with `bytes` the way stores do (a new file renamed over the old one), so that
// a reader sees a file with a new identity.
void replaceFile(const std::string& path, const std::string& bytes);

// The binary property list of `value`, for comparisons that must treat NaN as equal to itself;
// "<unwritable>" when it cannot be written.
std::string canonicalBytes(const zu::Value& value);

}  // namespace zukit::fuzz
