#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <optional>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/StderrCapture.h"
#include "zukit/core/ZuLogger.h"
#include "zukit/platform/foundation/NSDateFormatter.h"
#include "zukit/platform/foundation/NSTimeZone.h"
#include "zukit/platform/runtime/Runtime.h"

namespace {

using zukit::test::readFile;
using zukit::test::StderrCapture;

std::string flushedLog() {
  zu::dispatch_sync(zu_log_get_dispatch_serial_queue(), [] {});
  return readFile(ZuLogger::getInstance()->logFilePath());
}

const std::string kAsterisks20(20, '*');
const std::string kAsterisks66(66, '*');

std::string otherBanner(const std::string& level, const std::string& message) {
  return "\n\n" + kAsterisks20 + " [Zu][" + level + "] " + kAsterisks20 + "\n" + message + "\n" +
         kAsterisks66 + "\n\n";
}

std::string errorBanner(const std::string& function, const std::string& message) {
  return "\n\n" + kAsterisks20 + " [Zu][Error] " + kAsterisks20 + "\n" + function + "\n" + message +
         "\n" + kAsterisks66 + "\n\n";
}

TEST(ZuLogger, NamesEachLevel) {
  const auto logger = ZuLogger::getInstance();
  const std::map<zu::NSInteger, std::string> expected{
      {0, "Debug"}, {1, "Unknown"},  {2, "Unknown"}, {3, "Log"},      {4, "Warn"},
      {5, "Error"}, {10010, "Data"}, {6, "Unknown"}, {-1, "Unknown"}, {10011, "Unknown"}};
  for (const auto& [level, name] : expected) {
    EXPECT_EQ(logger->descriptionForLevel(level), name) << level;
  }
  EXPECT_EQ(logger->logLevel(), 0) << "the console setting starts at 0";
}

// The console decision table: which (setting, level) pairs print a banner. Every message reaches
// the file whatever the setting.
TEST(ZuLogger, PrintsBannersAsTheConsoleSettingAllowsAndWritesEveryMessageToTheFile) {
  const std::vector<zu::NSInteger> settings{0, 1, 2, 3, 4, 5, 10010, -1, 7};
  const std::vector<zu::NSInteger> levels{0, 1, 2, 3, 4, 5, 10010};
  auto printed = [](zu::NSInteger setting, zu::NSInteger level) {
    if (setting == 3 || setting == 4 || setting == 5) return level == setting;
    if (setting == 1) return level != 10010;
    return setting == 10010;
  };
  const StderrCapture capture;
  for (const zu::NSInteger setting : settings) {
    ZuLogger::configLogLevel(setting);
    for (const zu::NSInteger level : levels) {
      ZuLogger::log(level, "-[Table check]", "message s%ld l%ld", setting, level);
    }
  }
  ZuLogger::configLogLevel(0);
  const std::string console = capture.text();
  const std::string file = flushedLog();
  for (const zu::NSInteger setting : settings) {
    for (const zu::NSInteger level : levels) {
      const std::string message = zu::format("message s%ld l%ld", setting, level);
      const std::string banner =
          level == 5 ? errorBanner("[Table check]", message)
                     : otherBanner(ZuLogger::getInstance()->descriptionForLevel(level), message);
      EXPECT_EQ(console.find(banner) != std::string::npos, printed(setting, level))
          << "setting " << setting << " level " << level;
      EXPECT_NE(file.find("  " + message + "\n"), std::string::npos)
          << "file misses setting " << setting << " level " << level;
    }
  }
}

TEST(ZuLogger, ALevelFiveBannerDropsTheFunctionNamesSignAndSurvivesBadNames) {
  ZuLogger::configLogLevel(5);
  const StderrCapture capture;
  ZuLogger::log(5, "-[ZuUserShare setObject:forKey:domain:]", "named %@", "failure");
  ZuLogger::log(5, "+[Zu é]", "unicode name");
  ZuLogger::log(5, nullptr, "absent name");
  ZuLogger::log(5, "", "empty name");
  ZuLogger::log(5, "\xff\xfe bad", "bytes that are not text");
  const std::string console = capture.text();
  EXPECT_NE(console.find(errorBanner("[ZuUserShare setObject:forKey:domain:]", "named failure")),
            std::string::npos);
  EXPECT_NE(console.find(errorBanner("[Zu é]", "unicode name")), std::string::npos);
  EXPECT_EQ(console.find("absent name"), std::string::npos);
  EXPECT_EQ(console.find("empty name"), std::string::npos);
  EXPECT_NE(console.find(errorBanner("(null)", "bytes that are not text")), std::string::npos);
  // A console that could not be written does not keep the message out of the file.
  const std::string file = flushedLog();
  for (const char* message : {"absent name", "empty name", "bytes that are not text"}) {
    EXPECT_NE(file.find(std::string("  ") + message + "\n"), std::string::npos) << message;
  }
}

TEST(ZuLogger, WritesOneTimedLinePerMessageAfterTheHeader) {
  ZuLogger::log(3, "-[A b]", "first %d", 1);
  ZuLogger::log(10010, "-[A b]", "two\nlines");
  ZuLogger::log(4, "-[A b]", "%@ and %@", zu::Value::null(), zu::Value());
  const std::string file = flushedLog();
  ASSERT_EQ(file.rfind("设备名称:", 0), 0U) << "the header comes first";
  const std::size_t body = file.find("\n\n");
  ASSERT_NE(body, std::string::npos);
  const std::regex line(R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}\.\d{3}  first 1\n)"
                        R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}\.\d{3}  two\nlines\n)"
                        R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}\.\d{3}  <null> and \(null\)\n)");
  EXPECT_TRUE(std::regex_match(file.substr(body + 2), line)) << file;
  const std::string& path = ZuLogger::getInstance()->logFilePath();
  EXPECT_TRUE(std::regex_search(
      path, std::regex(R"(/Documents/Zu_Log/zusdk_\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}\.log$)")))
      << path;
}

