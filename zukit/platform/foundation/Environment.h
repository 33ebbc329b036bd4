#pragma once

// Internal to libzukit (not installed, not exported): where the library places its files.

#include <optional>
#include <string>

namespace zu {

// The value of an environment variable, when it is set and not empty.
std::optional<std::string> environmentValue(const char* name);

// The user's home directory: $HOME, else the password database's entry.
std::string homeDirectory();

// $XDG_CONFIG_HOME, else ~/.config: where preference files live.
std::string xdgConfigHome();

// $XDG_DATA_HOME, else ~/.local/share: where per-installation data and app-group containers live.
std::string xdgDataHome();

// $XDG_CACHE_HOME, else ~/.cache.
std::string xdgCacheHome();

// $TMPDIR, else /tmp; always ends with "/".
std::string temporaryDirectory();

}  // namespace zu
