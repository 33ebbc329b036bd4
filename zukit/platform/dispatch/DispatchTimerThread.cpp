#include "zukit/platform/dispatch/DispatchTimerThread.h"

#include <thread>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <asio/steady_timer.hpp>

#include "zukit/platform/foundation/NoDestructor.h"

namespace zu {

struct DispatchTimerThread::State {
  asio::io_context context;
  asio::executor_work_guard<asio::io_context::executor_type> guard{context.get_executor()};
  std::thread thread;
};

DispatchTimerThread& DispatchTimerThread::shared() {
  static NoDestructor<DispatchTimerThread> timerThread;
  return *timerThread;
}

DispatchTimerThread::DispatchTimerThread() : _state(std::make_unique<State>()) {
  _state->thread = std::thread([state = _state.get()] {
    pthread_setname_np(pthread_self(), "zu.dispatch.timer");
    state->context.run();
  });
  _state->thread.detach();
}

DispatchTimerThread::~DispatchTimerThread() = default;

asio::io_context& DispatchTimerThread::context() {
  return _state->context;
}

void DispatchTimerThread::runAt(std::chrono::steady_clock::time_point deadline,
                                std::function<void()> job) {
  asio::post(_state->context, [this, deadline, job = std::move(job)]() mutable {
    auto timer = std::make_shared<asio::steady_timer>(_state->context, deadline);
    timer->async_wait([timer, job = std::move(job)](const std::error_code&) { job(); });
  });
}

}  // namespace zu
