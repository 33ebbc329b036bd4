#pragma once

#include <memory>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"
#include "zukit/platform/ui/Geometry.h"
#include "zukit/platform/ui/ImageHeader.h"

namespace zu {

// An image decoded from PNG, JPEG or GIF bytes. The bytes are checked far enough to know they
// hold an image of that format (see readImageHeader) and kept as they are. Immutable.
class ZU_EXPORT UIImage final : public Object {
 public:
  ZU_RUNTIME_CLASS(UIImage, Object)
  // The image in `data`, at scale 1; none when the bytes are no image of a known format.
  static std::shared_ptr<UIImage> imageWithData(const Data& data);
  // The image in `data` at `scale` pixels per point; none for non-images or a scale that is not
  // a positive number.
  static std::shared_ptr<UIImage> imageWithData(const Data& data, CGFloat scale);
  // The image in the file at `path`; none when it cannot be read or is no image.
  static std::shared_ptr<UIImage> imageWithContentsOfFile(const std::string& path);

  // The size in points: pixels divided by the scale.
  CGSize size() const;
  // Pixels per point.
  CGFloat scale() const { return _scale; }
  // The size in pixels.
  std::uint32_t pixelWidth() const { return _header.width; }
  std::uint32_t pixelHeight() const { return _header.height; }
  // The encoding the image came in.
  ImageFormat format() const { return _header.format; }
  // The encoded bytes the image was made from.
  const Data& data() const { return _data; }

  // "<UIImage: 0x...>, {width, height}".
  std::string description() const override;

  // Made by the factories only.
  class Passkey {
    friend class UIImage;
    Passkey() = default;
  };
  UIImage(Passkey /*unused*/, ImageHeader header, CGFloat scale, Data data)
      : _header(header), _scale(scale), _data(std::move(data)) {}

 private:
  const ImageHeader _header;
  const CGFloat _scale;
  const Data _data;
};

}  // namespace zu
