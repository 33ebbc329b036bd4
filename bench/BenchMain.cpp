// zukit-bench: each hot path of ZuKit measured beside the raw primitive it wraps or a peer, in
// the same run; a table of ratios follows Google Benchmark's own output.

#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): mkdtemp and setenv

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
  std::error_code ignored;
  for (const std::string& directory : zukit::bench::scratchDirectories()) {
    std::filesystem::remove_all(directory, ignored);
  }
  return 0;
}
