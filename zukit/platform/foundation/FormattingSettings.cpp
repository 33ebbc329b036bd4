#include "zukit/platform/foundation/FormattingSettings.h"

#include <atomic>

namespace zu {

namespace {

std::atomic<std::uint64_t> generation{1};

}  // namespace

std::uint64_t formattingSettingsGeneration() {
  return generation.load(std::memory_order_acquire);
}

void formattingSettingsChanged() {
  generation.fetch_add(1, std::memory_order_acq_rel);
}

}  // namespace zu
