#pragma once

// Internal to libzukit (not installed, not exported): text measurement and drawing with Pango.

#include <string>

#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/ui/Geometry.h"
#include "zukit/platform/ui/UIFont.h"

namespace zu {

// The size `text` takes when drawn in `font` (as labels, buttons and CGContext::drawText draw
// it): wrapped at `maxWidth` points (0 or less: one line per paragraph, not wrapped), in at most
// `numberOfLines` lines (0: no limit). Text is laid out with Pango, without hinting, so sizes do
// not depend on the scale a picture is drawn at. Main thread only.
CGSize measureText(const std::string& text, const UIFont& font, CGFloat maxWidth,
                   NSInteger numberOfLines);

}  // namespace zu
