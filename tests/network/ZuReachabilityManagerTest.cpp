// ZuReachabilityManager end to end: a probe process with a network namespace of its own routes
// the internet through its veth link va, and a stand-in modem manager on the test's private
// D-Bus bus names va (or another link) as a modem's network port.

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/network/ReachabilityScript.h"
#include "tests/support/PrivateBus.h"
#include "zukit/network/ZuReachabilityManager.h"

namespace {

using zukit::test::ModemManagerStandIn;
using zukit::test::PrivateBus;
using zukit::test::runReachability;

constexpr unsigned kLte = 1U << 14;
constexpr unsigned k5gNr = 1U << 15;
constexpr unsigned kUmtsHsdpa = (1U << 5) | (1U << 6);

// The veth pair with the internet routed through va.
std::vector<std::string> routedThroughVa(const std::vector<std::string>& then) {
  std::vector<std::string> steps = zukit::test::kVethPair;
  steps.emplace_back("ip route add default via 10.9.0.2");
  steps.insert(steps.end(), then.begin(), then.end());
  return steps;
}

std::string modem(const std::string& port, unsigned bits) {
  return port + ":" + std::to_string(bits);
}

TEST(ZuReachabilityManager, BeforeStartingEveryQueryReportsNoNetwork) {
  const auto manager = ZuReachabilityManager::sharedManager();
  EXPECT_EQ(manager, ZuReachabilityManager::sharedManager());
  EXPECT_FALSE(manager->hasNetwork());
  EXPECT_FALSE(manager->isWIFI());
  EXPECT_FALSE(manager->isCellular());
  EXPECT_EQ(manager->telephonyNetworkDescrition(), zu::Value("NO_NETWORK"));
}

TEST(ZuReachabilityManager, AModemsNetworkPortIsCellularWithItsTechnology) {
  const PrivateBus bus;
  ASSERT_FALSE(bus.address().empty());
  const ModemManagerStandIn modems(bus, {modem("va", kLte)});
  ASSERT_TRUE(modems.ready());
  const auto run = runReachability(
      {"os-version 11"},
      routedThroughVa({"manager", "manager-start", "manager", "watch net internet", "start net",
                       "ip link set vb down", "await net 1", "manager"}),
      {{"DBUS_SYSTEM_BUS_ADDRESS", bus.address()}});
  ZU_SKIP_WITHOUT_NAMESPACES(run);
  ASSERT_EQ(run.exitCode, 0) << run.standardError;
  EXPECT_EQ(run.lines,
            (std::vector<std::string>{
                "manager hasNetwork NO isWIFI NO isCellular NO description NO_NETWORK",
                std::string("manager hasNetwork YES isWIFI NO isCellular YES description ") +
                    "CTRadioAccessTechnologyLTE",
                "watch net made", "start net YES", "notified net 1 offthread 0 statuses 0",
                "manager hasNetwork NO isWIFI NO isCellular NO description NO_NETWORK"}));
}

TEST(ZuReachabilityManager, From12OnTheLastServiceDecidesAndBeforeItTheFirstModem) {
  const PrivateBus bus;
  const ModemManagerStandIn modems(
      bus, {modem("wwan7", kUmtsHsdpa), modem("va", kLte), modem("-", kLte | k5gNr)});
  ASSERT_TRUE(modems.ready());
  const std::map<std::string, std::string> environment{{"DBUS_SYSTEM_BUS_ADDRESS", bus.address()}};
  const std::string cellular = "manager hasNetwork YES isWIFI NO isCellular YES description ";
  for (const auto& [version, description] : std::vector<std::pair<std::string, std::string>>{
           {"12", "CTRadioAccessTechnologyNRNSA"},
           {"16.4", "CTRadioAccessTechnologyNRNSA"},
           {"11.4", "CTRadioAccessTechnologyHSDPA"},
           {"rolling", "CTRadioAccessTechnologyHSDPA"}}) {
    const auto run = runReachability({"os-version " + version},
                                     routedThroughVa({"manager-start", "manager"}), environment);
    ZU_SKIP_WITHOUT_NAMESPACES(run);
    ASSERT_EQ(run.exitCode, 0) << run.standardError;
    EXPECT_EQ(run.lines, std::vector<std::string>{cellular + description}) << version;
  }
}

TEST(ZuReachabilityManager, WiFiStaysWiFiWhileACellularRadioIsUp) {
  const PrivateBus bus;
  const ModemManagerStandIn modems(bus, {modem("wwan0", kLte)});
  ASSERT_TRUE(modems.ready());
  const auto run = runReachability({"os-version 17"}, routedThroughVa({"manager-start", "manager"}),
                                   {{"DBUS_SYSTEM_BUS_ADDRESS", bus.address()}});
  ZU_SKIP_WITHOUT_NAMESPACES(run);
  ASSERT_EQ(run.exitCode, 0) << run.standardError;
  EXPECT_EQ(run.lines, std::vector<std::string>{
                           "manager hasNetwork YES isWIFI YES isCellular NO description WIFI"});
}

TEST(ZuReachabilityManager, ACellularLinkWithoutATechnologyHasNoNetworkText) {
  const PrivateBus bus;
  const ModemManagerStandIn modems(bus, {modem("va", 0)});
  ASSERT_TRUE(modems.ready());
  const auto run = runReachability({"os-version 17"}, routedThroughVa({"manager-start", "manager"}),
                                   {{"DBUS_SYSTEM_BUS_ADDRESS", bus.address()}});
  ZU_SKIP_WITHOUT_NAMESPACES(run);
  ASSERT_EQ(run.exitCode, 0) << run.standardError;
  EXPECT_EQ(run.lines,
            std::vector<std::string>{
                "manager hasNetwork YES isWIFI NO isCellular YES description NO_NETWORK"});
}

TEST(ZuReachabilityManager, ATelephonyExceptionIsLoggedToTheConsoleAndAnswersNothing) {
  const PrivateBus bus;
  const ModemManagerStandIn modems(bus, {modem("va", kLte)}, /*malformed=*/true);
  ASSERT_TRUE(modems.ready());
  const auto run = runReachability({"os-version 17"}, routedThroughVa({"manager-start", "manager"}),
                                   {{"DBUS_SYSTEM_BUS_ADDRESS", bus.address()}});
  ZU_SKIP_WITHOUT_NAMESPACES(run);
  ASSERT_EQ(run.exitCode, 0) << run.standardError;
  EXPECT_EQ(run.lines, std::vector<std::string>{
                           "manager hasNetwork YES isWIFI NO isCellular YES description (null)"});
  EXPECT_NE(run.standardError.find(
                "] telephonyNetworkDescrition get exception:The modem manager gives no access "
                "technologies for /org/freedesktop/ModemManager1/Modem/0\n"),
            std::string::npos)
      << run.standardError;
}

}  // namespace
