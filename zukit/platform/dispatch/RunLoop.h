#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>

#include "zukit/platform/dispatch/DispatchExecutor.h"
#include "zukit/platform/foundation/Export.h"

namespace asio {
class io_context;
}  // namespace asio

namespace zu {

// One event loop per thread, on an Asio io_context. The main run loop belongs to the process's
// main thread and serves the main queue; the host (or a test) runs it there. Other threads get
// their own loop on first use of current().
class ZU_EXPORT RunLoop final : public DispatchExecutor {
 public:
  // The main thread's loop. It may be fetched from any thread, but only the main thread runs it.
  static RunLoop& main();
  // The calling thread's loop (the main loop on the main thread).
  static RunLoop& current();
  // True on the process's main thread.
  static bool isMainThread();

  // Runs handlers until stop() is called. Only on the owning thread.
  void run();
  // Runs handlers for `duration`, then returns. Only on the owning thread.
  void runFor(std::chrono::nanoseconds duration);
  // Runs handlers until `done` answers true or `timeout` passes; returns `done`'s last answer.
  // Only on the owning thread.
  bool runUntil(const std::function<bool()>& done, std::chrono::nanoseconds timeout);
  // Runs the handlers that are ready, and those they make ready, without waiting for more;
  // returns how many ran. Only on the owning thread, outside its handlers.
  std::size_t runPending();
  // Makes run() return after the handler in progress. Safe from any thread.
  void stop();
  // Queues `job` to run on this loop's thread. Safe from any thread.
  void post(std::function<void()> job) override;
  // True when the calling thread owns this loop.
  bool isCurrent() const;
  // The io_context behind the loop, for sockets and timers served on this thread.
  asio::io_context& context();

  // Made only by main() and current().
  class Passkey {
    friend class RunLoop;
    Passkey() = default;
  };
  explicit RunLoop(Passkey);
  ~RunLoop() override;
  RunLoop(const RunLoop&) = delete;
  RunLoop& operator=(const RunLoop&) = delete;

 private:
  struct State;
  std::unique_ptr<State> _state;
};

}  // namespace zu
