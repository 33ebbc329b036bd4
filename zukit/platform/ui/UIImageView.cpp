#include "zukit/platform/ui/UIImageView.h"

#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/foundation/NSLog.h"

namespace zu {

std::shared_ptr<UIImage> UIImageView::image() const {
  MutexLock lock(_mutex);
  return _image;
}

void UIImageView::setImage(std::shared_ptr<UIImage> image) {
  if (!RunLoop::isMainThread()) {
    NSLog("-[UIImageView setImage:] must be called on the main thread; the image was not changed");
    return;
  }
  MutexLock lock(_mutex);
  _image = std::move(image);
}

}  // namespace zu
