#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/NSURL.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/network/NSURLSession.h"
#include "zukit/platform/runtime/RuntimeClass.h"
#include "zukit/platform/ui/UIImage.h"

// Called once per image download with the decoded image (none when the bytes are no image),
// the bytes, the error (none on success) and whether the operation finished (always YES).
using ZuImageDownloadCompletion = std::function<void(
    const std::shared_ptr<zu::UIImage>& image, const std::optional<zu::Data>& data,
    const std::shared_ptr<zu::NSError>& error, bool finished)>;
// Called once per video download with the file URL the video cache gives for the URL (none on
// error), the error and whether the operation finished (NO only after a failed transfer).
using ZuVideoDownloadCompletion =
    std::function<void(const std::shared_ptr<zu::NSURL>& filePath,
                       const std::shared_ptr<zu::NSError>& error, bool finished)>;

// Fetches images and videos by URL through the disk caches: the cache key is the URL's whole
// text (query included). A cached item is answered at once, on the calling thread, before the
// call returns; anything else is downloaded (60-second timeout, the protocol's cache rules) and
// answered on the session's delivery queue, never the main thread. A download is stored in its
// cache whatever the HTTP status: an image after its callback, a video before its callback.
// Transfers are not shared: two downloads of one uncached URL fetch it twice. An absent URL
// gives a ZuErrorDomain error with code 1000, "Image url is nil", for images and videos alike.
// Failures are logged at level 5 after the callback. Callable from any thread.
class ZU_EXPORT ZuDownloadManager : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(ZuDownloadManager, zu::Object)
  // The shared manager, made on first use.
  static std::shared_ptr<ZuDownloadManager> sharedManager();

  // A manager with its own session (default configuration, cellular access allowed). Keep it
  // in a std::shared_ptr: cache lookups hold it weakly and do nothing once it is gone.
  ZuDownloadManager();

  // The HTTP session that downloads run on.
  std::shared_ptr<zu::NSURLSession> session() const { return _session; }

  // Fetches the image at `url`, from the image cache when it holds the URL.
  void downloadImageWithURL(const std::shared_ptr<zu::NSURL>& url,
                            ZuImageDownloadCompletion completion);
  // Fetches the video at `url` into the video cache. The URL handed to the callback is the one
  // videoPathForKey() names (inside the video directory), while storing places the file beside
  // that directory: the callback's URL names no file that this call wrote.
  void downloadVideoWithURL(const std::shared_ptr<zu::NSURL>& url,
                            ZuVideoDownloadCompletion completion);

 private:
  void startImageTransfer(const std::shared_ptr<zu::NSURL>& url, const std::string& key,
                          ZuImageDownloadCompletion completion);
  void startVideoTransfer(const std::shared_ptr<zu::NSURL>& url, const std::string& key,
                          ZuVideoDownloadCompletion completion);

  const std::shared_ptr<zu::NSURLSession> _session;
};
