#pragma once

// Internal to libzukit (not installed, not exported): the delivery queue of a session.

#include <functional>

#include "zukit/platform/dispatch/DispatchExecutor.h"
#include "zukit/platform/foundation/Mutex.h"

namespace zu {

class URLSessionEngine;

// Runs the jobs of a session's delegate queue on the session's own transfer thread while that
// thread runs, and on the worker pool once it has ended. Completion handlers thus need no
// thread wake-up of their own, and a handler that starts the next request hands it to a thread
// that is already awake. Internal to the network platform.
class SessionDeliveryExecutor final : public DispatchExecutor {
 public:
  // Sends jobs to `engine` until detach().
  explicit SessionDeliveryExecutor(URLSessionEngine* engine) : _engine(engine) {}

  void post(std::function<void()> job) override;
  // From now on jobs go to the worker pool; called by the transfer thread as it ends.
  void detach();

 private:
  Mutex _mutex;
  URLSessionEngine* _engine ZU_GUARDED_BY(_mutex);
};

}  // namespace zu
