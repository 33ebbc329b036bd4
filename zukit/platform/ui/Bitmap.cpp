#include "zukit/platform/ui/Bitmap.h"

#include <cairo.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>

namespace zu {

namespace {

struct SurfaceRelease {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
using SurfacePointer = std::unique_ptr<cairo_surface_t, SurfaceRelease>;

// Reads PNG bytes for cairo.
struct PngReader {
  const Data* data;
  std::size_t offset = 0;
};

cairo_status_t readPng(void* closure, unsigned char* out, unsigned int length) {
  auto* reader = static_cast<PngReader*>(closure);
  if (reader->data->size() - reader->offset < length) return CAIRO_STATUS_READ_ERROR;
  std::memcpy(out, reader->data->data() + reader->offset, length);
  reader->offset += length;
  return CAIRO_STATUS_SUCCESS;
}

cairo_status_t writePng(void* closure, const unsigned char* bytes, unsigned int length) {
  auto* out = static_cast<Data*>(closure);
  out->insert(out->end(), bytes, bytes + length);
  return CAIRO_STATUS_SUCCESS;
}

}  // namespace

std::optional<Bitmap> Bitmap::transparent(int width, int height) {
  if (width <= 0 || height <= 0) return std::nullopt;
  Bitmap bitmap;
  bitmap.width = width;
  bitmap.height = height;
  bitmap.pixels.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0);
  return bitmap;
}

std::optional<Bitmap> Bitmap::decodePNG(const Data& data) {
  PngReader reader{&data};
  const SurfacePointer surface(cairo_image_surface_create_from_png_stream(&readPng, &reader));
  if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) return std::nullopt;
  const cairo_format_t format = cairo_image_surface_get_format(surface.get());
  if (format != CAIRO_FORMAT_ARGB32 && format != CAIRO_FORMAT_RGB24) return std::nullopt;
  cairo_surface_flush(surface.get());
  std::optional<Bitmap> bitmap = transparent(cairo_image_surface_get_width(surface.get()),
                                             cairo_image_surface_get_height(surface.get()));
  if (!bitmap) return std::nullopt;
  const unsigned char* rows = cairo_image_surface_get_data(surface.get());
  const auto stride = static_cast<std::size_t>(cairo_image_surface_get_stride(surface.get()));
  const auto width = static_cast<std::size_t>(bitmap->width);
  for (std::size_t y = 0; y < static_cast<std::size_t>(bitmap->height); ++y) {
    std::uint32_t* row = bitmap->pixels.data() + y * width;
    std::memcpy(row, rows + y * stride, width * sizeof(std::uint32_t));
    if (format == CAIRO_FORMAT_RGB24) {
      for (std::size_t x = 0; x < width; ++x)
        row[x] |= 0xFF000000U;
    }
  }
  return bitmap;
}

std::optional<Data> Bitmap::encodePNG() const {
  if (width <= 0 || height <= 0 ||
      pixels.size() != static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {
    return std::nullopt;
  }
  const int stride = cairo_format_stride_for_width(CAIRO_FORMAT_ARGB32, width);
  if (stride != width * 4) return std::nullopt;
  // cairo only reads the pixels while writing them out.
  auto* bytes = const_cast<unsigned char*>(  // NOLINT(cppcoreguidelines-pro-type-const-cast)
      reinterpret_cast<
          const unsigned char*>(  // NOLINT(cppcoreguidelines-pro-type-reinterpret-cast)
          pixels.data()));
  const SurfacePointer surface(
      cairo_image_surface_create_for_data(bytes, CAIRO_FORMAT_ARGB32, width, height, stride));
  Data out;
  if (cairo_surface_write_to_png_stream(surface.get(), &writePng, &out) != CAIRO_STATUS_SUCCESS) {
    return std::nullopt;
  }
  return out;
}

Bitmap::RGBA Bitmap::colorAt(int x, int y) const {
  if (x < 0 || y < 0 || x >= width || y >= height) return {};
  const std::uint32_t pixel = pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                                     static_cast<std::size_t>(x)];
  const auto alpha = static_cast<std::uint8_t>(pixel >> 24U);
  if (alpha == 0) return {};
  const auto straight = [alpha](std::uint32_t premultiplied) {
    return static_cast<std::uint8_t>(
        std::min<std::uint32_t>(255, (premultiplied * 255 + alpha / 2) / alpha));
  };
  return RGBA{straight((pixel >> 16U) & 0xFFU), straight((pixel >> 8U) & 0xFFU),
              straight(pixel & 0xFFU), alpha};
}

}  // namespace zu
