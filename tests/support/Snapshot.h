#pragma once

#include <string>

#include <gtest/gtest.h>

#include "zukit/platform/ui/Geometry.h"

namespace zu {
class UIView;
}  // namespace zu

namespace zukit::test {

// Compares `view` drawn at `scale` (zu::ViewRenderer) with the reference picture
// tests/fixtures/snapshots/<name>.png. They match when they have the same size and at most 0.5%
// of the pixels differ by more than 24 (of 255) in a channel, which absorbs anti-aliasing noise
// but not a moved edge, a changed colour or missing text. Every comparison writes the picture
// drawn to <snapshotOutputDirectory()>/<name>.png; a mismatch also writes <name>.diff.png (the
// differing pixels in red over a faded reference) and names both files in the failure message.
// With ZUKIT_RECORD_SNAPSHOTS=1 in the environment the drawing becomes the new reference.
::testing::AssertionResult matchesSnapshot(const zu::UIView& view, const std::string& name,
                                           zu::CGFloat scale = 1);

// Where snapshot comparisons write the pictures they draw.
std::string snapshotOutputDirectory();

}  // namespace zukit::test
