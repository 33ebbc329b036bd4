#pragma once

#include <memory>

#include "zukit/platform/dispatch/DispatchQueue.h"
#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/network/NSURLRequest.h"
#include "zukit/platform/network/NSURLSessionConfiguration.h"
#include "zukit/platform/network/NSURLSessionDataTask.h"
#include "zukit/platform/network/NSURLSessionDownloadTask.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

class URLSessionEngine;

// An HTTP session on libcurl. Each session has its own connection pool (a curl multi handle
// and its connection cache) driven by one transfer thread, and its own serial delegate queue
// on which every completion handler runs: never the main thread. Tasks are made suspended;
// resume() starts them. Every task completes exactly once. Transport failures arrive as
// NSURLErrorDomain errors; an HTTP status of any value is a response, never an error.
// Safe to use from any thread.
class ZU_EXPORT NSURLSession final : public Object {
 public:
  ZU_RUNTIME_CLASS(NSURLSession, Object)
  // The process-wide session with the default configuration.
  static std::shared_ptr<NSURLSession> sharedSession();
  // A session with a copy of `configuration` (none: the default configuration).
  static std::shared_ptr<NSURLSession> sessionWithConfiguration(
      const std::shared_ptr<NSURLSessionConfiguration>& configuration);

  // Tasks still running when the session is released finish normally; no new task starts.
  ~NSURLSession() override;

  // A copy of the session's configuration.
  std::shared_ptr<NSURLSessionConfiguration> configuration() const;
  // The serial queue that completion handlers run on.
  const dispatch_queue_t& delegateQueue() const;

  // A data task for a copy of `request` (none: a task that fails with unsupported URL).
  std::shared_ptr<NSURLSessionDataTask> dataTaskWithRequest(
      const std::shared_ptr<NSURLRequest>& request,
      NSURLSessionDataTaskCompletionHandler completionHandler);
  // A data task for a GET of `url` with the session's cache policy and timeout.
  std::shared_ptr<NSURLSessionDataTask> dataTaskWithURL(
      const std::shared_ptr<NSURL>& url, NSURLSessionDataTaskCompletionHandler completionHandler);
  // A download task for a copy of `request`: the body goes to a temporary file that exists
  // while the completion handler runs and is removed afterwards.
  std::shared_ptr<NSURLSessionDownloadTask> downloadTaskWithRequest(
      const std::shared_ptr<NSURLRequest>& request,
      NSURLSessionDownloadTaskCompletionHandler completionHandler);
  // A download task for a GET of `url` with the session's cache policy and timeout.
  std::shared_ptr<NSURLSessionDownloadTask> downloadTaskWithURL(
      const std::shared_ptr<NSURL>& url,
      NSURLSessionDownloadTaskCompletionHandler completionHandler);

  // Lets running tasks finish; tasks resumed afterwards complete with NSURLErrorCancelled.
  void finishTasksAndInvalidate();
  // Cancels running tasks (they complete with NSURLErrorCancelled) and takes no new ones.
  void invalidateAndCancel();

  // Made by the factories only.
  class Passkey {
    friend class NSURLSession;
    Passkey() = default;
  };
  NSURLSession(Passkey /*unused*/, const std::shared_ptr<NSURLSessionConfiguration>& configuration);

 private:
  std::shared_ptr<NSURLRequest> requestFor(const std::shared_ptr<NSURLRequest>& request) const;
  std::shared_ptr<NSURLRequest> requestFor(const std::shared_ptr<NSURL>& url) const;

  const std::shared_ptr<URLSessionEngine> _engine;
};

}  // namespace zu
