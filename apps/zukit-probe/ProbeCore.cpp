// Probe commands for the core services: the logger at launch and exit, and the dispatch
// helpers' one-shot queue rule.

#include <cstdlib>
#include <string>
#include <vector>

#include "apps/zukit-probe/ProbeCommand.h"
#include "zukit/core/ZuConstants.h"
#include "zukit/core/ZuDispatchQueueManager.h"
#include "zukit/core/ZuLogger.h"
#include "zukit/core/ZuSerialQueue.h"

namespace zukit::probe {

namespace {

// logger [config N] [log LEVEL FUNCTION TEXT]... [burst COUNT TEXT] [path] [flush]
// FUNCTION "-" stands for an absent function name; "burst" logs COUNT lines "TEXT <i>" at level
// 3. Lines not flushed explicitly still reach the file through the exit drain.
int runLogger(const std::vector<std::string>& arguments) {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& op = arguments[i];
    if (op == "config" && i + 1 < arguments.size()) {
      ZuLogger::configLogLevel(std::strtol(arguments[++i].c_str(), nullptr, 10));
    } else if (op == "log" && i + 3 < arguments.size()) {
      const long level = std::strtol(arguments[i + 1].c_str(), nullptr, 10);
      const std::string& function = arguments[i + 2];
      ZuLogger::log(level, function == "-" ? nullptr : function.c_str(), "%@", arguments[i + 3]);
      i += 3;
    } else if (op == "burst" && i + 2 < arguments.size()) {
      const long count = std::strtol(arguments[i + 1].c_str(), nullptr, 10);
      for (long n = 0; n < count; ++n)
        ZuLogger::log(3, "-[Probe burst]", "%@ %ld", arguments[i + 2], n);
      i += 2;
    } else if (op == "path") {
      printLine(ZuLogger::getInstance()->logFilePath());
    } else if (op == "flush") {
      flushLog();
    } else {
      printLine("unknown logger step: " + op);
      return 2;
    }
  }
  return 0;
}

// serial-queue-first-tag (exported|other): the first dispatchInSerialQueue call uses the given
// tag; then a call with the exported tag follows. Prints whether each block ran.
int runSerialQueueFirstTag(const std::vector<std::string>& arguments) {
  static int otherTag = 0;
  void* first = !arguments.empty() && arguments[0] == "other"
                    ? static_cast<void*>(&otherTag)
                    : QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD;
  const auto ran = zu::dispatch_semaphore_create(0);
  ZuDispatchQueueManager::dispatchInSerialQueue(first, [ran] { ran->signal(); });
  const auto timeout =
      zu::dispatch_time(zu::DISPATCH_TIME_NOW, static_cast<std::int64_t>(zu::NSEC_PER_SEC));
  printLine(ran->wait(timeout) == 0 ? "first: ran" : "first: dropped");
  ZuDispatchQueueManager::dispatchInSerialQueue(QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD,
                                                [ran] { ran->signal(); });
  const auto secondTimeout =
      zu::dispatch_time(zu::DISPATCH_TIME_NOW, static_cast<std::int64_t>(zu::NSEC_PER_SEC));
  printLine(ran->wait(secondTimeout) == 0 ? "second: ran" : "second: dropped");
  printLine(getSerialQueue(QUEUE_TAG_HANDLE_NORMAL_ASYNC_TASK_IN_MAIN_THREAD) ? "queue: present"
                                                                              : "queue: none");
  return 0;
}

const ProbeRegistration kLogger(
    "logger", "[config N] [log LEVEL FUNCTION TEXT]... [burst COUNT TEXT] [path] [flush]",
    &runLogger);
const ProbeRegistration kSerialQueueFirstTag("serial-queue-first-tag", "exported|other",
                                             &runSerialQueueFirstTag);

}  // namespace

}  // namespace zukit::probe
