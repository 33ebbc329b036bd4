#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NSError.h"
#include "zukit/platform/network/NSURLRequest.h"
#include "zukit/platform/network/NSURLResponse.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

class URLSessionEngine;

// Where a task is in its life.
enum NSURLSessionTaskState : NSInteger {
  NSURLSessionTaskStateRunning = 0,
  NSURLSessionTaskStateSuspended = 1,
  NSURLSessionTaskStateCanceling = 2,
  NSURLSessionTaskStateCompleted = 3,
};

// What a finished transfer hands its task.
struct ZU_EXPORT URLSessionTaskOutcome {
  std::shared_ptr<NSURLResponse> response;
  std::shared_ptr<NSError> error;
  // The body of a data task that succeeded.
  std::optional<Data> data;
  // The temporary file of a download task that succeeded; removed after the handler.
  std::string filePath;
};

// One transfer of a session. Made suspended; resume() starts it. Its completion handler runs
// exactly once, on the session's delegate queue, whether the transfer succeeds, fails, times
// out or is cancelled. Safe to use from any thread.
class ZU_EXPORT NSURLSessionTask : public Object {
 public:
  ZU_RUNTIME_CLASS(NSURLSessionTask, Object)
  ~NSURLSessionTask() override;

  // The task's number, unique within its session.
  NSUInteger taskIdentifier() const { return _identifier; }
  // The request as the task was made with it (a copy).
  const std::shared_ptr<NSURLRequest>& originalRequest() const { return _request; }
  // The response, once the task has completed with one.
  std::shared_ptr<NSURLResponse> response() const;
  // The error, once the task has completed with one.
  std::shared_ptr<NSError> error() const;
  // The task's state.
  NSURLSessionTaskState state() const;
  // Body bytes received so far.
  std::int64_t countOfBytesReceived() const { return _bytesReceived.load(); }

  // Starts a suspended task; does nothing once it was started or cancelled.
  void resume();
  // Cancels the task: it completes with NSURLErrorCancelled unless it has already completed.
  void cancel();

  // True for download tasks, whose body goes to a temporary file.
  virtual bool isDownloadTask() const = 0;

 protected:
  NSURLSessionTask(std::shared_ptr<URLSessionEngine> engine, NSUInteger identifier,
                   std::shared_ptr<NSURLRequest> request);
  // Calls the completion handler once with the outcome, then lets it go.
  virtual void callCompletionHandler(URLSessionTaskOutcome& outcome) = 0;

 private:
  friend class URLSessionEngine;

  // Marks the task completed with `outcome` and queues its completion handler on the delegate
  // queue; false (and nothing queued, a download's file removed) when it had already
  // completed.
  bool finish(URLSessionTaskOutcome outcome);
  // Counts received body bytes (on the transfer thread).
  void addBytesReceived(std::size_t count) { _bytesReceived += static_cast<std::int64_t>(count); }
  void deliver(URLSessionTaskOutcome& outcome);

  const std::shared_ptr<URLSessionEngine> _engine;
  const NSUInteger _identifier;
  const std::shared_ptr<NSURLRequest> _request;
  std::atomic<std::int64_t> _bytesReceived{0};
  mutable Mutex _mutex;
  NSURLSessionTaskState _state ZU_GUARDED_BY(_mutex) = NSURLSessionTaskStateSuspended;
  std::shared_ptr<NSURLResponse> _response ZU_GUARDED_BY(_mutex);
  std::shared_ptr<NSError> _error ZU_GUARDED_BY(_mutex);
};

}  // namespace zu
