#include "zukit/platform/network/ReachabilityMonitor.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <map>

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <asio/steady_timer.hpp>

#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/platform/network/CellularLinks.h"
#include "zukit/platform/network/ReachabilityTarget.h"

namespace zu {

namespace {

// How long a burst lasts after its first message: long enough that the messages one change
// makes (a link going down, its routes and addresses with it) are evaluated together, and the
// target is not reported in a state the kernel is only passing through.
constexpr auto kBurstSettle = std::chrono::milliseconds(5);
// The socket's receive buffer: room for a storm of changes between two reads.
constexpr int kReceiveBufferBytes = 1 << 20;
constexpr unsigned kGroups =
    RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_IFADDR | RTMGRP_IPV6_ROUTE;

struct Registry {
  Mutex mutex;
  std::map<RunLoop*, std::weak_ptr<ReachabilityMonitor>> monitors ZU_GUARDED_BY(mutex);
};

Registry& registry() {
  static NoDestructor<Registry> instance;
  return *instance;
}

// A netlink socket subscribed to the change groups, or -1.
int openSubscription() {
  const int descriptor = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
  if (descriptor < 0) return -1;
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = kGroups;
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): the socket API's address cast
  if (bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
    close(descriptor);
    return -1;
  }
  setsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &kReceiveBufferBytes, sizeof kReceiveBufferBytes);
  return descriptor;
}

}  // namespace

struct ReachabilityMonitor::Io {
  Io(asio::io_context& context, int descriptor) : socket(context, descriptor), settle(context) {}
  asio::posix::stream_descriptor socket;
  asio::steady_timer settle;
  bool settling = false;
};

std::shared_ptr<ReachabilityMonitor> ReachabilityMonitor::forRunLoop(RunLoop& runLoop) {
  Registry& monitors = registry();
  const MutexLock lock(monitors.mutex);
  if (auto existing = monitors.monitors[&runLoop].lock()) return existing;
  const int descriptor = openSubscription();
  if (descriptor < 0) return nullptr;
  // The stream descriptor owns the socket from here and closes it with the monitor.
  auto monitor = std::make_shared<ReachabilityMonitor>(Passkey(), runLoop, descriptor);
  monitor->waitForMessages();
  monitors.monitors[&runLoop] = monitor;
  return monitor;
}

ReachabilityMonitor::ReachabilityMonitor(Passkey /*unused*/, RunLoop& runLoop, int descriptor)
    : _runLoop(runLoop), _io(std::make_unique<Io>(runLoop.context(), descriptor)) {}

ReachabilityMonitor::~ReachabilityMonitor() {
  Registry& monitors = registry();
  const MutexLock lock(monitors.mutex);
  const auto entry = monitors.monitors.find(&_runLoop);
  if (entry != monitors.monitors.end() && entry->second.expired()) monitors.monitors.erase(entry);
}

void ReachabilityMonitor::add(const std::shared_ptr<SCNetworkReachability>& target) {
  const MutexLock lock(_mutex);
  _targets.emplace_back(target.get(), target);
}

void ReachabilityMonitor::remove(const SCNetworkReachability* target) {
  const MutexLock lock(_mutex);
  std::erase_if(_targets, [target](const auto& entry) { return entry.first == target; });
}

void ReachabilityMonitor::requestEvaluation() {
  _runLoop.post([weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->evaluateAll(false);
  });
}

void ReachabilityMonitor::waitForMessages() {
  _io->socket.async_wait(asio::posix::stream_descriptor::wait_read,
                         [weak = weak_from_this()](const std::error_code& error) {
                           const auto self = weak.lock();
                           if (!self || error) return;
                           self->drain();
                           self->waitForMessages();
                         });
}

void ReachabilityMonitor::drain() {
  // The messages themselves are not needed: every evaluation asks the kernel afresh, so only
  // the fact that something changed counts (also when the buffer overflowed: ENOBUFS).
  std::array<char, 8192> buffer{};
  bool changed = false;
  for (;;) {
    const ssize_t got = recv(_io->socket.native_handle(), buffer.data(), buffer.size(), 0);
    if (got > 0 || (got < 0 && errno == ENOBUFS)) {
      changed = true;
      continue;
    }
    if (got < 0 && errno == EINTR) continue;
    break;
  }
  if (!changed || _io->settling) return;
  _io->settling = true;
  _io->settle.expires_after(kBurstSettle);
  _io->settle.async_wait([weak = weak_from_this()](const std::error_code& error) {
    const auto self = weak.lock();
    if (!self || error) return;
    self->_io->settling = false;
    self->evaluateAll(true);
  });
}

void ReachabilityMonitor::evaluateAll(bool afterBurst) {
  std::vector<std::shared_ptr<SCNetworkReachability>> targets;
  {
    const MutexLock lock(_mutex);
    for (const auto& entry : _targets) {
      if (auto target = entry.second.lock()) targets.push_back(std::move(target));
    }
  }
  // Links may have come or gone: a modem's ports are looked up again.
  if (afterBurst) forgetModemPorts();
  for (const auto& target : targets) {
    if (afterBurst) target->networkChanged();
    target->evaluate(target);
  }
}

}  // namespace zu
