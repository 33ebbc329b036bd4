#include "zukit/platform/network/NSURLSessionDataTask.h"

namespace zu {

NSURLSessionDataTask::NSURLSessionDataTask(Passkey /*unused*/,
                                           std::shared_ptr<URLSessionEngine> engine,
                                           NSUInteger identifier,
                                           std::shared_ptr<NSURLRequest> request,
                                           NSURLSessionDataTaskCompletionHandler completionHandler)
    : NSURLSessionTask(std::move(engine), identifier, std::move(request)),
      _completionHandler(std::move(completionHandler)) {}

void NSURLSessionDataTask::callCompletionHandler(URLSessionTaskOutcome& outcome) {
  // Let go of the handler once called: one that holds its own task would keep both alive.
  const NSURLSessionDataTaskCompletionHandler handler = std::move(_completionHandler);
  _completionHandler = nullptr;
  if (handler) handler(std::move(outcome.data), outcome.response, outcome.error);
}

}  // namespace zu
