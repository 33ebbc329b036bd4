// Reachability: a networkStatus query beside one raw RTM_GETROUTE round trip on an open netlink
// socket (both in the bench's own network), and the time from a route change to the
// notification on the run loop, measured in a private network namespace of one thread.

#include <arpa/inet.h>
#include <libmnl/libmnl.h>
#include <linux/rtnetlink.h>
#include <net/if.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include "apps/netns/PrivateNetwork.h"
#include "bench/BenchSupport.h"
#include "zukit/core/ZuConstants.h"
#include "zukit/network/ZuReachability.h"
#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/foundation/NSNotificationCenter.h"

namespace {

constexpr int kRouteChanges = 100;
constexpr const char* kGateway = "10.9.0.2";

struct SocketCloser {
  void operator()(mnl_socket* socket) const { mnl_socket_close(socket); }
};
using NetlinkSocket = std::unique_ptr<mnl_socket, SocketCloser>;

NetlinkSocket openNetlink() {
  NetlinkSocket socket(mnl_socket_open(NETLINK_ROUTE));
  if (socket && mnl_socket_bind(socket.get(), 0, MNL_SOCKET_AUTOPID) < 0) socket.reset();
  return socket;
}

// Sends `request` and reads one answer; true when the kernel answered without an error.
bool roundTrip(mnl_socket* socket, nlmsghdr* request) {
  std::array<char, 8192> answer{};
  if (mnl_socket_sendto(socket, request, request->nlmsg_len) < 0) return false;
  const ssize_t got = mnl_socket_recvfrom(socket, answer.data(), answer.size());
  return got > 0 && mnl_cb_run(answer.data(), static_cast<std::size_t>(got), request->nlmsg_seq,
                               mnl_socket_get_portid(socket), nullptr, nullptr) >= 0;
}

void ZuReachability_NetworkStatus(benchmark::State& state) {
  const auto reachability = ZuReachability::reachabilityForInternetConnection();
  for (auto _ : state)
    benchmark::DoNotOptimize(reachability->networkStatus());
}

void RawNetlink_RouteLookup(benchmark::State& state) {
  const NetlinkSocket socket = openNetlink();
  if (!socket) {
    state.SkipWithError("no netlink socket");
    return;
  }
  unsigned sequence = 0;
  in_addr destination{};
  inet_pton(AF_INET, "8.8.8.8", &destination);
  for (auto _ : state) {
    std::array<char, 512> buffer{};
    nlmsghdr* request = mnl_nlmsg_put_header(buffer.data());
    request->nlmsg_type = RTM_GETROUTE;
    request->nlmsg_flags = NLM_F_REQUEST;
    request->nlmsg_seq = ++sequence;
    auto* route = static_cast<rtmsg*>(mnl_nlmsg_put_extra_header(request, sizeof(rtmsg)));
    route->rtm_family = AF_INET;
    route->rtm_dst_len = 32;
    mnl_attr_put(request, RTA_DST, sizeof destination, &destination);
    // The machine may have no route (an error answer): the round trip is what is measured.
    roundTrip(socket.get(), request);
  }
}

// Adds (or deletes) the default route through link `index` and waits for the kernel's
// acknowledgement.
bool changeDefaultRoute(mnl_socket* socket, unsigned sequence, bool add, unsigned index) {
  std::array<char, 512> buffer{};
  nlmsghdr* request = mnl_nlmsg_put_header(buffer.data());
  request->nlmsg_type = add ? RTM_NEWROUTE : RTM_DELROUTE;
  request->nlmsg_flags = NLM_F_REQUEST | NLM_F_ACK | (add ? NLM_F_CREATE | NLM_F_EXCL : 0);
  request->nlmsg_seq = sequence;
  auto* route = static_cast<rtmsg*>(mnl_nlmsg_put_extra_header(request, sizeof(rtmsg)));
  route->rtm_family = AF_INET;
  route->rtm_table = RT_TABLE_MAIN;
  route->rtm_protocol = RTPROT_STATIC;
  route->rtm_scope = add ? RT_SCOPE_UNIVERSE : RT_SCOPE_NOWHERE;
  route->rtm_type = RTN_UNICAST;
  in_addr gateway{};
  inet_pton(AF_INET, kGateway, &gateway);
  mnl_attr_put(request, RTA_GATEWAY, sizeof gateway, &gateway);
  mnl_attr_put_u32(request, RTA_OIF, index);
  return roundTrip(socket, request);
}

struct Latencies {
  std::vector<double> microseconds;
  std::string failure;
};

// On a thread of its own, in a network namespace of its own: a veth pair, a watcher on the
// thread's run loop, and kRouteChanges default-route changes, each timed from the kernel's
// acknowledgement to the notification.
Latencies measureRouteChanges() {
  Latencies result;
  std::string why;
  if (!zukit::netns::enterPrivateNetworkOnThisThread(why)) {
    result.failure = why;
    return result;
  }
  for (const char* command : {"link add name va type veth peer name vb",
                              "addr add 10.9.0.1/24 dev va", "link set vb up", "link set va up"}) {
    if (!zukit::netns::ip(zukit::netns::words(command))) {
      result.failure = std::string("ip ") + command + " failed";
      return result;
    }
  }
  const unsigned index = if_nametoindex("va");
  const NetlinkSocket socket = openNetlink();
  const auto reachability = ZuReachability::reachabilityForInternetConnection();
  std::atomic<int> notifications{0};
  std::chrono::steady_clock::time_point notifiedAt;
  const zu::id observer = zu::NSNotificationCenter::defaultCenter()->addObserverForName(
      ZuNetworkDidChangeNotification, reachability, nullptr,
      [&](const std::shared_ptr<zu::NSNotification>&) {
        notifiedAt = std::chrono::steady_clock::now();
        ++notifications;
      });
  if (!socket || index == 0 || !reachability->startNotifier()) result.failure = "no watcher";
  for (int change = 0; change < kRouteChanges && result.failure.empty(); ++change) {
    const int before = notifications.load();
    if (!changeDefaultRoute(socket.get(), static_cast<unsigned>(change + 1), change % 2 == 0,
                            index)) {
      result.failure = "route change refused";
      break;
    }
    const auto changedAt = std::chrono::steady_clock::now();
    if (!zu::RunLoop::current().runUntil([&] { return notifications.load() > before; },
                                         std::chrono::seconds(5))) {
      result.failure = "no notification";
      break;
    }
    result.microseconds.push_back(
        std::chrono::duration<double, std::micro>(notifiedAt - changedAt).count());
  }
  reachability->stopNotifier();
  zu::NSNotificationCenter::defaultCenter()->removeObserver(observer);
  return result;
}

void ZuReachability_RouteChangeToNotification(benchmark::State& state) {
  for (auto _ : state) {
    Latencies latencies;
    std::thread([&latencies] { latencies = measureRouteChanges(); }).join();
    if (!latencies.failure.empty()) {
      state.SkipWithError(("no private network namespace: " + latencies.failure).c_str());
      return;
    }
    std::sort(latencies.microseconds.begin(), latencies.microseconds.end());
    const double median = latencies.microseconds[latencies.microseconds.size() / 2];
    const double worst = latencies.microseconds.back();
    state.SetIterationTime(median / 1e6);
    state.counters["median_us"] = median;
    state.counters["worst_us"] = worst;
    std::printf("route change to notification over %d changes: median %.0f us, worst %.0f us\n",
                kRouteChanges, median, worst);
  }
}

BENCHMARK(ZuReachability_NetworkStatus)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
BENCHMARK(RawNetlink_RouteLookup)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
BENCHMARK(ZuReachability_RouteChangeToNotification)
    ->Unit(benchmark::kMicrosecond)
    ->Iterations(1)
    ->UseManualTime();

const zukit::bench::RatioRegistration kStatusOverLookup("ZuReachability_NetworkStatus/repeats:5",
                                                        "RawNetlink_RouteLookup/repeats:5");

}  // namespace
