#include "zukit/platform/dispatch/DispatchQueue.h"

#include <exception>
#include <vector>

#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/foundation/NSLog.h"

namespace zu {

namespace {

thread_local DispatchQueue* currentQueue = nullptr;

// Marks `queue` as the running queue for a scope, restoring the previous one afterwards.
class CurrentQueueScope {
 public:
  explicit CurrentQueueScope(DispatchQueue* queue) : _previous(currentQueue) {
    currentQueue = queue;
  }
  ~CurrentQueueScope() { currentQueue = _previous; }
  CurrentQueueScope(const CurrentQueueScope&) = delete;
  CurrentQueueScope& operator=(const CurrentQueueScope&) = delete;

 private:
  DispatchQueue* _previous;
};

}  // namespace

DispatchQueue::DispatchQueue(std::string label) : _label(std::move(label)) {}

DispatchQueue::~DispatchQueue() {
  std::vector<Specific> destroyed;
  {
    MutexLock lock(_specificsMutex);
    for (const auto& entry : _specifics)
      destroyed.push_back(entry.second);
  }
  for (const Specific& specific : destroyed) {
    if (specific.destructor != nullptr) specific.destructor(specific.context);
  }
}

void DispatchQueue::setSpecific(const void* key, void* context, dispatch_function_t destructor) {
  Specific previous;
  {
    MutexLock lock(_specificsMutex);
    const auto found = _specifics.find(key);
    if (found != _specifics.end()) {
      previous = found->second;
      _specifics.erase(found);
    }
    if (context != nullptr) _specifics[key] = Specific{context, destructor};
  }
  if (previous.destructor != nullptr) previous.destructor(previous.context);
}

void* DispatchQueue::getSpecific(const void* key) const {
  MutexLock lock(_specificsMutex);
  const auto found = _specifics.find(key);
  return found == _specifics.end() ? nullptr : found->second.context;
}

DispatchQueue* DispatchQueue::current() {
  if (currentQueue != nullptr) return currentQueue;
  if (RunLoop::isMainThread()) return dispatch_get_main_queue().get();
  return nullptr;
}

bool DispatchQueue::isRunningBlock() {
  return currentQueue != nullptr;
}

std::string DispatchQueue::description() const {
  return "<" + className() + ": " + _label + ">";
}

void DispatchQueue::runBlock(const dispatch_block_t& block) {
  CurrentQueueScope scope(this);
  try {
    if (block) block();
  } catch (const std::exception& error) {
    NSLog("Uncaught exception in a block on queue \"%s\": %s", _label, error.what());
  } catch (...) {
    NSLog("Uncaught exception in a block on queue \"%s\"", _label);
  }
}

}  // namespace zu
