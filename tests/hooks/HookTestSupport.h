#pragma once

// What the hook tests share: a recording base class and the log file's text.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/StderrCapture.h"
#include "zukit/core/ZuLogger.h"
#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zukit::test {

// Test objects record which implementations and callbacks ran on them, in order.
class HookRecorder : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(HookRecorder, zu::Object)
  std::vector<std::string> events;
};

// Records `event` on `self` when it is a HookRecorder.
inline void recordOn(zu::Object* self, const std::string& event) {
  if (auto* recorder = dynamic_cast<HookRecorder*>(self)) recorder->events.push_back(event);
}

// The text of this process's log file, once every line logged so far has been written.
inline std::string logFileText() {
  // The logger first: making it queues the file's header.
  const std::string path = ZuLogger::getInstance()->logFilePath();
  zu::dispatch_sync(zu_log_get_dispatch_serial_queue(), [] {});
  return readFile(path);
}

}  // namespace zukit::test

// Hook points keep their records for the life of the process, so a test that needs a hook
// point untouched runs only in a fresh process (as CTest runs each test).
#define ZU_REQUIRE_EMPTY_SLOT(slot)                                                   \
  if ((slot).get() != nullptr) {                                                      \
    GTEST_SKIP() << #slot " already holds a record; this test needs a fresh process"; \
  }