TEST(ZuLogger, StampsEachLineInTheTimeZoneInForceWhenItWasLogged) {
  const auto reference = [](const char* zone) {
    zu::NSDateFormatter formatter;
    formatter.setTimeZone(zu::NSTimeZone::timeZoneWithName(zone));
    formatter.setDateFormat("yyyy-MM-dd HH");
    return formatter.stringFromDate(zu::Date::date());
  };
  zu::NSTimeZone::setDefaultTimeZone(zu::NSTimeZone::timeZoneWithName("Asia/Kathmandu"));
  const std::string kathmandu = reference("Asia/Kathmandu");
  ZuLogger::log(3, "-[A b]", "in kathmandu");
  zu::NSTimeZone::setDefaultTimeZone(zu::NSTimeZone::timeZoneWithName("America/Los_Angeles"));
  const std::string losAngeles = reference("America/Los_Angeles");
  ZuLogger::log(3, "-[A b]", "in los angeles");
  zu::NSTimeZone::resetSystemTimeZone();
  const std::string file = flushedLog();
  const std::size_t first = file.find("  in kathmandu\n");
  const std::size_t second = file.find("  in los angeles\n");
  ASSERT_NE(first, std::string::npos);
  ASSERT_NE(second, std::string::npos);
  // Both stamps were taken within the same few milliseconds; their hours follow the zones.
  EXPECT_EQ(file.substr(first - 23, 13), kathmandu);
  EXPECT_EQ(file.substr(second - 23, 13), losAngeles);
  EXPECT_NE(kathmandu, losAngeles);
}

TEST(ZuLogger, KeepsEveryLineOfEightThreadsExactlyOnceInEachThreadsOrder) {
  constexpr int kThreads = 8;
  constexpr int kMessages = 20000;
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < kMessages; ++i)
        ZuLogger::log(3, "-[Load run]", "load %d %d", t, i);
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  std::istringstream file(flushedLog());
  std::vector<int> next(kThreads, 0);
  int lines = 0;
  std::string line;
  const std::regex pattern(R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}\.\d{3}  load (\d+) (\d+))");
  while (std::getline(file, line)) {
    std::smatch match;
    if (!std::regex_match(line, match, pattern)) continue;
    const int thread = std::stoi(match[1]);
    const int index = std::stoi(match[2]);
    ASSERT_EQ(index, next[static_cast<std::size_t>(thread)]) << "thread " << thread;
    ++next[static_cast<std::size_t>(thread)];
    ++lines;
  }
  EXPECT_EQ(lines, kThreads * kMessages);
  for (int t = 0; t < kThreads; ++t)
    EXPECT_EQ(next[static_cast<std::size_t>(t)], kMessages);
}

}  // namespace

namespace {

// The library's own results, logged as "%@" arguments as a host would log them.
TEST(ZuLogger, TakesWhatTheLibraryHandsOutAsObjectArguments) {
  const std::optional<std::string> present = std::string("8D3F");
  const std::optional<std::string> absent;
  const zu::Date epoch = zu::Date::dateWithTimeIntervalSince1970(0);
  const std::optional<zu::Date> maybeDate = epoch;
  const zu::Dictionary dictionary{{"key", zu::Value("value")}};
  const zu::Array array{zu::Value(1), zu::Value("two")};
  const zu::Data data{0xde, 0xad};
  const std::optional<zu::Array> maybeArray = array;
  const std::vector<std::string> texts{"a", "b"};
  const std::optional<zu::NSInteger> count = 3;
  zu::Class* cls = zu::NSClassFromString(zu::Value("ZuLogger"));
  ZuLogger::log(ZuLogLevelLog, "-[Host run]", "values|%@|%@|%@|%@|%@|%@|%@|%@|%@|%@|%@|%d", present,
                absent, epoch, maybeDate, dictionary, array, data, maybeArray, texts, cls, count,
                count);
  const std::string expected =
      "values|8D3F|(null)|1970-01-01 00:00:00 +0000|1970-01-01 00:00:00 +0000|{\n    key = "
      "value;\n}"
      "|(\n    1,\n    two\n)|{length = 2, bytes = 0xdead}|(\n    1,\n    two\n)|(\n    a,\n    "
      "b\n)"
      "|ZuLogger|3|3\n";
  EXPECT_NE(flushedLog().find("  " + expected), std::string::npos) << flushedLog();
  // zu::format, and so NSLog, take the same.
  EXPECT_EQ(zu::format("%@ %@", absent, epoch), "(null) 1970-01-01 00:00:00 +0000");
}

// A host's own variadic logging function, formatting with vsnprintf and forwarding.
void hostLog(zu::NSInteger level, const char* format, ...)  // NOLINT(cert-dcl50-cpp)
    __attribute__((format(printf, 2, 3)));
void hostLog(zu::NSInteger level, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::array<char, 256> buffer{};
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start above initialises it
  std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
  va_end(arguments);
  ZuLogger::logMessage(level, "-[Host log]", buffer.data());
}

TEST(ZuLogger, LogsAMessageFormattedByTheHostAsItStands) {
  ZuLogger::configLogLevel(ZuLogLevelError);
  const StderrCapture capture;
  hostLog(ZuLogLevelError, "uploaded %d of %s (100%% %%@)", 3, "files");
  EXPECT_NE(flushedLog().find("  uploaded 3 of files (100% %@)\n"), std::string::npos);
  EXPECT_NE(capture.text().find(errorBanner("[Host log]", "uploaded 3 of files (100% %@)")),
            std::string::npos)
      << capture.text();
}

}  // namespace
