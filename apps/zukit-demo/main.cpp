// zukit-demo: a headless tour of every ZuKit subsystem, as a host SDK would use them. It runs in
// a sandbox directory that stands in for the home directory (never the real home unless asked).

#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): setenv

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>

#include "apps/zukit-demo/DemoSection.h"
#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/foundation/NSSearchPath.h"

namespace zukit::demo {

namespace {

struct Section {
  const char* title;
  DemoSectionFunction function;
};

std::multimap<int, Section>& sections() {
  static std::multimap<int, Section> registry;
  return registry;
}

void usage() {
  std::puts(
      "usage: zukit-demo [--sandbox DIR] [--fresh] [--real-home]\n"
      "  --sandbox DIR  run with DIR as home (default: ./.zukit-demo-home, kept between runs)\n"
      "  --fresh        empty the sandbox first\n"
      "  --real-home    use the real home directory instead of a sandbox");
}

}  // namespace

namespace {

std::map<std::string, DemoChildFunction>& children() {
  static std::map<std::string, DemoChildFunction> registry;
  return registry;
}

}  // namespace

DemoChildRegistration::DemoChildRegistration(const char* name, DemoChildFunction child) {
  children().emplace(name, child);
}

std::string demoExecutablePath() {
  std::error_code ignored;
  return std::filesystem::read_symlink("/proc/self/exe", ignored).string();
}

int runDemoChild(const std::string& name) {
  const auto found = children().find(name);
  return found == children().end() ? 2 : found->second();
}

DemoRegistration::DemoRegistration(int order, const char* title, DemoSectionFunction section) {
  sections().emplace(order, Section{title, section});
}

void say(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fputc('\n', stdout);
  std::fflush(stdout);
}

bool waitOnMainLoop(const std::function<bool()>& done) {
  return zu::RunLoop::main().runUntil(done, std::chrono::seconds(20));
}

}  // namespace zukit::demo

int main(int argc, char** argv) {
  namespace fs = std::filesystem;
  // A part of the tour in a child process: it inherits the parent's sandbox.
  if (argc == 3 && std::strcmp(argv[1], "--child") == 0) return zukit::demo::runDemoChild(argv[2]);
  std::string sandbox = (fs::current_path() / ".zukit-demo-home").string();
  bool fresh = false;
  bool realHome = false;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--sandbox" && i + 1 < argc) {
      sandbox = fs::absolute(argv[++i]).string();
    } else if (argument == "--fresh") {
      fresh = true;
    } else if (argument == "--real-home") {
      realHome = true;
    } else {
      zukit::demo::usage();
      return argument == "--help" || argument == "-h" ? 0 : 2;
    }
  }
  if (!realHome) {
    std::error_code ignored;
    if (fresh) fs::remove_all(sandbox, ignored);
    fs::create_directories(sandbox, ignored);
    // Before any library call: every path the library uses derives from these.
    setenv("HOME", sandbox.c_str(), 1);                            // NOLINT(concurrency-mt-unsafe)
    setenv("XDG_CONFIG_HOME", (sandbox + "/.config").c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
    setenv("XDG_DATA_HOME", (sandbox + "/.local/share").c_str(),
           1);                                                   // NOLINT(concurrency-mt-unsafe)
    setenv("XDG_CACHE_HOME", (sandbox + "/.cache").c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
  }
  zukit::demo::DemoContext context{realHome ? zu::NSHomeDirectory() : sandbox};
  zukit::demo::say("ZuKit demo: a headless tour of the library");
  zukit::demo::say("home: " + context.sandbox);
  for (const auto& [order, section] : zukit::demo::sections()) {
    zukit::demo::say("");
    zukit::demo::say(std::string("== ") + section.title + " ==");
    section.function(context);
  }
  zukit::demo::say("");
  zukit::demo::say("Tour finished.");
  return 0;
}
