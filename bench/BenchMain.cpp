// zukit-bench: each hot path of ZuKit measured beside the raw primitive it wraps or a peer, in
// the same run; a table of ratios follows Google Benchmark's own output.

#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): mkdtemp and setenv

#include <array>
#include <cstdio>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/BenchSupport.h"

namespace zukit::bench {

namespace {

struct Ratio {
  std::string subject;
  std::string baseline;
  double goal;
};

std::vector<Ratio>& ratios() {
  static std::vector<Ratio> list;
  return list;
}

struct Growth {
  std::string label;
  std::string benchmark;
};

std::vector<Growth>& growths() {
  static std::vector<Growth> list;
  return list;
}

// The growth table: each row's time per operation at 100, 1,000 and 10,000 entries, and how
// many times the cost at 10,000 is the cost at 100.
void printGrowthTable(const std::map<std::string, double>& times) {
  if (growths().empty()) return;
  std::printf("\n%-46s %12s %12s %12s %10s\n", "growth (time per operation)", "100", "1,000",
              "10,000", "10k/100");
  for (const Growth& growth : growths()) {
    std::array<std::string, 3> cells;
    double first = 0;
    double last = 0;
    const std::array<const char*, 3> sizes = {"/100", "/1000", "/10000"};
    for (int i = 0; i < 3; ++i) {
      const auto found = times.find(growth.benchmark + sizes[i]);
      if (found == times.end()) {
        cells[i] = "-";
        continue;
      }
      const double microseconds = found->second / 1000;
      cells[i] = microseconds >= 1000 ? std::to_string(microseconds / 1000).substr(0, 6) + " ms"
                                      : std::to_string(microseconds).substr(0, 6) + " us";
      if (i == 0) first = microseconds;
      if (i == 2) last = microseconds;
    }
    std::string factor = "-";
    if (first > 0 && last > 0) factor = std::to_string(last / first).substr(0, 6) + "x";
    std::printf("%-46s %12s %12s %12s %10s\n", growth.label.c_str(), cells[0].c_str(),
                cells[1].c_str(), cells[2].c_str(), factor.c_str());
  }
}

std::vector<std::string>& scratchDirectories() {
  static std::vector<std::string> list;
  return list;
}

// Keeps each benchmark's time per operation in nanoseconds while the console shows the runs.
// A benchmark run with repetitions is represented by its median, the figure least moved by a
// busy machine.
class CollectingReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.error_occurred) continue;
      const double perUnit = benchmark::GetTimeUnitMultiplier(run.time_unit);
      const double nanoseconds = run.GetAdjustedRealTime() / perUnit * 1e9;
      const std::string name = run.run_name.str();
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
        times[name] = nanoseconds;
        medians.insert(name);
      } else if (run.run_type == Run::RT_Iteration && !medians.contains(name)) {
        times[name] = nanoseconds;
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }

  std::map<std::string, double> times;
  std::set<std::string> medians;
};

}  // namespace

RatioRegistration::RatioRegistration(std::string subject, std::string baseline, double goal) {
  ratios().push_back(Ratio{std::move(subject), std::move(baseline), goal});
}

GrowthRegistration::GrowthRegistration(std::string label, std::string benchmark) {
  growths().push_back(Growth{std::move(label), std::move(benchmark)});
}

std::string scratchDirectory(const std::string& name) {
  std::string pattern =
      (std::filesystem::temp_directory_path() / ("zukit-bench-" + name + ".XXXXXX")).string();
  if (mkdtemp(pattern.data()) == nullptr) return std::filesystem::temp_directory_path().string();
  scratchDirectories().push_back(pattern);
  return pattern;
}

}  // namespace zukit::bench

int main(int argc, char** argv) {
  using zukit::bench::ratios;
  // The library's files (log, preferences, caches) go to a scratch home, never the real one.
  const std::string home = zukit::bench::scratchDirectory("home");
  setenv("HOME", home.c_str(), 1);                               // NOLINT(concurrency-mt-unsafe)
  setenv("XDG_CONFIG_HOME", (home + "/.config").c_str(), 1);     // NOLINT(concurrency-mt-unsafe)
  setenv("XDG_DATA_HOME", (home + "/.local/share").c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
  setenv("XDG_CACHE_HOME", (home + "/.cache").c_str(), 1);       // NOLINT(concurrency-mt-unsafe)

  benchmark::Initialize(&argc, argv);
  zukit::bench::CollectingReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();

  std::printf("\n%-58s %-44s %10s %8s\n", "subject", "baseline", "ratio", "goal");
  for (const auto& ratio : ratios()) {
    const auto subject = reporter.times.find(ratio.subject);
    const auto baseline = reporter.times.find(ratio.baseline);
    if (subject == reporter.times.end() || baseline == reporter.times.end() ||
        baseline->second <= 0) {
      continue;
    }
    const double value = subject->second / baseline->second;
    std::string goal = "-";
    if (ratio.goal > 0)
      goal = (value <= ratio.goal ? "<= " : "MISSED ") + std::to_string(ratio.goal).substr(0, 4);
    std::printf("%-58s %-44s %9.2fx %8s\n", ratio.subject.c_str(), ratio.baseline.c_str(), value,
                goal.c_str());
  }
  zukit::bench::printGrowthTable(reporter.times);
  std::error_code ignored;
  for (const std::string& directory : zukit::bench::scratchDirectories()) {
    std::filesystem::remove_all(directory, ignored);
  }
  return 0;
}
