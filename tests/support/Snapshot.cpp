#include "tests/support/Snapshot.h"

#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): getenv

#include <cstdint>
#include <cstdlib>
#include <filesystem>

#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/ui/Bitmap.h"
#include "zukit/platform/ui/UIView.h"
#include "zukit/platform/ui/ViewRenderer.h"

namespace zukit::test {

namespace {

constexpr int kChannelTolerance = 24;
constexpr double kDifferingShare = 0.005;

std::string referencePath(const std::string& name) {
  return std::string(ZUKIT_FIXTURES_DIR) + "/snapshots/" + name + ".png";
}

bool writeBitmap(const zu::Bitmap& bitmap, const std::string& path) {
  const std::optional<zu::Data> png = bitmap.encodePNG();
  return png && zu::NSFileManager::defaultManager()->createFileAtPath(path, &*png);
}

bool differs(const zu::Bitmap::RGBA& first, const zu::Bitmap::RGBA& second) {
  const auto apart = [](std::uint8_t a, std::uint8_t b) {
    return std::abs(static_cast<int>(a) - static_cast<int>(b)) > kChannelTolerance;
  };
  // Colour is invisible where both are (nearly) transparent.
  if (first.alpha <= kChannelTolerance && second.alpha <= kChannelTolerance) return false;
  return apart(first.red, second.red) || apart(first.green, second.green) ||
         apart(first.blue, second.blue) || apart(first.alpha, second.alpha);
}

std::uint32_t premultiplied(std::uint8_t alpha, std::uint8_t red, std::uint8_t green,
                            std::uint8_t blue) {
  const auto scale = [alpha](std::uint8_t channel) {
    return static_cast<std::uint32_t>(channel) * alpha / 255;
  };
  return (static_cast<std::uint32_t>(alpha) << 24U) | (scale(red) << 16U) | (scale(green) << 8U) |
         scale(blue);
}

}  // namespace

std::string snapshotOutputDirectory() {
  return ZUKIT_SNAPSHOT_OUTPUT_DIR;
}

::testing::AssertionResult matchesSnapshot(const zu::UIView& view, const std::string& name,
                                           zu::CGFloat scale) {
  const std::optional<zu::Bitmap> actual = zu::ViewRenderer::render(view, scale);
  if (!actual) return ::testing::AssertionFailure() << "the view drew nothing";
  std::filesystem::create_directories(snapshotOutputDirectory());
  const std::string actualPath = snapshotOutputDirectory() + "/" + name + ".png";
  writeBitmap(*actual, actualPath);

  const char* record = std::getenv("ZUKIT_RECORD_SNAPSHOTS");  // NOLINT(concurrency-mt-unsafe)
  if (record != nullptr && std::string(record) == "1") {
    std::filesystem::create_directories(std::filesystem::path(referencePath(name)).parent_path());
    if (!writeBitmap(*actual, referencePath(name))) {
      return ::testing::AssertionFailure() << "could not record " << referencePath(name);
    }
    return ::testing::AssertionSuccess() << "recorded " << referencePath(name);
  }

  const std::optional<zu::Data> bytes =
      zu::NSFileManager::defaultManager()->contentsAtPath(referencePath(name));
  const std::optional<zu::Bitmap> reference = bytes ? zu::Bitmap::decodePNG(*bytes) : std::nullopt;
  if (!reference) {
    return ::testing::AssertionFailure()
           << "no reference picture " << referencePath(name) << "; the drawing is at " << actualPath
           << " (run with ZUKIT_RECORD_SNAPSHOTS=1 to record it)";
  }
  if (reference->width != actual->width || reference->height != actual->height) {
    return ::testing::AssertionFailure()
           << "the drawing is " << actual->width << " x " << actual->height << ", the reference "
           << reference->width << " x " << reference->height << "; drawing: " << actualPath
           << ", reference: " << referencePath(name);
  }
  zu::Bitmap diff = *reference;
  std::size_t differing = 0;
  for (int y = 0; y < actual->height; ++y) {
    for (int x = 0; x < actual->width; ++x) {
      const zu::Bitmap::RGBA expected = reference->colorAt(x, y);
      const std::size_t index =
          static_cast<std::size_t>(y) * static_cast<std::size_t>(actual->width) +
          static_cast<std::size_t>(x);
      if (differs(expected, actual->colorAt(x, y))) {
        ++differing;
        diff.pixels[index] = premultiplied(255, 255, 0, 0);
      } else {
        const auto faded = static_cast<std::uint8_t>(
            (static_cast<unsigned>(expected.red) + expected.green + expected.blue) / 3 / 4 + 190);
        diff.pixels[index] = premultiplied(255, faded, faded, faded);
      }
    }
  }
  const double share =
      static_cast<double>(differing) / (static_cast<double>(actual->width) * actual->height);
  if (share <= kDifferingShare) return ::testing::AssertionSuccess();
  const std::string diffPath = snapshotOutputDirectory() + "/" + name + ".diff.png";
  writeBitmap(diff, diffPath);
  return ::testing::AssertionFailure()
         << differing << " pixels (" << share * 100 << "%) differ from " << referencePath(name)
         << "; drawing: " << actualPath << ", differences: " << diffPath;
}

}  // namespace zukit::test
