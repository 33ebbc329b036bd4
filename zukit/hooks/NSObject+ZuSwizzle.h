#pragma once

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/runtime/Runtime.h"

// Exchanges, for instances of `cls`, the implementations of `originalSel` and `replacedSel`.
// When `cls` only inherits `originalSel`, it first gains its own entry for `originalSel` running
// the replacement, and the exchange then still swaps with the inherited entry: the superclass's
// method runs the replacement too, and `replacedSel` runs the inherited original. Nothing is
// logged; a missing class or method makes the corresponding step change nothing.
ZU_EXPORT void zu_exchangeOriginalSel(zu::Class* cls, zu::SEL originalSel, zu::SEL replacedSel);
