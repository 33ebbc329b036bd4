#include "zukit/platform/ui/UIImage.h"

#include <cmath>

#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/foundation/NSFileManager.h"

namespace zu {

std::shared_ptr<UIImage> UIImage::imageWithData(const Data& data) {
  return imageWithData(data, 1);
}

std::shared_ptr<UIImage> UIImage::imageWithData(const Data& data, CGFloat scale) {
  if (!(scale > 0) || !std::isfinite(scale)) return nullptr;
  const std::optional<ImageHeader> header = readImageHeader(data.data(), data.size());
  if (!header) return nullptr;
  return std::make_shared<UIImage>(Passkey(), *header, scale, data);
}

std::shared_ptr<UIImage> UIImage::imageWithContentsOfFile(const std::string& path) {
  const std::optional<Data> data = NSFileManager::defaultManager()->contentsAtPath(path);
  return data ? imageWithData(*data) : nullptr;
}

CGSize UIImage::size() const {
  return CGSizeMake(_header.width / _scale, _header.height / _scale);
}

std::string UIImage::description() const {
  const CGSize points = size();
  return zu::format("<UIImage: %p>, {%g, %g}", static_cast<const void*>(this), points.width,
                    points.height);
}

}  // namespace zu
