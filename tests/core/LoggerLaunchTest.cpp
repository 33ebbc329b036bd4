// What the logger does at launch and exit, seen from fresh zukit-probe processes that share this
// test's temporary home. These tests never log in-process, so the only log files are the
// probes' and the ones a test plants.

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Probe.h"
#include "tests/support/StderrCapture.h"
#include "tests/support/TestHome.h"
#include "zukit/platform/foundation/SystemInfo.h"
#include "zukit/platform/ui/UIDevice.h"

namespace {

namespace fs = std::filesystem;
using zukit::test::readFile;
using zukit::test::runProbe;

std::string logDirectory() {
  return zukit::test::TestHome::current() + "/Documents/Zu_Log";
}

void plant(const std::string& relativePath) {
  const fs::path path = fs::path(logDirectory()) / relativePath;
  fs::create_directories(path.parent_path());
  std::ofstream(path) << "old";
}

std::vector<std::string> entries() {
  std::vector<std::string> names;
  for (const auto& entry : fs::recursive_directory_iterator(logDirectory())) {
    if (entry.is_regular_file()) {
      names.push_back(fs::relative(entry.path(), logDirectory()).string());
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string trimmed(std::string text) {
  while (!text.empty() && text.back() == '\n')
    text.pop_back();
  return text;
}

TEST(LoggerLaunch, WritesTheHeaderFirstWithMachineSystemAndAppVersion) {
  const std::string plist = zukit::test::TestHome::current() + "/Info.plist";
  std::ofstream(plist) << R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>CFBundleIdentifier</key><string>com.example.host</string>
<key>CFBundleShortVersionString</key><string>9.8.7</string>
</dict></plist>)";
  const auto run =
      runProbe({"logger", "log", "3", "-", "hello", "path"}, {{"ZUKIT_INFO_PLIST", plist}});
  ASSERT_EQ(run.exitCode, 0) << run.standardError;
  const std::string file = readFile(trimmed(run.standardOutput));
  const std::string header = "设备名称:" + zu::uname().machine +
                             "\n手机系统版本:" + zu::UIDevice::currentDevice()->systemVersion() +
                             "\n应用版本号:9.8.7\n\n";
  EXPECT_EQ(file.substr(0, header.size()), header);
  EXPECT_EQ(file.substr(header.size() + 23), "  hello\n");

  const auto plain = runProbe({"logger", "path"}, {{"ZUKIT_INFO_PLIST", "/nonexistent"}});
  EXPECT_NE(readFile(trimmed(plain.standardOutput)).find("\n应用版本号:1.0\n\n"), std::string::npos)
      << "without an Info.plist the default version stands in";
}

TEST(LoggerLaunch, EachLaunchPrunesTheFirstOfThreeOrMoreLogFiles) {
  const auto launchInANewSecond = [] {
    const auto second = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    while (std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()) == second) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    const auto run = runProbe({"logger", "log", "3", "-", "launch", "path"});
    EXPECT_EQ(run.exitCode, 0);
    return fs::path(trimmed(run.standardOutput)).filename().string();
  };
  const std::string first = launchInANewSecond();
  const std::string second = launchInANewSecond();
  const std::string third = launchInANewSecond();
  EXPECT_EQ(entries(), (std::vector<std::string>{first, second, third}));
  const std::string fourth = launchInANewSecond();
  EXPECT_EQ(entries(), (std::vector<std::string>{second, third, fourth}))
      << "the fourth launch removed exactly the first file";
}

TEST(LoggerLaunch, PrunesOnlyTheFirstEntryWithTheExactLogExtension) {
  plant("a-sub/inner.log");
  plant("notes.txt");
  plant("UPPER.LOG");
  plant(".log");
  plant("zusdk_2020-01-01 00:00:01.log");
  plant("zusdk_2020-01-01 00:00:02.log");
  const auto run = runProbe({"logger", "path"});
  ASSERT_EQ(run.exitCode, 0);
  const std::string created = fs::path(trimmed(run.standardOutput)).filename().string();
  // Four entries end in ".log" (the subdirectory's included, the hidden ".log" not); the first
  // one yielded, the subdirectory's, was removed, and only that one.
  std::vector<std::string> expected{".log",
                                    "UPPER.LOG",
                                    "notes.txt",
                                    "zusdk_2020-01-01 00:00:01.log",
                                    "zusdk_2020-01-01 00:00:02.log",
                                    created};
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(entries(), expected);
  // The next launch again removes only the first of the remaining ones.
  runProbe({"logger", "path"});
  const std::vector<std::string> after = entries();
  EXPECT_EQ(std::count(after.begin(), after.end(), "zusdk_2020-01-01 00:00:01.log"), 0);
  EXPECT_EQ(std::count(after.begin(), after.end(), "zusdk_2020-01-01 00:00:02.log"), 1);
  EXPECT_EQ(std::count(after.begin(), after.end(), "UPPER.LOG"), 1);
}

TEST(LoggerLaunch, PrintsBannersOnTheProbesStandardErrorAsTheSettingAllows) {
  const auto warn =
      runProbe({"logger", "config", "4", "log", "5", "-[Probe run]", "an error", "log", "4",
                "-[Probe run]", "a warning", "log", "10010", "-", "data"});
  ASSERT_EQ(warn.exitCode, 0);
  EXPECT_NE(warn.standardError.find("\n\n******************** [Zu][Warn] ********************\n"
                                    "a warning\n" +
                                    std::string(66, '*') + "\n\n"),
            std::string::npos)
      << warn.standardError;
  EXPECT_EQ(warn.standardError.find("an error"), std::string::npos);
  EXPECT_EQ(warn.standardError.find("data"), std::string::npos);

  const auto error = runProbe({"logger", "config", "5", "log", "5", "+[Probe run:]", "an error"});
  EXPECT_NE(error.standardError.find("[Zu][Error] ********************\n[Probe run:]\nan error\n"),
            std::string::npos)
      << error.standardError;

  const auto silent = runProbe({"logger", "log", "5", "-[Probe run]", "quiet"});
  EXPECT_EQ(silent.standardError, "") << "nothing is printed without a console setting";
}

TEST(LoggerLaunch, LinesLoggedJustBeforeExitReachTheFile) {
  const auto run = runProbe({"logger", "path", "burst", "3000", "before exit"});
  ASSERT_EQ(run.exitCode, 0);
  const std::string file = readFile(trimmed(run.standardOutput));
  for (const int index : {0, 1500, 2999}) {
    EXPECT_NE(file.find("  before exit " + std::to_string(index) + "\n"), std::string::npos);
  }
  EXPECT_EQ(std::count(file.begin(), file.end(), '\n'), 3000 + 4);
}

TEST(LoggerLaunch, AFileThatCannotBeOpenedMakesWritesDoNothing) {
  fs::create_directories(zukit::test::TestHome::current() + "/Documents");
  std::ofstream(logDirectory()) << "a file where the log directory should be";
  const auto run =
      runProbe({"logger", "config", "3", "log", "3", "-[P q]", "still printed", "path"});
  EXPECT_EQ(run.exitCode, 0) << run.standardError;
  EXPECT_NE(run.standardError.find("still printed"), std::string::npos);
  EXPECT_EQ(readFile(logDirectory()), "a file where the log directory should be");
}

}  // namespace
