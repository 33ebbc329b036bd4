#include "tests/support/SessionTasks.h"

#include <mutex>

#include "tests/support/MainLoop.h"
#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/foundation/NSFileManager.h"

namespace zukit::test {

namespace {

struct Shared {
  std::mutex mutex;
  TaskResult result;
};

TaskResult await(const std::shared_ptr<Shared>& shared) {
  waitUntil([&] {
    const std::lock_guard<std::mutex> lock(shared->mutex);
    return shared->result.calls > 0;
  });
  const std::lock_guard<std::mutex> lock(shared->mutex);
  return shared->result;
}

void noteWhere(TaskResult& result) {
  ++result.calls;
  result.onMainThread = zu::RunLoop::isMainThread();
  result.queueLabel = zu::dispatch_queue_get_label(zu::DISPATCH_CURRENT_QUEUE_LABEL);
}

}  // namespace

std::string TaskResult::text() const {
  return data ? std::string(data->begin(), data->end()) : std::string();
}

std::shared_ptr<zu::NSHTTPURLResponse> TaskResult::http() const {
  return std::dynamic_pointer_cast<zu::NSHTTPURLResponse>(response);
}

TaskResult runDataTask(const std::shared_ptr<zu::NSURLSession>& session,
                       const std::shared_ptr<zu::NSURLRequest>& request) {
  auto shared = std::make_shared<Shared>();
  session
      ->dataTaskWithRequest(
          request,
          [shared](std::optional<zu::Data> data, std::shared_ptr<zu::NSURLResponse> response,
                   std::shared_ptr<zu::NSError> error) {
            const std::lock_guard<std::mutex> lock(shared->mutex);
            noteWhere(shared->result);
            shared->result.data = std::move(data);
            shared->result.response = std::move(response);
            shared->result.error = std::move(error);
          })
      ->resume();
  return await(shared);
}

TaskResult fetch(const std::shared_ptr<zu::NSURLSession>& session, const std::string& url) {
  return runDataTask(session, zu::NSURLRequest::requestWithURL(zu::NSURL::URLWithString(url)));
}

TaskResult runDownloadTask(const std::shared_ptr<zu::NSURLSession>& session,
                           const std::shared_ptr<zu::NSURLRequest>& request) {
  auto shared = std::make_shared<Shared>();
  session
      ->downloadTaskWithRequest(
          request,
          [shared](std::shared_ptr<zu::NSURL> location, std::shared_ptr<zu::NSURLResponse> response,
                   std::shared_ptr<zu::NSError> error) {
            const std::lock_guard<std::mutex> lock(shared->mutex);
            noteWhere(shared->result);
            if (location) {
              shared->result.fileContents =
                  zu::NSFileManager::defaultManager()->contentsAtPath(location->path());
            }
            shared->result.location = std::move(location);
            shared->result.response = std::move(response);
            shared->result.error = std::move(error);
          })
      ->resume();
  return await(shared);
}

std::shared_ptr<zu::NSURLSession> makeTestSession() {
  auto configuration = zu::NSURLSessionConfiguration::defaultSessionConfiguration();
  configuration->setURLCache(std::make_shared<zu::NSURLCache>(1024 * 1024));
  return zu::NSURLSession::sessionWithConfiguration(configuration);
}

}  // namespace zukit::test
