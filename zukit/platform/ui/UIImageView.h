#pragma once

#include <memory>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/runtime/RuntimeClass.h"
#include "zukit/platform/ui/UIImage.h"
#include "zukit/platform/ui/UIView.h"

namespace zu {

// A view that shows one image, stretched over its bounds. It takes no touches by default. Its
// image is UI state: it may be set on the main thread only. Reading it is safe from any thread.
class ZU_EXPORT UIImageView : public UIView {
 public:
  ZU_RUNTIME_CLASS(UIImageView, UIView)

  // A view showing nothing, with the zero frame.
  UIImageView();
  // initWithImage:: a view showing `image`, as large as the image in points.
  explicit UIImageView(std::shared_ptr<UIImage> image);

  // The image shown, or none.
  std::shared_ptr<UIImage> image() const;
  // Shows `image` (none clears the view). Main thread only: called from another thread it is
  // refused, the image stays as it was, and a console line says so.
  void setImage(std::shared_ptr<UIImage> image);

  // Draws the image over the bounds.
  void drawRect(CGContext& context, CGRect rect) const override;

 private:
  mutable Mutex _mutex;
  std::shared_ptr<UIImage> _image ZU_GUARDED_BY(_mutex);
};

}  // namespace zu
