#include "zukit/platform/network/NSURLSessionDownloadTask.h"

namespace zu {

NSURLSessionDownloadTask::NSURLSessionDownloadTask(
    Passkey /*unused*/, std::shared_ptr<URLSessionEngine> engine, NSUInteger identifier,
    std::shared_ptr<NSURLRequest> request,
    NSURLSessionDownloadTaskCompletionHandler completionHandler)
    : NSURLSessionTask(std::move(engine), identifier, std::move(request)),
      _completionHandler(std::move(completionHandler)) {}

void NSURLSessionDownloadTask::callCompletionHandler(URLSessionTaskOutcome& outcome) {
  // Let go of the handler once called: one that holds its own task would keep both alive.
  const NSURLSessionDownloadTaskCompletionHandler handler = std::move(_completionHandler);
  _completionHandler = nullptr;
  if (!handler) return;
  const std::shared_ptr<NSURL> location =
      outcome.filePath.empty() ? nullptr : NSURL::fileURLWithPath(outcome.filePath);
  handler(location, outcome.response, outcome.error);
}

}  // namespace zu
