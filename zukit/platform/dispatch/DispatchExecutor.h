#pragma once

#include <functional>

#include "zukit/platform/foundation/Export.h"

namespace zu {

// Something that runs jobs: the worker pool, or a thread's run loop.
class ZU_EXPORT DispatchExecutor {
 public:
  virtual ~DispatchExecutor() = default;
  // Runs `job` later on one of the executor's threads. Safe from any thread.
  virtual void post(std::function<void()> job) = 0;

 protected:
  DispatchExecutor() = default;
  DispatchExecutor(const DispatchExecutor&) = default;
  DispatchExecutor& operator=(const DispatchExecutor&) = default;
};

}  // namespace zu
