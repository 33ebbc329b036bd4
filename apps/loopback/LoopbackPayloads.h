#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zukit::loopback {

// Bytes [start, end) of the payload pattern that the loopback servers send for /bytes and
// after the file type box of /video/mp4: byte i is the top byte of i * 2654435761 (mod 2^32).
std::vector<std::uint8_t> payloadBytes(std::size_t start, std::size_t end);

// The /video/mp4 payload of `size` bytes: an MP4 file type box, then the pattern.
std::vector<std::uint8_t> videoPayload(std::size_t size);

// The sample image of a kind ("png", "jpeg", "gif"), as in tests/fixtures/images; empty for
// other kinds.
std::span<const std::uint8_t> sampleImage(std::string_view kind);

// The media type of a sample image kind ("image/png"); empty for other kinds.
std::string sampleImageType(std::string_view kind);

}  // namespace zukit::loopback
