// The telephony service against a stand-in modem manager on the test's private D-Bus bus, read
// from fresh probe processes whose system bus is that bus.

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/network/ReachabilityScript.h"
#include "tests/support/PrivateBus.h"
#include "zukit/platform/telephony/CTTelephonyNetworkInfo.h"

namespace {

using zukit::test::ModemManagerStandIn;
using zukit::test::PrivateBus;
using zukit::test::runReachability;

std::vector<std::string> telephonyOn(const std::string& busAddress) {
  const auto run = runReachability({}, {"telephony"}, {{"DBUS_SYSTEM_BUS_ADDRESS", busAddress}});
  EXPECT_EQ(run.exitCode, 0) << run.standardError;
  return run.lines;
}

TEST(CTTelephonyNetworkInfo, EachAccessTechnologyBecomesThePlatformsConstant) {
  const struct {
    std::uint32_t bits;
    const char* technology;
  } rows[] = {
      {0, nullptr},
      {1U << 0, nullptr},  // an analog line
      {1U << 1, "CTRadioAccessTechnologyGPRS"},
      {1U << 2, "CTRadioAccessTechnologyGPRS"},
      {1U << 3, "CTRadioAccessTechnologyGPRS"},
      {1U << 4, "CTRadioAccessTechnologyEdge"},
      {(1U << 3) | (1U << 4), "CTRadioAccessTechnologyEdge"},
      {1U << 5, "CTRadioAccessTechnologyWCDMA"},
      {1U << 6, "CTRadioAccessTechnologyHSDPA"},
      {1U << 7, "CTRadioAccessTechnologyHSUPA"},
      {1U << 8, "CTRadioAccessTechnologyHSUPA"},
      {1U << 9, "CTRadioAccessTechnologyHSUPA"},
      {1U << 10, "CTRadioAccessTechnologyCDMA1x"},
      {1U << 11, "CTRadioAccessTechnologyCDMAEVDORev0"},
      {1U << 12, "CTRadioAccessTechnologyCDMAEVDORevA"},
      {1U << 13, "CTRadioAccessTechnologyCDMAEVDORevB"},
      {(1U << 10) | (1U << 13), "CTRadioAccessTechnologyCDMAEVDORevB"},
      {1U << 14, "CTRadioAccessTechnologyLTE"},
      {1U << 16, "CTRadioAccessTechnologyLTE"},
      {1U << 17, "CTRadioAccessTechnologyLTE"},
      {1U << 15, "CTRadioAccessTechnologyNR"},
      {(1U << 14) | (1U << 15), "CTRadioAccessTechnologyNRNSA"},
      {(1U << 5) | (1U << 14), "CTRadioAccessTechnologyLTE"},
  };
  for (const auto& row : rows) {
    const char* technology = zu::radioAccessTechnologyForModemBits(row.bits);
    EXPECT_STREQ(technology, row.technology) << "bits " << row.bits;
  }
  EXPECT_STREQ(CTRadioAccessTechnologyeHRPD, "CTRadioAccessTechnologyeHRPD");
}

TEST(CTTelephonyNetworkInfo, NoBusNoManagerOrNoModemMeansNoTechnology) {
  const std::vector<std::string> nothing{"current (null)", "services (null)"};
  EXPECT_EQ(telephonyOn("unix:path=/nonexistent/zukit-bus"), nothing);
  const PrivateBus bus;
  ASSERT_FALSE(bus.address().empty());
  EXPECT_EQ(telephonyOn(bus.address()), nothing) << "a bus without a modem manager";
  const ModemManagerStandIn noModems(bus, {});
  ASSERT_TRUE(noModems.ready());
  EXPECT_EQ(telephonyOn(bus.address()), nothing) << "a modem manager without modems";
}

TEST(CTTelephonyNetworkInfo, ReportsEveryRegisteredModemInModemOrder) {
  const PrivateBus bus;
  const ModemManagerStandIn modems(
      bus, {"wwan0:0", "wwan1:96", "-:49152", "wwan3:16", "wwan4:0", "wwan5:0", "wwan6:0",
            "wwan7:0", "wwan8:0", "wwan9:0", "wwan10:8"});
  ASSERT_TRUE(modems.ready());
  EXPECT_EQ(telephonyOn(bus.address()),
            (std::vector<std::string>{
                "current CTRadioAccessTechnologyHSDPA",
                "service /org/freedesktop/ModemManager1/Modem/1 CTRadioAccessTechnologyHSDPA",
                "service /org/freedesktop/ModemManager1/Modem/2 CTRadioAccessTechnologyNRNSA",
                "service /org/freedesktop/ModemManager1/Modem/3 CTRadioAccessTechnologyEdge",
                "service /org/freedesktop/ModemManager1/Modem/10 CTRadioAccessTechnologyGPRS"}));
}

TEST(CTTelephonyNetworkInfo, AMalformedAnswerRaisesAPlatformException) {
  const PrivateBus bus;
  const ModemManagerStandIn modems(bus, {"wwan0:16384"}, /*malformed=*/true);
  ASSERT_TRUE(modems.ready());
  EXPECT_EQ(telephonyOn(bus.address()),
            std::vector<std::string>{
                "exception NSInternalInconsistencyException: The modem manager gives no access "
                "technologies for /org/freedesktop/ModemManager1/Modem/0"});
}

}  // namespace
