#include "zukit/platform/network/NSURLSessionTask.h"

#include <unistd.h>

#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/network/NSURLError.h"
#include "zukit/platform/network/URLSessionEngine.h"

namespace zu {

namespace {

// Removes a download's temporary file when the delivery ends, however it ends.
class FileRemover {
 public:
  explicit FileRemover(const std::string& path) : _path(path) {}
  ~FileRemover() {
    if (!_path.empty()) ::unlink(_path.c_str());
  }
  FileRemover(const FileRemover&) = delete;
  FileRemover& operator=(const FileRemover&) = delete;

 private:
  const std::string& _path;
};

}  // namespace

NSURLSessionTask::NSURLSessionTask(std::shared_ptr<URLSessionEngine> engine, NSUInteger identifier,
                                   std::shared_ptr<NSURLRequest> request)
    : _engine(std::move(engine)), _identifier(identifier), _request(std::move(request)) {}

NSURLSessionTask::~NSURLSessionTask() = default;

std::shared_ptr<NSURLResponse> NSURLSessionTask::response() const {
  MutexLock lock(_mutex);
  return _response;
}

std::shared_ptr<NSError> NSURLSessionTask::error() const {
  MutexLock lock(_mutex);
  return _error;
}

NSURLSessionTaskState NSURLSessionTask::state() const {
  MutexLock lock(_mutex);
  return _state;
}

void NSURLSessionTask::resume() {
  auto self = std::static_pointer_cast<NSURLSessionTask>(shared_from_this());
  bool accepted = false;
  {
    MutexLock lock(_mutex);
    if (_state != NSURLSessionTaskStateSuspended) return;
    _state = NSURLSessionTaskStateRunning;
    // Handed over under the lock, so that a cancel() seeing "running" always reaches the
    // transfer thread after the task itself.
    accepted = _engine->start(self);
  }
  if (!accepted) {
    // The session was invalidated: nothing more is loaded.
    finish({nullptr, NSURLErrorMake(NSURLErrorCancelled, _request->URL()), std::nullopt, {}});
  }
}

void NSURLSessionTask::cancel() {
  bool started = false;
  {
    MutexLock lock(_mutex);
    if (_state == NSURLSessionTaskStateCanceling || _state == NSURLSessionTaskStateCompleted) {
      return;
    }
    started = _state == NSURLSessionTaskStateRunning;
    _state = NSURLSessionTaskStateCanceling;
  }
  if (started) {
    _engine->cancel(_identifier);
  } else {
    finish({nullptr, NSURLErrorMake(NSURLErrorCancelled, _request->URL()), std::nullopt, {}});
  }
}

bool NSURLSessionTask::finish(URLSessionTaskOutcome outcome) {
  {
    MutexLock lock(_mutex);
    if (_state == NSURLSessionTaskStateCompleted) {
      if (!outcome.filePath.empty()) ::unlink(outcome.filePath.c_str());
      return false;
    }
    _state = NSURLSessionTaskStateCompleted;
    _response = outcome.response;
    _error = outcome.error;
  }
  auto self = std::static_pointer_cast<NSURLSessionTask>(shared_from_this());
  dispatch_async(_engine->delegateQueue(),
                 [self, outcome = std::move(outcome)]() mutable { self->deliver(outcome); });
  return true;
}

void NSURLSessionTask::deliver(URLSessionTaskOutcome& outcome) {
  const FileRemover remover(outcome.filePath);
  callCompletionHandler(outcome);
}

}  // namespace zu
