#pragma once

// Internal to libzukit (not installed, not exported): the formatters' cache invalidation.

#include <cstdint>

namespace zu {

// A counter that changes whenever the current locale or the default time zone changes, so that
// code caching formatters per thread can tell when its cache no longer matches the settings.
std::uint64_t formattingSettingsGeneration();

// Marks a change of the current locale or the default time zone.
void formattingSettingsChanged();

}  // namespace zu
