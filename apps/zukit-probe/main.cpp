// zukit-probe: a helper that tests start as a fresh process, to see what happens at launch, at
// exit and across processes. Each command lives in its own Probe*.cpp file.

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "apps/zukit-probe/ProbeCommand.h"
#include "zukit/core/ZuLogger.h"

namespace zukit::probe {

namespace {

struct Entry {
  const char* usage;
  ProbeCommand command;
};

std::map<std::string, Entry>& commands() {
  static std::map<std::string, Entry> registry;
  return registry;
}

}  // namespace

ProbeRegistration::ProbeRegistration(const char* name, const char* usage, ProbeCommand command) {
  if (!commands().emplace(name, Entry{usage, command}).second) {
    std::fprintf(stderr, "zukit-probe: command \"%s\" registered twice\n", name);
    std::abort();
  }
}

void printLine(const std::string& text) {
  std::fputs(text.c_str(), stdout);
  std::fputc('\n', stdout);
  std::fflush(stdout);
}

void flushLog() {
  zu::dispatch_sync(zu_log_get_dispatch_serial_queue(), [] {});
}

}  // namespace zukit::probe

int main(int argc, char** argv) {
  using zukit::probe::commands;
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.empty() || !commands().contains(arguments.front())) {
    std::fputs("usage: zukit-probe <command> [arguments]\n", stderr);
    for (const auto& [name, entry] : commands()) {
      std::fprintf(stderr, "  %s %s\n", name.c_str(), entry.usage);
    }
    return 2;
  }
  const auto& entry = commands().at(arguments.front());
  return entry.command(std::vector<std::string>(arguments.begin() + 1, arguments.end()));
}
