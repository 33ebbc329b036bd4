#include "zukit/platform/dispatch/RunLoop.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/post.hpp>

#include "zukit/platform/foundation/NoDestructor.h"

namespace zu {

namespace {

// Slice of a runUntil() wait between two looks at its predicate.
constexpr auto kPollSlice = std::chrono::milliseconds(5);

}  // namespace

struct RunLoop::State {
  asio::io_context context{1};
  asio::executor_work_guard<asio::io_context::executor_type> guard{context.get_executor()};
  std::thread::id owner;
  std::atomic<bool> stopRequested{false};
};

RunLoop::RunLoop(Passkey /*unused*/) : _state(std::make_unique<State>()) {
  _state->owner = std::this_thread::get_id();
}

RunLoop::~RunLoop() = default;

bool RunLoop::isMainThread() {
  return syscall(SYS_gettid) == getpid();
}

RunLoop& RunLoop::main() {
  static NoDestructor<RunLoop> mainLoop{Passkey()};
  return *mainLoop;
}

RunLoop& RunLoop::current() {
  if (isMainThread()) return main();
  thread_local RunLoop loop{Passkey()};
  return loop;
}

bool RunLoop::isCurrent() const {
  if (this == &main()) return isMainThread();
  return _state->owner == std::this_thread::get_id();
}

void RunLoop::run() {
  _state->stopRequested.store(false);
  while (!_state->stopRequested.load()) {
    _state->context.restart();
    _state->context.run();
  }
  _state->context.restart();
}

void RunLoop::runFor(std::chrono::nanoseconds duration) {
  const auto deadline = std::chrono::steady_clock::now() + duration;
  _state->context.restart();
  while (std::chrono::steady_clock::now() < deadline) {
    _state->context.run_one_until(deadline);
    if (_state->context.stopped()) _state->context.restart();
  }
}

bool RunLoop::runUntil(const std::function<bool()>& done, std::chrono::nanoseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  _state->context.restart();
  while (!done()) {
    const auto now = std::chrono::steady_clock::now();
    if (now >= deadline) return done();
    _state->context.run_one_until(std::min(deadline, now + kPollSlice));
    if (_state->context.stopped()) _state->context.restart();
  }
  return true;
}

std::size_t RunLoop::runPending() {
  if (_state->context.stopped()) _state->context.restart();
  return _state->context.poll();
}

void RunLoop::stop() {
  _state->stopRequested.store(true);
  _state->context.stop();
}

void RunLoop::post(std::function<void()> job) {
  asio::post(_state->context, std::move(job));
}

asio::io_context& RunLoop::context() {
  return _state->context;
}

}  // namespace zu
