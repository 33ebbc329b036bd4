#include "zukit/platform/ui/ImageHeader.h"

#include <array>
#include <cstring>

namespace zu {

namespace {

std::uint32_t bigEndian32(const std::uint8_t* p) {
  return (std::uint32_t{p[0]} << 24) | (std::uint32_t{p[1]} << 16) | (std::uint32_t{p[2]} << 8) |
         std::uint32_t{p[3]};
}

std::uint16_t bigEndian16(const std::uint8_t* p) {
  return static_cast<std::uint16_t>((p[0] << 8) | p[1]);
}

std::uint16_t littleEndian16(const std::uint8_t* p) {
  return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}

std::uint32_t crc32(const std::uint8_t* bytes, std::size_t length) {
  static const std::array<std::uint32_t, 256> table = [] {
    std::array<std::uint32_t, 256> entries{};
    for (std::uint32_t n = 0; n < 256; ++n) {
      std::uint32_t c = n;
      for (int k = 0; k < 8; ++k)
        c = (c & 1) != 0 ? 0xEDB88320U ^ (c >> 1) : c >> 1;
      entries[n] = c;
    }
    return entries;
  }();
  std::uint32_t c = 0xFFFFFFFFU;
  for (std::size_t i = 0; i < length; ++i)
    c = table[(c ^ bytes[i]) & 0xFF] ^ (c >> 8);
  return c ^ 0xFFFFFFFFU;
}

bool validPNGDepth(std::uint8_t colourType, std::uint8_t depth) {
  switch (colourType) {
    case 0:
      return depth == 1 || depth == 2 || depth == 4 || depth == 8 || depth == 16;
    case 3:
      return depth == 1 || depth == 2 || depth == 4 || depth == 8;
    case 2:
    case 4:
    case 6:
      return depth == 8 || depth == 16;
    default:
      return false;
  }
}

std::optional<ImageHeader> readPNG(const std::uint8_t* bytes, std::size_t length) {
  static constexpr std::uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  if (length < 8 || std::memcmp(bytes, kSignature, 8) != 0) return std::nullopt;
  std::size_t offset = 8;
  ImageHeader header{ImageFormat::PNG, 0, 0};
  bool first = true;
  while (true) {
    if (length - offset < 12) return std::nullopt;
    const std::uint32_t size = bigEndian32(bytes + offset);
    if (size > 0x7FFFFFFFU || length - offset - 12 < size) return std::nullopt;
    const std::uint8_t* type = bytes + offset + 4;
    const std::uint8_t* body = type + 4;
    if (crc32(type, size + 4) != bigEndian32(body + size)) return std::nullopt;
    if (first) {
      if (std::memcmp(type, "IHDR", 4) != 0 || size != 13) return std::nullopt;
      header.width = bigEndian32(body);
      header.height = bigEndian32(body + 4);
      const std::uint8_t depth = body[8];
      const std::uint8_t colourType = body[9];
      if (header.width == 0 || header.height == 0 || header.width > 0x7FFFFFFFU ||
          header.height > 0x7FFFFFFFU || !validPNGDepth(colourType, depth) || body[10] != 0 ||
          body[11] != 0 || body[12] > 1) {
        return std::nullopt;
      }
      first = false;
    } else if (std::memcmp(type, "IDAT", 4) == 0) {
      return header;
    } else if (std::memcmp(type, "IEND", 4) == 0) {
      return std::nullopt;  // an image without image data
    }
    offset += 12 + size;
  }
}

bool isStartOfFrame(std::uint8_t marker) {
  return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

std::optional<ImageHeader> readJPEG(const std::uint8_t* bytes, std::size_t length) {
  if (length < 4 || bytes[0] != 0xFF || bytes[1] != 0xD8) return std::nullopt;
  std::size_t offset = 2;
  std::optional<ImageHeader> frame;
  while (true) {
    if (offset >= length || bytes[offset] != 0xFF) return std::nullopt;
    while (offset < length && bytes[offset] == 0xFF)
      ++offset;  // fill bytes
    if (offset >= length) return std::nullopt;
    const std::uint8_t marker = bytes[offset++];
    if (marker == 0x00 || marker == 0xD8 || marker == 0xD9) return std::nullopt;
    if ((marker >= 0xD0 && marker <= 0xD7) || marker == 0x01) continue;  // no length
    if (length - offset < 2) return std::nullopt;
    const std::uint16_t size = bigEndian16(bytes + offset);
    if (size < 2 || length - offset < size) return std::nullopt;
    const std::uint8_t* body = bytes + offset + 2;
    if (isStartOfFrame(marker)) {
      if (frame || size < 8) return std::nullopt;
      const std::uint8_t precision = body[0];
      const std::uint16_t height = bigEndian16(body + 1);
      const std::uint16_t width = bigEndian16(body + 3);
      const std::uint8_t components = body[5];
      if ((precision != 8 && precision != 12 && precision != 16) || width == 0 || height == 0 ||
          components < 1 || components > 4 || size != 8 + 3 * components) {
        return std::nullopt;
      }
      frame = ImageHeader{ImageFormat::JPEG, width, height};
    } else if (marker == 0xDA) {
      // The scan's entropy-coded data follows: the image is there if a frame came first and
      // some data follows the scan header.
      if (!frame || size < 6 || length - offset - size == 0) return std::nullopt;
      return frame;
    }
    offset += size;
  }
}

// Skips a run of GIF data sub-blocks; false when they run past the end.
bool skipSubBlocks(const std::uint8_t* bytes, std::size_t length, std::size_t& offset) {
  while (true) {
    if (offset >= length) return false;
    const std::uint8_t size = bytes[offset++];
    if (size == 0) return true;
    if (length - offset < size) return false;
    offset += size;
  }
}

std::optional<ImageHeader> readGIF(const std::uint8_t* bytes, std::size_t length) {
  if (length < 13 ||
      (std::memcmp(bytes, "GIF87a", 6) != 0 && std::memcmp(bytes, "GIF89a", 6) != 0)) {
    return std::nullopt;
  }
  const std::uint16_t width = littleEndian16(bytes + 6);
  const std::uint16_t height = littleEndian16(bytes + 8);
  if (width == 0 || height == 0) return std::nullopt;
  const std::uint8_t packed = bytes[10];
  std::size_t offset = 13;
  if ((packed & 0x80) != 0) offset += 3 * (std::size_t{2} << (packed & 0x07));
  while (true) {
    if (offset >= length) return std::nullopt;
    const std::uint8_t introducer = bytes[offset++];
    if (introducer == 0x21) {  // extension: a label, then sub-blocks
      if (offset >= length) return std::nullopt;
      ++offset;
      if (!skipSubBlocks(bytes, length, offset)) return std::nullopt;
    } else if (introducer == 0x2C) {  // image descriptor
      if (length - offset < 9) return std::nullopt;
      const std::uint32_t left = littleEndian16(bytes + offset);
      const std::uint32_t top = littleEndian16(bytes + offset + 2);
      const std::uint32_t frameWidth = littleEndian16(bytes + offset + 4);
      const std::uint32_t frameHeight = littleEndian16(bytes + offset + 6);
      const std::uint8_t framePacked = bytes[offset + 8];
      offset += 9;
      if (frameWidth == 0 || frameHeight == 0 || left + frameWidth > width ||
          top + frameHeight > height) {
        return std::nullopt;
      }
      if ((framePacked & 0x80) != 0) offset += 3 * (std::size_t{2} << (framePacked & 0x07));
      if (offset >= length) return std::nullopt;
      const std::uint8_t codeSize = bytes[offset++];
      if (codeSize < 2 || codeSize > 11) return std::nullopt;
      if (!skipSubBlocks(bytes, length, offset)) return std::nullopt;
      return ImageHeader{ImageFormat::GIF, width, height};
    } else {
      return std::nullopt;  // the trailer before any image, or garbage
    }
  }
}

}  // namespace

std::optional<ImageHeader> readImageHeader(const std::uint8_t* bytes, std::size_t length) {
  if (bytes == nullptr || length == 0) return std::nullopt;
  switch (bytes[0]) {
    case 0x89:
      return readPNG(bytes, length);
    case 0xFF:
      return readJPEG(bytes, length);
    case 'G':
      return readGIF(bytes, length);
    default:
      return std::nullopt;
  }
}

}  // namespace zu
