#include "zukit/network/ZuDownloadManager.h"

#include <string>
#include <utility>

#include "zukit/core/ZuConstants.h"
#include "zukit/core/ZuLogger.h"
#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/platform/network/NSMutableURLRequest.h"
#include "zukit/storage/ZuImageDiskCache.h"
#include "zukit/storage/ZuVideoDiskCache.h"

namespace {

constexpr const char* kImageFunction = "-[ZuDownloadManager downloadImageWithURL:completion:]";
constexpr const char* kVideoFunction = "-[ZuDownloadManager downloadVideoWithURL:completion:]";
constexpr zu::NSInteger kMissingURLCode = 1000;
constexpr zu::NSTimeInterval kTimeout = 60;

// The manager's own error for an absent URL; the video operation shares the image's wording.
std::shared_ptr<zu::NSError> missingURLError() {
  return zu::NSError::errorWithDomain(
      ZuErrorDomain, kMissingURLCode,
      zu::Dictionary{{zu::NSLocalizedDescriptionKey, zu::Value("Image url is nil")}});
}

void logMissingURL(const char* function, const zu::NSError& error) {
  ZuLogger::log(ZuLogLevelError, function, "code:%@\ndescripton:%@\n", zu::Value(error.code()),
                error.localizedDescription());
}

std::shared_ptr<zu::NSMutableURLRequest> downloadRequest(const std::shared_ptr<zu::NSURL>& url) {
  return zu::NSMutableURLRequest::requestWithURL(url, zu::NSURLRequestUseProtocolCachePolicy,
                                                 kTimeout);
}

}  // namespace

std::shared_ptr<ZuDownloadManager> ZuDownloadManager::sharedManager() {
  static zu::NoDestructor<std::shared_ptr<ZuDownloadManager>> instance;
  static zu::dispatch_once_t onceToken;
  zu::dispatch_once(&onceToken, [] { *instance = std::make_shared<ZuDownloadManager>(); });
  return *instance;
}

ZuDownloadManager::ZuDownloadManager()
    : _session([] {
        auto configuration = zu::NSURLSessionConfiguration::defaultSessionConfiguration();
        configuration->setAllowsCellularAccess(true);
        return zu::NSURLSession::sessionWithConfiguration(configuration);
      }()) {}

void ZuDownloadManager::downloadImageWithURL(const std::shared_ptr<zu::NSURL>& url,
                                             ZuImageDownloadCompletion completion) {
  if (!url) {
    const std::shared_ptr<zu::NSError> error = missingURLError();
    if (completion) completion(nullptr, std::nullopt, error, true);
    logMissingURL(kImageFunction, *error);
    return;
  }
  const std::string& key = url->absoluteString();
  const std::weak_ptr<ZuDownloadManager> weakSelf =
      std::static_pointer_cast<ZuDownloadManager>(weak_from_this().lock());
  ZuImageDiskCache::cache()->containsImageDataForKey(
      zu::Value(key), [&weakSelf, &url, &key, &completion](bool contained, const zu::Value&,
                                                           const std::optional<zu::Data>&) {
        const std::shared_ptr<ZuDownloadManager> self = weakSelf.lock();
        if (!self) return;
        if (!contained) {
          self->startImageTransfer(url, key, std::move(completion));
          return;
        }
        const std::optional<zu::Data> data = ZuImageDiskCache::cache()->imageDataForKey(key);
        const std::shared_ptr<zu::UIImage> image =
            data ? zu::UIImage::imageWithData(*data) : nullptr;
        if (completion) completion(image, data, nullptr, true);
      });
}

void ZuDownloadManager::startImageTransfer(const std::shared_ptr<zu::NSURL>& url,
                                           const std::string& key,
                                           ZuImageDownloadCompletion completion) {
  _session
      ->dataTaskWithRequest(
          downloadRequest(url),
          [key, completion = std::move(completion)](std::optional<zu::Data> data,
                                                    const std::shared_ptr<zu::NSURLResponse>&,
                                                    const std::shared_ptr<zu::NSError>& error) {
            if (error) {
              if (completion) completion(nullptr, std::nullopt, error, true);
              ZuLogger::log(ZuLogLevelError, kImageFunction, "code：%@ 图片下载失败：%@ url：%@",
                            zu::Value(error->code()), error->localizedDescription(), key);
              return;
            }
            if (!data) data.emplace();
            const std::shared_ptr<zu::UIImage> image = zu::UIImage::imageWithData(*data);
            if (completion) completion(image, data, nullptr, true);
            // Stored whatever the bytes are: an error page is cached like an image.
            ZuImageDiskCache::cache()->setImageData(data, zu::Value(key));
          })
      ->resume();
}

void ZuDownloadManager::downloadVideoWithURL(const std::shared_ptr<zu::NSURL>& url,
                                             ZuVideoDownloadCompletion completion) {
  if (!url) {
    const std::shared_ptr<zu::NSError> error = missingURLError();
    if (completion) completion(nullptr, error, true);
    logMissingURL(kVideoFunction, *error);
    return;
  }
  const std::string& key = url->absoluteString();
  const std::weak_ptr<ZuDownloadManager> weakSelf =
      std::static_pointer_cast<ZuDownloadManager>(weak_from_this().lock());
  ZuVideoDiskCache::cache()->containsVideoPathForKey(
      zu::Value(key), [&weakSelf, &url, &key, &completion](bool contained, const zu::Value&,
                                                           const std::shared_ptr<zu::NSURL>&) {
        const std::shared_ptr<ZuDownloadManager> self = weakSelf.lock();
        if (!self) return;
        if (!contained) {
          self->startVideoTransfer(url, key, std::move(completion));
          return;
        }
        const std::shared_ptr<zu::NSURL> path = ZuVideoDiskCache::cache()->videoPathForKey(key);
        if (completion) completion(path, nullptr, true);
      });
}

void ZuDownloadManager::startVideoTransfer(const std::shared_ptr<zu::NSURL>& url,
                                           const std::string& key,
                                           ZuVideoDownloadCompletion completion) {
  _session
      ->downloadTaskWithRequest(
          downloadRequest(url),
          [key, completion = std::move(completion)](const std::shared_ptr<zu::NSURL>& location,
                                                    const std::shared_ptr<zu::NSURLResponse>&,
                                                    const std::shared_ptr<zu::NSError>& error) {
            if (error) {
              if (completion) completion(nullptr, error, false);
              ZuLogger::log(ZuLogLevelError, kVideoFunction, "code：%@ 视频下载失败：%@ url：%@",
                            zu::Value(error->code()), error->localizedDescription(), key);
              return;
            }
            // The temporary file is removed once this handler returns: move it now.
            const std::shared_ptr<ZuVideoDiskCache> cache = ZuVideoDiskCache::cache();
            cache->setVideoPath(location, zu::Value(key));
            const std::shared_ptr<zu::NSURL> path = cache->videoPathForKey(zu::Value(key));
            if (completion) completion(path, nullptr, true);
          })
      ->resume();
}
