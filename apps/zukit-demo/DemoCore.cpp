// The tour's core section: exported constants, the dispatch helpers and the logger.

#include <atomic>
#include <fstream>
#include <string>
#include <thread>

#include "apps/zukit-demo/DemoSection.h"
#include "zukit/core/ZuConstants.h"
#include "zukit/core/ZuDispatchQueueManager.h"
#include "zukit/core/ZuLogger.h"

namespace zukit::demo {

namespace {

void showConstants(DemoContext& /*context*/) {
  std::string version(reinterpret_cast<const char*>(ZuKitVersionString));
  version.pop_back();
  sayf(R"(ZuKitVersionNumber %@, ZuKitVersionString "%@\n")", ZuKitVersionNumber, version);
  sayf("ZuErrorDomain %@, ZuDefaultLogDirectoryName %@", ZuErrorDomain, ZuDefaultLogDirectoryName);
  sayf("serial queue label %@", QUEUE_NAME_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD);
}

void showDispatch(DemoContext& /*context*/) {
  bool ranInline = false;
  ZuDispatchQueueManager::dispatchInMainThread([&ranInline] { ranInline = true; }, true);
  sayf("on the main queue, an async block has already run when the call returns: %@",
       ranInline ? "yes" : "no");

  std::atomic<bool> fromBackground{false};
  std::thread background([&fromBackground] {
    ZuDispatchQueueManager::dispatchInMainThread([&fromBackground] { fromBackground = true; },
                                                 true);
  });
  background.join();
  waitOnMainLoop([&fromBackground] { return fromBackground.load(); });
  sayf("from a background thread, the block ran later on the main run loop: %@",
       fromBackground ? "yes" : "no");

  std::atomic<int> step{0};
  std::string order;
  ZuDispatchQueueManager::dispatchInSerialQueue(
      QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD, [&step, &order] {
        order += "outer-start ";
        ZuDispatchQueueManager::dispatchInSerialQueue(
            QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD, [&order] { order += "inner "; });
        order += "outer-end";
        step = 1;
      });
  waitOnMainLoop([&step] { return step.load() == 1; });
  sayf("a block submitted from inside the serial queue runs nested: %@", order);
}

void showLogger(DemoContext& /*context*/) {
  say("console setting 1 (everything but Data): banners follow on standard error");
  ZuLogger::configLogLevel(ZuLogLevelAll);
  ZuLogger::log(ZuLogLevelDebug, "-[DemoHost start]", "debug message %d", 0);
  ZuLogger::log(ZuLogLevelLog, "-[DemoHost start]", "progress message %@", "step 1");
  ZuLogger::log(ZuLogLevelWarn, "-[DemoHost start]", "warning message");
  ZuLogger::log(ZuLogLevelError, "-[DemoHost start]", "error message with code %ld", 42L);
  ZuLogger::log(ZuLogLevelData, "-[DemoHost start]", "data record (file only at setting 1)");
  say("console setting 4 (Warn only): one Warn banner, the Error goes to the file only");
  ZuLogger::configLogLevel(ZuLogLevelWarn);
  ZuLogger::log(ZuLogLevelWarn, "-[DemoHost start]", "second warning");
  ZuLogger::log(ZuLogLevelError, "-[DemoHost start]", "second error (file only)");
  ZuLogger::configLogLevel(ZuLogLevelDebug);

  zu::dispatch_sync(zu_log_get_dispatch_serial_queue(), [] {});
  const std::string path = ZuLogger::getInstance()->logFilePath();
  sayf("log file: %@", path);
  say("its first lines:");
  std::ifstream file(path);
  std::string line;
  for (int shown = 0; shown < 12 && std::getline(file, line); ++shown)
    say("  | " + line);
}

const DemoRegistration kConstants(10, "Exported constants", &showConstants);
const DemoRegistration kDispatch(11, "Dispatch helpers", &showDispatch);
const DemoRegistration kLogger(12, "Logger", &showLogger);

}  // namespace

}  // namespace zukit::demo
