#include "zukit/platform/network/NSURLSession.h"

#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/platform/network/NSMutableURLRequest.h"
#include "zukit/platform/network/URLSessionEngine.h"

namespace zu {

std::shared_ptr<NSURLSession> NSURLSession::sharedSession() {
  static NoDestructor<std::shared_ptr<NSURLSession>> shared(
      std::make_shared<NSURLSession>(Passkey(), nullptr));
  return *shared;
}

std::shared_ptr<NSURLSession> NSURLSession::sessionWithConfiguration(
    const std::shared_ptr<NSURLSessionConfiguration>& configuration) {
  return std::make_shared<NSURLSession>(Passkey(), configuration);
}

NSURLSession::NSURLSession(Passkey /*unused*/,
                           const std::shared_ptr<NSURLSessionConfiguration>& configuration)
    : _engine(URLSessionEngine::create(
          configuration ? configuration
                        : NSURLSessionConfiguration::defaultSessionConfiguration())) {}

NSURLSession::~NSURLSession() {
  _engine->invalidate(false);
}

std::shared_ptr<NSURLSessionConfiguration> NSURLSession::configuration() const {
  return _engine->configuration().copy();
}

const dispatch_queue_t& NSURLSession::delegateQueue() const {
  return _engine->delegateQueue();
}

std::shared_ptr<NSURLRequest> NSURLSession::requestFor(
    const std::shared_ptr<NSURLRequest>& request) const {
  return request ? request->copy() : NSURLRequest::requestWithURL(nullptr);
}

std::shared_ptr<NSURLRequest> NSURLSession::requestFor(const std::shared_ptr<NSURL>& url) const {
  auto request = NSMutableURLRequest::requestWithURL(url);
  request->setCachePolicy(_engine->configuration().requestCachePolicy());
  return request->copy();
}

std::shared_ptr<NSURLSessionDataTask> NSURLSession::dataTaskWithRequest(
    const std::shared_ptr<NSURLRequest>& request,
    NSURLSessionDataTaskCompletionHandler completionHandler) {
  return std::make_shared<NSURLSessionDataTask>(NSURLSessionDataTask::Passkey(), _engine,
                                                _engine->nextTaskIdentifier(), requestFor(request),
                                                std::move(completionHandler));
}

std::shared_ptr<NSURLSessionDataTask> NSURLSession::dataTaskWithURL(
    const std::shared_ptr<NSURL>& url, NSURLSessionDataTaskCompletionHandler completionHandler) {
  return std::make_shared<NSURLSessionDataTask>(NSURLSessionDataTask::Passkey(), _engine,
                                                _engine->nextTaskIdentifier(), requestFor(url),
                                                std::move(completionHandler));
}

std::shared_ptr<NSURLSessionDownloadTask> NSURLSession::downloadTaskWithRequest(
    const std::shared_ptr<NSURLRequest>& request,
    NSURLSessionDownloadTaskCompletionHandler completionHandler) {
  return std::make_shared<NSURLSessionDownloadTask>(
      NSURLSessionDownloadTask::Passkey(), _engine, _engine->nextTaskIdentifier(),
      requestFor(request), std::move(completionHandler));
}

std::shared_ptr<NSURLSessionDownloadTask> NSURLSession::downloadTaskWithURL(
    const std::shared_ptr<NSURL>& url,
    NSURLSessionDownloadTaskCompletionHandler completionHandler) {
  return std::make_shared<NSURLSessionDownloadTask>(NSURLSessionDownloadTask::Passkey(), _engine,
                                                    _engine->nextTaskIdentifier(), requestFor(url),
                                                    std::move(completionHandler));
}

void NSURLSession::finishTasksAndInvalidate() {
  _engine->invalidate(false);
}

void NSURLSession::invalidateAndCancel() {
  _engine->invalidate(true);
}

}  // namespace zu
