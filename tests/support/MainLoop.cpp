#include "tests/support/MainLoop.h"

#include <thread>

#include "zukit/platform/dispatch/RunLoop.h"

namespace zukit::test {

bool pumpMainUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
  return zu::RunLoop::main().runUntil(done, timeout);
}

bool waitUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  while (!done()) {
    if (std::chrono::steady_clock::now() >= deadline) return done();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace zukit::test
