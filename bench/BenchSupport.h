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

// A fresh temporary directory for one benchmark's files, removed at exit.
std::string scratchDirectory(const std::string& name);

}  // namespace zukit::bench
