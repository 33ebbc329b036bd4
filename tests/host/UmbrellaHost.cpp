// A host program as an SDK would write it: one include, the umbrella header, and libzukit.so.
// It also defines a function of its own named like an internal function of the library, which
// must stay the host's: the library keeps calling its own.

#include <cstdio>

#include "zukit/ZuKit.h"

namespace {

int hostCalls = 0;

}  // namespace

// The host's own function, named and typed like the library's internal one.
zu::dispatch_queue_t getSerialQueue(void* /*tag*/) {
  ++hostCalls;
  return nullptr;
}

int main() {
  // The serial queue: the block runs on the library's queue whatever the host calls its own
  // functions.
  const auto ran = zu::dispatch_semaphore_create(0);
  ZuDispatchQueueManager::dispatchInSerialQueue(QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD,
                                                [ran] { ran->signal(); });
  const bool serialRan =
      zu::dispatch_semaphore_wait(
          ran, zu::dispatch_time(zu::DISPATCH_TIME_NOW,
                                 10 * static_cast<std::int64_t>(zu::NSEC_PER_SEC))) == 0;
  std::printf("serial queue: %s\n", serialRan ? "ran" : "dropped");
  std::printf("host getSerialQueue calls: %d\n", hostCalls + (getSerialQueue(nullptr) ? 1 : 0));

  // A few names from other corners of the interface.
  ZuLogger::log(ZuLogLevelLog, __PRETTY_FUNCTION__, "host %@", std::string("started"));
  const auto encoded = ZuUtils::base64Encode(zu::Value("ZuKit"));
  std::printf("base64: %s\n", encoded.value_or("(none)").c_str());
  std::printf("version: %.1f\n", ZuKitVersionNumber);
  return serialRan ? 0 : 1;
}
