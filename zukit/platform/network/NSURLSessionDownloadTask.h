#pragma once

#include <functional>
#include <memory>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/NSURL.h"
#include "zukit/platform/network/NSURLSessionTask.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// The completion of a download task: the file URL of the downloaded body (none on error), the
// response (none on error) and the error (none on success). The file lies in
// NSTemporaryDirectory() and exists only while the handler runs: move or copy it there.
using NSURLSessionDownloadTaskCompletionHandler =
    std::function<void(std::shared_ptr<NSURL> location, std::shared_ptr<NSURLResponse> response,
                       std::shared_ptr<NSError> error)>;

// A task whose body is written to a temporary file.
class ZU_EXPORT NSURLSessionDownloadTask final : public NSURLSessionTask {
 public:
  ZU_RUNTIME_CLASS(NSURLSessionDownloadTask, NSURLSessionTask)
  bool isDownloadTask() const override { return true; }

  // Made by NSURLSession only.
  class Passkey {
    friend class NSURLSession;
    Passkey() = default;
  };
  NSURLSessionDownloadTask(Passkey /*unused*/, std::shared_ptr<URLSessionEngine> engine,
                           NSUInteger identifier, std::shared_ptr<NSURLRequest> request,
                           NSURLSessionDownloadTaskCompletionHandler completionHandler);

 protected:
  void callCompletionHandler(URLSessionTaskOutcome& outcome) override;

 private:
  // Touched only by the one delivery, on the delegate queue.
  NSURLSessionDownloadTaskCompletionHandler _completionHandler;
};

}  // namespace zu
