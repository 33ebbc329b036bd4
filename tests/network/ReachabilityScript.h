#pragma once

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Probe.h"

namespace zukit::test {

// The probe's exit status when the kernel refuses it a private network namespace.
inline constexpr int kNamespaceRefused = 77;

// Links every namespace script starts from: a veth pair va-vb, both up, with va at 10.9.0.1/24
// and no route beyond that subnet. 10.9.0.2 stands for a gateway on va's link; vb has no
// address, so that it is not a local address of the namespace.
inline const std::vector<std::string> kVethPair{"ip link add name va type veth peer name vb",
                                                "ip addr add 10.9.0.1/24 dev va",
                                                "ip link set vb up", "ip link set va up"};

// The output lines of a zukit-probe "reach" script run in a fresh process and namespace.
struct ReachabilityRun {
  int exitCode = -1;
  std::vector<std::string> lines;
  std::string standardError;
  bool refused = false;
};

// Runs `steps` after `setup` in a fresh probe process with a namespace of its own.
inline ReachabilityRun runReachability(const std::vector<std::string>& setup,
                                       const std::vector<std::string>& steps,
                                       const std::map<std::string, std::string>& environment = {}) {
  std::vector<std::string> arguments{"reach"};
  arguments.insert(arguments.end(), setup.begin(), setup.end());
  arguments.insert(arguments.end(), steps.begin(), steps.end());
  const ProbeResult result = runProbe(arguments, environment);
  ReachabilityRun run;
  run.exitCode = result.exitCode;
  run.standardError = result.standardError;
  run.refused = result.exitCode == kNamespaceRefused;
  std::istringstream stream(result.standardOutput);
  for (std::string line; std::getline(stream, line);)
    run.lines.push_back(line);
  return run;
}

}  // namespace zukit::test

// Skips the test when the machine refuses network namespaces (the probe says why).
#define ZU_SKIP_WITHOUT_NAMESPACES(run)                          \
  if ((run).refused) {                                           \
    GTEST_SKIP() << "no private network namespace: "             \
                 << ((run).lines.empty() ? "" : (run).lines[0]); \
  }
