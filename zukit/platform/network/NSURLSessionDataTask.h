#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/network/NSURLSessionTask.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// The completion of a data task: the body (none on error), the response (none on error) and
// the error (none on success). An HTTP status of any value is a success.
using NSURLSessionDataTaskCompletionHandler =
    std::function<void(std::optional<Data> data, std::shared_ptr<NSURLResponse> response,
                       std::shared_ptr<NSError> error)>;

// A task whose body is collected in memory.
class ZU_EXPORT NSURLSessionDataTask final : public NSURLSessionTask {
 public:
  ZU_RUNTIME_CLASS(NSURLSessionDataTask, NSURLSessionTask)
  bool isDownloadTask() const override { return false; }

  // Made by NSURLSession only.
  class Passkey {
    friend class NSURLSession;
    Passkey() = default;
  };
  NSURLSessionDataTask(Passkey /*unused*/, std::shared_ptr<URLSessionEngine> engine,
                       NSUInteger identifier, std::shared_ptr<NSURLRequest> request,
                       NSURLSessionDataTaskCompletionHandler completionHandler);

 protected:
  void callCompletionHandler(URLSessionTaskOutcome& outcome) override;

 private:
  // Touched only by the one delivery, on the delegate queue.
  NSURLSessionDataTaskCompletionHandler _completionHandler;
};

}  // namespace zu
