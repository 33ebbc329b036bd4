#pragma once

#include <memory>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/runtime/RuntimeClass.h"
#include "zukit/platform/ui/UIImage.h"

namespace zu {

// A view that shows one image. Its image is UI state: it may be set on the main thread only.
// Reading it is safe from any thread.
class ZU_EXPORT UIImageView final : public Object {
 public:
  ZU_RUNTIME_CLASS(UIImageView, Object)
  // A view showing nothing.
  UIImageView() = default;
  // A view showing `image`.
  explicit UIImageView(std::shared_ptr<UIImage> image) : _image(std::move(image)) {}

  // The image shown, or none.
  std::shared_ptr<UIImage> image() const;
  // Shows `image` (none clears the view). Main thread only: called from another thread it is
  // refused, the image stays as it was, and a console line says so.
  void setImage(std::shared_ptr<UIImage> image);

 private:
  mutable Mutex _mutex;
  std::shared_ptr<UIImage> _image ZU_GUARDED_BY(_mutex);
};

}  // namespace zu
