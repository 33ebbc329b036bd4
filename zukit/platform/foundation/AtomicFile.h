#pragma once

// Internal to libzukit (not installed, not exported): file replacement used by the stores.

#include <sys/types.h>

#include <cstdint>
#include <span>
#include <string>

namespace zu {

// Writes `bytes` to `path` through a temporary file in the same directory that then replaces
// the target with rename(2), so that a reader (in any process) sees either the whole old content
// or the whole new one. The file gets exactly `mode`. Missing directories are not created.
// Returns 0, or the errno value of the step that failed (the temporary file is then removed).
int writeFileAtomically(const std::string& path, std::span<const std::uint8_t> bytes, mode_t mode);

}  // namespace zu
