// The logger beside spdlog: what a log call costs its caller, how many messages per second reach
// the file, and what the per-call date formatter costs. Console output is off throughout.

#include <fcntl.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <spdlog/async.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>

#include "bench/BenchSupport.h"
#include "zukit/core/ZuLogger.h"
#include "zukit/platform/foundation/NSDateFormatter.h"

namespace {

constexpr int kBatch = 10000;
constexpr const char* kPattern = "%Y-%m-%d %H:%M:%S.%e  %v";

void waitForLogFile() {
  zu::dispatch_sync(zu_log_get_dispatch_serial_queue(), [] {});
}

std::shared_ptr<spdlog::logger> syncLogger() {
  static const auto logger = [] {
    auto made =
        spdlog::basic_logger_mt("sync", zukit::bench::scratchDirectory("spdlog") + "/sync.log");
    made->set_pattern(kPattern);
    return made;
  }();
  return logger;
}

std::shared_ptr<spdlog::async_logger> asyncLogger() {
  static const auto logger = [] {
    spdlog::init_thread_pool(1 << 16, 1);
    auto sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(
        zukit::bench::scratchDirectory("spdlog-async") + "/async.log");
    auto made = std::make_shared<spdlog::async_logger>("async", sink, spdlog::thread_pool(),
                                                       spdlog::async_overflow_policy::block);
    made->set_pattern(kPattern);
    return made;
  }();
  return logger;
}

void waitForAsyncLogger() {
  while (spdlog::thread_pool()->queue_size() > 0)
    std::this_thread::yield();
  asyncLogger()->flush();
}

// --- What one call costs its caller ---

void BM_ZuLoggerCaller(benchmark::State& state) {
  ZuLogger::configLogLevel(0);
  int i = 0;
  for (auto _ : state)
    ZuLogger::log(3, "-[Bench run]", "message %d with a value %@", ++i, "text");
  waitForLogFile();
}
BENCHMARK(BM_ZuLoggerCaller)->MinTime(0.5)->Repetitions(5)->ReportAggregatesOnly(true);

void BM_SpdlogAsyncCaller(benchmark::State& state) {
  const auto logger = asyncLogger();
  int i = 0;
  for (auto _ : state)
    logger->info("message {} with a value {}", ++i, "text");
  waitForAsyncLogger();
}
BENCHMARK(BM_SpdlogAsyncCaller)->MinTime(0.5)->Repetitions(5)->ReportAggregatesOnly(true);

void BM_SpdlogSyncCaller(benchmark::State& state) {
  const auto logger = syncLogger();
  int i = 0;
  for (auto _ : state)
    logger->info("message {} with a value {}", ++i, "text");
  logger->flush();
}
BENCHMARK(BM_SpdlogSyncCaller)->MinTime(0.5)->Repetitions(5)->ReportAggregatesOnly(true);

// --- Sustained: a batch of messages until every byte is in the file ---

void BM_ZuLoggerSustained(benchmark::State& state) {
  ZuLogger::configLogLevel(0);
  for (auto _ : state) {
    for (int i = 0; i < kBatch; ++i) {
      ZuLogger::log(3, "-[Bench run]", "message %d with a value %@", i, "text");
    }
    waitForLogFile();
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_ZuLoggerSustained)
    ->Unit(benchmark::kMillisecond)
    ->MinTime(1.0)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

void BM_SpdlogSyncSustained(benchmark::State& state) {
  const auto logger = syncLogger();
  for (auto _ : state) {
    for (int i = 0; i < kBatch; ++i)
      logger->info("message {} with a value {}", i, "text");
    logger->flush();
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_SpdlogSyncSustained)
    ->Unit(benchmark::kMillisecond)
    ->MinTime(1.0)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

void BM_SpdlogAsyncSustained(benchmark::State& state) {
  const auto logger = asyncLogger();
  for (auto _ : state) {
    for (int i = 0; i < kBatch; ++i)
      logger->info("message {} with a value {}", i, "text");
    waitForAsyncLogger();
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_SpdlogAsyncSustained)
    ->Unit(benchmark::kMillisecond)
    ->MinTime(1.0)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

std::vector<std::string> preformattedLines() {
  std::vector<std::string> lines;
  lines.reserve(kBatch);
  for (int i = 0; i < kBatch; ++i) {
    lines.push_back("2026-11-21 05:49:32.672  message " + std::to_string(i) +
                    " with a value text\n");
  }
  return lines;
}

// The limit: the same bytes with one write() per line, as a plain file handle would.
void BM_RawWritePerLine(benchmark::State& state) {
  const auto lines = preformattedLines();
  const std::string path = zukit::bench::scratchDirectory("raw") + "/raw.log";
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  for (auto _ : state) {
    for (const std::string& line : lines)
      benchmark::DoNotOptimize(::write(fd, line.data(), line.size()));
  }
  ::close(fd);
  state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_RawWritePerLine)
    ->Unit(benchmark::kMillisecond)
    ->MinTime(1.0)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

// The same bytes gathered into one write() per batch.
void BM_RawWriteBatched(benchmark::State& state) {
  const auto lines = preformattedLines();
  std::string all;
  for (const std::string& line : lines)
    all += line;
  const std::string path = zukit::bench::scratchDirectory("raw-batched") + "/raw.log";
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  for (auto _ : state)
    benchmark::DoNotOptimize(::write(fd, all.data(), all.size()));
  ::close(fd);
  state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_RawWriteBatched)
    ->Unit(benchmark::kMillisecond)
    ->MinTime(1.0)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

// --- The per-call date formatter ---

void BM_DateFormatterFreshPerCall(benchmark::State& state) {
  for (auto _ : state) {
    zu::NSDateFormatter formatter;
    formatter.setDateFormat("yyyy-MM-dd HH:mm:ss.SSS");
    benchmark::DoNotOptimize(formatter.stringFromDate(zu::Date::date()));
  }
}
BENCHMARK(BM_DateFormatterFreshPerCall);

// What a new ICU formatter per call would cost without the per-thread cache.
void BM_IcuFormatterCreatedPerCall(benchmark::State& state) {
  for (auto _ : state) {
    UErrorCode status = U_ZERO_ERROR;
    icu::SimpleDateFormat formatter(icu::UnicodeString("yyyy-MM-dd HH:mm:ss.SSS"),
                                    icu::Locale::getDefault(), status);
    icu::UnicodeString text;
    formatter.format(zu::Date::date().timeIntervalSince1970() * 1000.0, text);
    std::string out;
    benchmark::DoNotOptimize(text.toUTF8String(out));
  }
}
BENCHMARK(BM_IcuFormatterCreatedPerCall);

void BM_IcuFormatterReused(benchmark::State& state) {
  UErrorCode status = U_ZERO_ERROR;
  icu::SimpleDateFormat formatter(icu::UnicodeString("yyyy-MM-dd HH:mm:ss.SSS"),
                                  icu::Locale::getDefault(), status);
  for (auto _ : state) {
    icu::UnicodeString text;
    formatter.format(zu::Date::date().timeIntervalSince1970() * 1000.0, text);
    std::string out;
    benchmark::DoNotOptimize(text.toUTF8String(out));
  }
}
BENCHMARK(BM_IcuFormatterReused);

const zukit::bench::RatioRegistration kCaller("BM_ZuLoggerCaller/min_time:0.500/repeats:5",
                                              "BM_SpdlogAsyncCaller/min_time:0.500/repeats:5", 1.0);
const zukit::bench::RatioRegistration kSustained("BM_ZuLoggerSustained/min_time:1.000/repeats:5",
                                                 "BM_SpdlogSyncSustained/min_time:1.000/repeats:5",
                                                 1.0);
const zukit::bench::RatioRegistration kSustainedAsync(
    "BM_ZuLoggerSustained/min_time:1.000/repeats:5",
    "BM_SpdlogAsyncSustained/min_time:1.000/repeats:5");
const zukit::bench::RatioRegistration kLimit("BM_ZuLoggerSustained/min_time:1.000/repeats:5",
                                             "BM_RawWritePerLine/min_time:1.000/repeats:5");
const zukit::bench::RatioRegistration kBatched("BM_ZuLoggerSustained/min_time:1.000/repeats:5",
                                               "BM_RawWriteBatched/min_time:1.000/repeats:5");
const zukit::bench::RatioRegistration kFormatter("BM_DateFormatterFreshPerCall",
                                                 "BM_IcuFormatterReused");
const zukit::bench::RatioRegistration kFormatterCreated("BM_IcuFormatterCreatedPerCall",
                                                        "BM_IcuFormatterReused");

}  // namespace
