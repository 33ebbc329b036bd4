#pragma once

#include <string>

namespace zukit::bench {

// Declares a ratio printed after the run: the time per operation of the `subject` benchmark
// divided by that of the `baseline` benchmark (both full benchmark names, as Google Benchmark
// prints them). `goal`, when given, is the largest ratio the goal allows.
class RatioRegistration {
 public:
  RatioRegistration(std::string subject, std::string baseline, double goal = 0);
};

// Declares a row of the growth table printed after the run: the time per operation of the
// benchmark `benchmark` (its name without the argument) at 100, 1,000 and 10,000 entries, as
// registered with ->Arg(100)->Arg(1000)->Arg(10000).
class GrowthRegistration {
 public:
  GrowthRegistration(std::string label, std::string benchmark);
};

// A fresh temporary directory for one benchmark's files, removed at exit.
std::string scratchDirectory(const std::string& name);

}  // namespace zukit::bench
