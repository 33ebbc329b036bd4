// ZuUtils exitWithAnimation in a fresh process, on the manual clock and in real time; and the
// mail account of a program's Info.plist, also in a fresh process.

#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/platform/MailTestSupport.h"
#include "tests/support/Probe.h"
#include "tests/support/SmtpServer.h"
#include "tests/support/TestHome.h"

namespace {

// The number after `label` on its line of `output`; -1 when there is none.
long long numberAfter(const std::string& output, const std::string& label) {
  const std::size_t at = output.find(label);
  if (at == std::string::npos) return -1;
  return std::stoll(output.substr(at + label.size()));
}

TEST(ZuUtilsExit, OnTheManualClockTheProcessEndsWithStatusZeroWhenTheAnimationCompletes) {
  const zukit::test::ProbeResult run = zukit::test::runProbe({"exit-with-animation", "manual"});
  EXPECT_EQ(run.exitCode, 0) << run.standardOutput << run.standardError;
  // The window took its final bounds at once: zero height, the screen's width (390 points).
  EXPECT_NE(run.standardOutput.find("bounds 0 0 390 0\n"), std::string::npos) << run.standardOutput;
  EXPECT_NE(run.standardOutput.find("running after 299ms\n"), std::string::npos)
      << "the process must outlive most of the animation";
  EXPECT_NE(run.standardOutput.find("exited "), std::string::npos) << "exit handlers ran";
  EXPECT_EQ(run.standardOutput.find("did not exit"), std::string::npos);
}

TEST(ZuUtilsExit, InRealTimeTheProcessEndsAboutThreeTenthsOfASecondLater) {
  const zukit::test::ProbeResult run = zukit::test::runProbe({"exit-with-animation", "real"});
  ASSERT_EQ(run.exitCode, 0) << run.standardOutput << run.standardError;
  const long long started = numberAfter(run.standardOutput, "started ");
  const long long exited = numberAfter(run.standardOutput, "exited ");
  ASSERT_GT(started, 0);
  ASSERT_GT(exited, 0);
  const double seconds = static_cast<double>(exited - started) / 1e9;
  EXPECT_GE(seconds, 0.3);
  EXPECT_LT(seconds, 2.0) << "generous slack for a loaded machine";
}

TEST(ZuUtilsMailAccount, AnAccountInTheInfoPlistSendsThroughItsServer) {
  const zukit::test::SmtpServer server;
  ASSERT_TRUE(server.isRunning());
  const std::string plist = zukit::test::TestHome::current() + "/MailInfo.plist";
  std::ofstream(plist) << R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
  <key>CFBundleIdentifier</key><string>org.zukit.mail-probe</string>
  <key>ZuKitMailAccount</key>
  <dict>
    <key>URL</key><string>)"
                       << server.url() << R"(</string>
    <key>From</key><string>desk@example.org</string>
  </dict>
</dict>
</plist>
)";
  const std::map<std::string, std::string> environment = {
      {"ZUKIT_INFO_PLIST", plist}, {"ZUKIT_SMTP_URL", ""}, {"ZUKIT_MAIL_FROM", ""}};
  const zukit::test::ProbeResult run =
      zukit::test::runProbe({"mail-send", "ann@example.org", "from the Info.plist"}, environment);
  EXPECT_EQ(run.exitCode, 0) << run.standardOutput << run.standardError;
  EXPECT_NE(run.standardOutput.find("canSendMail YES\nresult 2\n"), std::string::npos)
      << run.standardOutput;
  ASSERT_EQ(server.messageCount(), 1U);
  EXPECT_EQ(zukit::test::textAt(server.envelope(1), "mail_from"), "desk@example.org");
  const zu::Value mail = zukit::test::parseMailFile(server.messagePath(1));
  EXPECT_EQ(zukit::test::textAt(mail, "subject"), "from the Info.plist");

  // Without the entry, or with an unusable URL, the program has no account.
  const zukit::test::ProbeResult none =
      zukit::test::runProbe({"mail-send", "ann@example.org", "x"},
                            {{"ZUKIT_INFO_PLIST", plist + ".missing"}, {"ZUKIT_SMTP_URL", ""}});
  EXPECT_NE(none.standardOutput.find("canSendMail NO"), std::string::npos) << none.standardOutput;
  const zukit::test::ProbeResult bad = zukit::test::runProbe(
      {"mail-send", "ann@example.org", "x"},
      {{"ZUKIT_INFO_PLIST", plist}, {"ZUKIT_SMTP_URL", "ftp://mail.example.org"}});
  EXPECT_NE(bad.standardOutput.find("canSendMail YES"), std::string::npos)
      << "an unusable environment URL gives way to the Info.plist";
  EXPECT_NE(bad.standardError.find("the mail account of ZUKIT_SMTP_URL is not used"),
            std::string::npos);
  EXPECT_TRUE(server.waitForMessages(2));
}

}  // namespace
