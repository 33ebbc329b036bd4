#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"

namespace zu {

// The pixels of a picture: `width` x `height` pixels, row after row from the top, each a 32-bit
// premultiplied ARGB value (alpha in the high byte), the drawing engine's own layout.
struct ZU_EXPORT Bitmap {
  // One pixel's colour with straight (not premultiplied) components, 0 to 255.
  struct RGBA {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t alpha = 0;
    bool operator==(const RGBA&) const = default;
  };

  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> pixels;

  // A transparent picture of `width` x `height` (none when either is not positive).
  static std::optional<Bitmap> transparent(int width, int height);
  // The pixels of PNG bytes; none for bytes that are not a PNG image the decoder reads.
  static std::optional<Bitmap> decodePNG(const Data& data);
  // The picture as PNG bytes; none for an empty picture.
  std::optional<Data> encodePNG() const;

  // The colour at (x, y), transparent outside the picture.
  RGBA colorAt(int x, int y) const;
};

}  // namespace zu
