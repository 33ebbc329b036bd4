#pragma once

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace zukit::test {

// What a finished zukit-probe run left behind.
struct ProbeResult {
  // The exit status, or -1 when the probe was killed or did not finish in time.
  int exitCode = -1;
  std::string standardOutput;
  std::string standardError;
  bool timedOut = false;
};

// Runs zukit-probe as a fresh process with `arguments`, in the test's temporary home (HOME and
// XDG_* inherited), plus `environment` overrides. Kills it after `timeout`.
ProbeResult runProbe(const std::vector<std::string>& arguments,
                     const std::map<std::string, std::string>& environment = {},
                     std::chrono::milliseconds timeout = std::chrono::seconds(60));

// Runs any program the same way (used for the demo and helper scripts).
ProbeResult runProgram(const std::string& program, const std::vector<std::string>& arguments,
                       const std::map<std::string, std::string>& environment = {},
                       std::chrono::milliseconds timeout = std::chrono::seconds(60));

// The path of the zukit-probe executable.
std::string probePath();

}  // namespace zukit::test
