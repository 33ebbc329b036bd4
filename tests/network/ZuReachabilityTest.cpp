// ZuReachability on the kernel's real routes: each scenario runs in a fresh zukit-probe process
// with a network namespace of its own, where the script makes a veth pair and changes its links
// and routes while watchers report. The flag table runs in-process.

#include <arpa/inet.h>
#include <sys/socket.h>

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/network/ReachabilityScript.h"
#include "zukit/network/ZuReachability.h"

namespace {

using zukit::test::kVethPair;
using zukit::test::runReachability;

std::vector<std::string> joined(std::vector<std::string> first,
                                const std::vector<std::string>& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

TEST(ZuReachability, StatusFollowsTheFlagTable) {
  const auto reachability = ZuReachability::reachabilityForInternetConnection();
  ASSERT_TRUE(reachability);
  constexpr unsigned kReachable = 2;
  constexpr unsigned kRequired = 4;
  constexpr unsigned kOnTraffic = 8;
  constexpr unsigned kIntervention = 16;
  constexpr unsigned kOnDemand = 32;
  constexpr unsigned kWWAN = 0x40000;
  const struct {
    unsigned flags;
    ZuNetworkStatus status;
  } rows[] = {
      {0, ZuNotReachable},
      {kReachable, ZuReachableViaWiFi},
      {kReachable | kRequired, ZuNotReachable},
      {kReachable | kRequired | kOnTraffic, ZuReachableViaWiFi},
      {kReachable | kRequired | kOnDemand, ZuReachableViaWiFi},
      {kReachable | kRequired | kOnTraffic | kIntervention, ZuNotReachable},
      {kReachable | kRequired | kOnDemand | kIntervention, ZuNotReachable},
      {kReachable | kOnTraffic | kIntervention, ZuReachableViaWiFi},
      {kReachable | kWWAN, ZuReachableViaWWAN},
      {kReachable | kWWAN | kRequired | kIntervention, ZuReachableViaWWAN},
      {kWWAN, ZuNotReachable},
      {kRequired | kOnTraffic | kOnDemand | kWWAN | 1, ZuNotReachable},
      {0xFFFFFFFF & ~kReachable, ZuNotReachable},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(reachability->networkStatusForFlags(row.flags), row.status) << "flags " << row.flags;
  }
}

TEST(ZuReachability, FactoriesRefuseWhatIsNoHostOrAddress) {
  EXPECT_FALSE(ZuReachability::reachabilityWithHostName(zu::Value()));
  EXPECT_FALSE(ZuReachability::reachabilityWithHostName(zu::Value::null()));
  EXPECT_FALSE(ZuReachability::reachabilityWithHostName(zu::Value("")));
  EXPECT_FALSE(ZuReachability::reachabilityWithHostName(zu::Value("two words")));
  EXPECT_FALSE(ZuReachability::reachabilityWithHostName(zu::Value("caf\xc3\xa9.example")));
  EXPECT_FALSE(ZuReachability::reachabilityWithHostName(zu::Value(std::string(254, 'a'))));
  EXPECT_TRUE(ZuReachability::reachabilityWithHostName(zu::Value("example.invalid")));

  EXPECT_FALSE(ZuReachability::reachabilityWithAddress(nullptr));
  zu::bsd::sockaddr_in ipv4{};
  ipv4.sin_family = AF_INET;
  inet_pton(AF_INET, "10.9.0.2", &ipv4.sin_addr);
  zu::bsd::sockaddr header{};
  ipv4.sin_len = sizeof ipv4 - 1;  // shorter than an IPv4 address
  std::memcpy(&header, &ipv4, sizeof header);
  EXPECT_FALSE(ZuReachability::reachabilityWithAddress(&header));
  ipv4.sin_len = sizeof ipv4;
  std::memcpy(&header, &ipv4, sizeof header);
  EXPECT_TRUE(ZuReachability::reachabilityWithAddress(&header));
  header.sa_family = AF_UNIX;
  EXPECT_FALSE(ZuReachability::reachabilityWithAddress(&header));
  // Linux's own layout (a two-byte family and no length) is no address in the platform's.
  sockaddr_in native{};
  native.sin_family = AF_INET;
  std::memcpy(&header, &native, sizeof header);
  EXPECT_FALSE(ZuReachability::reachabilityWithAddress(&header));
}

TEST(ZuReachability, NoRouteIsNotReachableAndADefaultRouteThroughAnUpLinkIsWiFi) {
  const auto run = runReachability(
      {}, joined(kVethPair, {"watch net internet", "watch peer addr:10.9.0.2", "status net",
                             "status peer", "ip route add default via 10.9.0.2", "status net",
                             "ip link set vb down", "status net", "status peer"}));
  ZU_SKIP_WITHOUT_NAMESPACES(run);
  ASSERT_EQ(run.exitCode, 0) << run.standardError;
  EXPECT_EQ(run.lines, (std::vector<std::string>{
                           "watch net made", "watch peer made",
                           "status net 0 required NO",   // no route beyond the subnet
                           "status peer 1 required NO",  // the peer is on the link
                           "status net 1 required NO",
                           // Without a carrier the route stays but needs a connection first.
                           "status net 0 required YES", "status peer 0 required YES"}));
}

TEST(ZuReachability, EachRouteOrLinkChangePostsExactlyOneNotificationOnTheSchedulingThread) {
  const auto run = runReachability(
      {}, joined(kVethPair,
                 {"ip route add default via 10.9.0.2", "watch net internet", "start net", "fence",
                  "ip route del default", "fence", "ip route add default via 10.9.0.2", "fence",
                  "ip link set va down", "fence", "await net 3", "status net"}));
  ZU_SKIP_WITHOUT_NAMESPACES(run);
  ASSERT_EQ(run.exitCode, 0) << run.standardError;
  EXPECT_EQ(run.lines,
            (std::vector<std::string>{
                "watch net made", "start net YES", "watch fence made", "start fence YES",
                "counts net=0",  // the fence's own route is not the internet's
                "counts net=1", "counts net=2", "counts net=3",
                // On the main thread, each seeing the state it announced.
                "notified net 3 offthread 0 statuses 0 1 0", "status net 0 required NO"}));
}

TEST(ZuReachability, ANotifierStartedOnAnotherThreadPostsOnThatThread) {
  const auto run = runReachability(
      {}, joined(kVethPair,
                 {"ip route add default via 10.9.0.2", "watch net internet", "start-worker net",
                  "ip link set vb down", "await net 1", "ip link set vb up", "await net 2"}));
  ZU_SKIP_WITHOUT_NAMESPACES(run);
  ASSERT_EQ(run.exitCode, 0) << run.standardError;
  EXPECT_EQ(run.lines, (std::vector<std::string>{"watch net made", "start net YES",
                                                 "notified net 1 offthread 0 statuses 0",
                                                 "notified net 2 offthread 0 statuses 0 1"}));
}

TEST(ZuReachability, StoppingTheNotifierStopsItsNotificationsAndOnlyItsOwn) {
  const auto run = runReachability(
      {},
      joined(kVethPair,
             {"ip route add default via 10.9.0.2", "watch net internet", "watch peer addr:10.9.0.2",
              "start net", "start peer", "ip route del default", "fence", "stop net",
              "ip route add default via 10.9.0.2", "ip link set vb down", "fence", "status net",
              // Started again, it reports from the state it finds.
              "start net", "ip link set vb up", "fence"}));
  ZU_SKIP_WITHOUT_NAMESPACES(run);
  ASSERT_EQ(run.exitCode, 0) << run.standardError;
  EXPECT_EQ(run.lines,
            (std::vector<std::string>{
                "watch net made", "watch peer made", "start net YES", "start peer YES",
                "watch fence made", "start fence YES", "counts net=1 peer=0", "counts net=1 peer=1",
                "status net 0 required YES", "start net YES", "counts net=2 peer=2"}));
}

TEST(ZuReachability, HostNamesResolveOffTheRunLoopAndAnUnknownNameIsNotReachable) {
  const auto run = runReachability(
      {"hosts gateway.zukit.test=10.9.0.2,far.zukit.test=192.0.2.7"},
      joined(kVethPair,
             {"watch near host:gateway.zukit.test", "watch far host:far.zukit.test",
              "watch nowhere host:nowhere.invalid", "watch literal host:10.9.0.2", "start near",
              "start far", "start nowhere", "start literal",
              // A scheduled name reports once when its answer is in.
              "await near 1", "await far 1", "await nowhere 1", "await literal 1", "status near",
              "status far", "status nowhere", "ip route add default via 10.9.0.2", "await far 2",
              "status far", "status nowhere"}));
  ZU_SKIP_WITHOUT_NAMESPACES(run);
  ASSERT_EQ(run.exitCode, 0) << run.standardError;
  EXPECT_EQ(
      run.lines,
      (std::vector<std::string>{
          "watch near made", "watch far made", "watch nowhere made", "watch literal made",
          "start near YES", "start far YES", "start nowhere YES", "start literal YES",
          "notified near 1 offthread 0 statuses 1", "notified far 1 offthread 0 statuses 0",
          "notified nowhere 1 offthread 0 statuses 0", "notified literal 1 offthread 0 statuses 1",
          "status near 1 required NO", "status far 0 required NO", "status nowhere 0 required NO",
          "notified far 2 offthread 0 statuses 0 1", "status far 1 required NO",
          "status nowhere 0 required NO"}));
}

TEST(ZuReachability, ASecondRunLoopIsRefusedAndAnUnstartedWatcherOnlyGoesAway) {
  const auto run =
      runReachability({}, joined(kVethPair, {"watch net internet", "start net", "start-worker net",
                                             "watch idle addr:10.9.0.2", "drop idle", "drop net"}));
  ZU_SKIP_WITHOUT_NAMESPACES(run);
  ASSERT_EQ(run.exitCode, 0) << run.standardError;
  EXPECT_EQ(run.lines, (std::vector<std::string>{"watch net made", "start net YES", "start net NO",
                                                 "watch idle made"}));
}

}  // namespace
