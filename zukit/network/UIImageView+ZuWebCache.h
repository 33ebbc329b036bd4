#pragma once

#include <memory>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/NSURL.h"
#include "zukit/platform/ui/UIImageView.h"

// The URL the image view was last asked to show, or none. Kept as an associated object of the
// view (key: the selector "zu_imageURL", held strongly). Callable from any thread.
ZU_EXPORT std::shared_ptr<zu::NSURL> zu_imageURL(const std::shared_ptr<zu::UIImageView>& imageView);
// Replaces the view's URL; none removes it. Sets nothing else.
ZU_EXPORT void setZu_imageURL(const std::shared_ptr<zu::UIImageView>& imageView,
                              const std::shared_ptr<zu::NSURL>& url);
// Remembers `url` as the view's URL, then loads the image through the shared download manager
// and shows it on the main queue: at once when the download answers there (a cached image asked
// for on the main thread), else in a block posted to it. The view is held weakly until the
// download answers: a view released meanwhile is simply not updated. No URL clears the view's URL
// and leaves its image; a failed download or bytes that are no image leave the image too. The URL
// is not compared when the download completes: of several URLs given in turn, the download that
// completes last shows its image.
ZU_EXPORT void zu_setImageWithURL(const std::shared_ptr<zu::UIImageView>& imageView,
                                  const std::shared_ptr<zu::NSURL>& url);
