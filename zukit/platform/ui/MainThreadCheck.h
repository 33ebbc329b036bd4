#pragma once

// Internal to libzukit (not installed, not exported): the view system's main-thread rule.

namespace zu::detail {

// The rule of the view system: its objects are changed on the main thread only. True on the
// main thread; elsewhere writes "<method> must be called on the main thread; ignored" to the
// console and answers false, and the caller changes nothing.
bool onMainThreadOrRefuse(const char* method);

}  // namespace zu::detail
