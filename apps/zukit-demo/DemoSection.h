#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "zukit/platform/foundation/Format.h"

namespace zukit::demo {

// What every section of the tour can use.
struct DemoContext {
  // The sandbox directory that stands in for the home directory.
  std::string sandbox;
};

// One section of the tour: prints what it shows.
using DemoSectionFunction = void (*)(DemoContext& context);

// Registers a section at start-up; sections run in increasing `order`.
class DemoRegistration {
 public:
  DemoRegistration(int order, const char* title, DemoSectionFunction section);
};

// A part of the tour that runs in a child process of its own, started as
// "zukit-demo --child NAME"; returns the child's exit status.
using DemoChildFunction = int (*)();

// Registers a child part at start-up under `name`.
class DemoChildRegistration {
 public:
  DemoChildRegistration(const char* name, DemoChildFunction child);
};

// The path of the running zukit-demo, for starting child parts.
std::string demoExecutablePath();

// Runs the child part `name`; exit status 2 when there is none.
int runDemoChild(const std::string& name);

// Prints one line of the tour.
void say(std::string_view text);

// Prints one formatted line of the tour ("%@"-aware).
template <class... Args>
void sayf(std::string_view format, const Args&... args) {
  say(zu::format(format, args...));
}

// Runs the main run loop until `done` answers true or 20 seconds pass; false on time-out.
bool waitOnMainLoop(const std::function<bool()>& done);

}  // namespace zukit::demo
