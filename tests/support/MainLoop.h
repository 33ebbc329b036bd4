#pragma once

#include <chrono>
#include <functional>

namespace zukit::test {

// Runs the main run loop on the calling (main) thread until `done` answers true or `timeout`
// passes; returns `done`'s last answer. Tests wait this way instead of sleeping.
bool pumpMainUntil(const std::function<bool()>& done,
                   std::chrono::milliseconds timeout = std::chrono::seconds(20));

// Waits, without running the main loop, until `done` answers true or `timeout` passes.
bool waitUntil(const std::function<bool()>& done,
               std::chrono::milliseconds timeout = std::chrono::seconds(20));

}  // namespace zukit::test
