#include "zukit/platform/dispatch/ConcurrentDispatchQueue.h"

namespace zu {

ConcurrentDispatchQueue::ConcurrentDispatchQueue(std::string label, DispatchExecutor& executor)
    : DispatchQueue(std::move(label)), _executor(executor) {}

void ConcurrentDispatchQueue::async(dispatch_block_t block) {
  auto self = std::static_pointer_cast<ConcurrentDispatchQueue>(shared_from_this());
  _executor.post([self = std::move(self), block = std::move(block)] { self->runBlock(block); });
}

void ConcurrentDispatchQueue::sync(dispatch_block_t block) {
  runBlock(block);
}

}  // namespace zu
