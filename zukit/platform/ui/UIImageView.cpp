#include "zukit/platform/ui/UIImageView.h"

#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/foundation/NSLog.h"
#include "zukit/platform/ui/CGContext.h"

namespace zu {

UIImageView::UIImageView() {
  initUserInteractionEnabled(false);
}

UIImageView::UIImageView(std::shared_ptr<UIImage> image)
    : UIView(image ? CGRect{CGPointZero, image->size()} : CGRectZero), _image(std::move(image)) {
  initUserInteractionEnabled(false);
}

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

void UIImageView::drawRect(CGContext& context, CGRect rect) const {
  if (const std::shared_ptr<UIImage> shown = image()) context.drawImage(*shown, rect);
}

}  // namespace zu
