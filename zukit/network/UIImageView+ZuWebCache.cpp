#include "zukit/network/UIImageView+ZuWebCache.h"
#include "zukit/network/ZuDownloadManager.h"
#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/runtime/AssociatedObjects.h"
#include "zukit/platform/runtime/Selector.h"

namespace {

const void* imageURLKey() {
  static const zu::SEL key = zu::sel_registerName("zu_imageURL");
  return key;
}

// True while a block of the main queue runs; labels are compared as pointers, so it is the
// main queue itself, not a queue that shares its name.
bool onMainQueue() {
  return zu::dispatch_queue_get_label(zu::DISPATCH_CURRENT_QUEUE_LABEL) ==
         zu::dispatch_queue_get_label(zu::dispatch_get_main_queue());
}

}  // namespace

std::shared_ptr<zu::NSURL> zu_imageURL(const std::shared_ptr<zu::UIImageView>& imageView) {
  if (!imageView) return nullptr;
  return zu::objc_getAssociatedObject(imageView, imageURLKey()).asObject<zu::NSURL>();
}

void setZu_imageURL(const std::shared_ptr<zu::UIImageView>& imageView,
                    const std::shared_ptr<zu::NSURL>& url) {
  if (!imageView) return;
  zu::objc_setAssociatedObject(imageView, imageURLKey(), zu::Value(url),
                               zu::OBJC_ASSOCIATION_RETAIN_NONATOMIC);
}

void zu_setImageWithURL(const std::shared_ptr<zu::UIImageView>& imageView,
                        const std::shared_ptr<zu::NSURL>& url) {
  if (!imageView) return;
  setZu_imageURL(imageView, url);
  if (!url) return;
  const std::weak_ptr<zu::UIImageView> weakView = imageView;
  ZuDownloadManager::sharedManager()->downloadImageWithURL(
      url, [weakView](const std::shared_ptr<zu::UIImage>& image, const std::optional<zu::Data>&,
                      const std::shared_ptr<zu::NSError>&, bool) {
        std::shared_ptr<zu::UIImageView> view = weakView.lock();
        if (!view || !image) return;
        if (onMainQueue()) {
          view->setImage(image);
          return;
        }
        zu::dispatch_async(zu::dispatch_get_main_queue(),
                           [view = std::move(view), image] { view->setImage(image); });
      });
}
