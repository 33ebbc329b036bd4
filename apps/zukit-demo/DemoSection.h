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
