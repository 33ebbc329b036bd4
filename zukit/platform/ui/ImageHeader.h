#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "zukit/platform/foundation/Export.h"

namespace zu {

// The encodings an image can be decoded from.
enum class ImageFormat : std::uint8_t { PNG, JPEG, GIF };

// What the structure of an encoded image says: its format and size in pixels.
struct ZU_EXPORT ImageHeader {
  ImageFormat format = ImageFormat::PNG;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};

// Reads an encoded image far enough to know that it is one and how large it is; none for
// anything else (unknown signatures, truncated or corrupt structure, zero sizes):
// - PNG: the signature, an IHDR chunk first with valid fields and checksum, and chunks with
//   valid checksums up to the first image data chunk;
// - JPEG: the start-of-image marker, marker segments that fit, a start-of-frame with valid
//   precision, size and components, followed by a start-of-scan;
// - GIF: the GIF87a/GIF89a signature, a non-empty logical screen, its colour table, and
//   extension blocks up to an image descriptor that lies inside the screen, with its data.
ZU_EXPORT std::optional<ImageHeader> readImageHeader(const std::uint8_t* bytes, std::size_t length);

}  // namespace zu
