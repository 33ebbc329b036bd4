#include "zukit/platform/network/SessionDeliveryExecutor.h"

#include "zukit/platform/dispatch/DispatchPool.h"
#include "zukit/platform/network/URLSessionEngine.h"

namespace zu {

void SessionDeliveryExecutor::post(std::function<void()> job) {
  {
    MutexLock lock(_mutex);
    if (_engine != nullptr) {
      _engine->postDeliveryJob(std::move(job));
      return;
    }
  }
  DispatchPool::shared().post(std::move(job));
}

void SessionDeliveryExecutor::detach() {
  MutexLock lock(_mutex);
  _engine = nullptr;
}

}  // namespace zu
