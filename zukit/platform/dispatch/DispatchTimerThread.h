#pragma once

// Internal to libzukit (not installed, not exported): the thread that serves delayed work and timer
// sources.

#include <chrono>
#include <functional>
#include <memory>

namespace asio {
class io_context;
}  // namespace asio

namespace zu {

template <class T>
class NoDestructor;

// The one thread that waits out every delay and timer of the dispatch layer, on its own Asio
// io_context. Expired waits hand their work to a queue; nothing slow runs on this thread.
class DispatchTimerThread {
 public:
  // The shared timer thread, started on first use and never stopped.
  static DispatchTimerThread& shared();

  // Runs `job` on the timer thread at `deadline` (at once when it has passed).
  void runAt(std::chrono::steady_clock::time_point deadline, std::function<void()> job);
  // The io_context whose handlers run on the timer thread.
  asio::io_context& context();

  ~DispatchTimerThread();
  DispatchTimerThread(const DispatchTimerThread&) = delete;
  DispatchTimerThread& operator=(const DispatchTimerThread&) = delete;

 private:
  friend class NoDestructor<DispatchTimerThread>;
  DispatchTimerThread();
  struct State;
  std::unique_ptr<State> _state;
};

}  // namespace zu
