#include <fstream>
#include <future>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Probe.h"
#include "tests/support/StderrCapture.h"
#include "tests/support/TestHome.h"
#include "zukit/platform/ui/UIDevice.h"

namespace {

const std::regex kUUIDText("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");

std::string vendorLine(const zukit::test::ProbeResult& result) {
  const std::size_t start = result.standardOutput.find("vendor: ");
  if (start == std::string::npos) return {};
  const std::size_t end = result.standardOutput.find('\n', start);
  return result.standardOutput.substr(start + 8, end - start - 8);
}

TEST(VendorIdentifierTest, IsAStableUpperCaseUUIDKeptPerVendor) {
  const auto identifier = zu::UIDevice::currentDevice()->identifierForVendor();
  ASSERT_TRUE(identifier);
  EXPECT_TRUE(std::regex_match(*identifier, kUUIDText)) << *identifier;
  EXPECT_EQ(zu::UIDevice::currentDevice()->identifierForVendor(), identifier);
  // The test program and the probe are both "org.zukit.*": one vendor, one identifier, which
  // survives relaunches.
  const std::string path =
      zukit::test::TestHome::current() + "/.local/share/zukit/vendor-identifiers/org.zukit";
  EXPECT_EQ(zukit::test::readFile(path), *identifier);
  EXPECT_EQ(vendorLine(zukit::test::runProbe({"identity"})), *identifier);
  EXPECT_EQ(vendorLine(zukit::test::runProbe({"identity"})), *identifier);
}

TEST(VendorIdentifierTest, RacingFirstLaunchesAgreeAndVendorsDiffer) {
  const std::string dataHome = zukit::test::TestHome::current() + "/race-data";
  const std::map<std::string, std::string> environment{{"XDG_DATA_HOME", dataHome}};
  std::vector<std::future<zukit::test::ProbeResult>> launches;
  launches.reserve(4);
  for (int i = 0; i < 4; ++i) {
    launches.push_back(std::async(std::launch::async, [&environment] {
      return zukit::test::runProbe({"identity"}, environment);
    }));
  }
  std::set<std::string> seen;
  for (auto& launch : launches)
    seen.insert(vendorLine(launch.get()));
  ASSERT_EQ(seen.size(), 1U);
  EXPECT_TRUE(std::regex_match(*seen.begin(), kUUIDText));

  // Another vendor gets its own identifier; a damaged file is replaced by a fresh one.
  const std::string plist = zukit::test::TestHome::current() + "/Info.plist";
  {
    std::ofstream file(plist);
    file << "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key>"
            "<string>cn.com.quorvel.Other</string></dict></plist>";
  }
  const auto other = vendorLine(zukit::test::runProbe(
      {"identity"}, {{"XDG_DATA_HOME", dataHome}, {"ZUKIT_INFO_PLIST", plist}}));
  EXPECT_TRUE(std::regex_match(other, kUUIDText));
  EXPECT_NE(other, *seen.begin());
  {
    std::ofstream file(dataHome + "/zukit/vendor-identifiers/cn.com.quorvel", std::ios::trunc);
    file << "not-a-uuid";
  }
  const auto replaced = vendorLine(zukit::test::runProbe(
      {"identity"}, {{"XDG_DATA_HOME", dataHome}, {"ZUKIT_INFO_PLIST", plist}}));
  EXPECT_TRUE(std::regex_match(replaced, kUUIDText));
  EXPECT_EQ(zukit::test::readFile(dataHome + "/zukit/vendor-identifiers/cn.com.quorvel"), replaced);
}

}  // namespace
