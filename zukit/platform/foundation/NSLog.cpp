#include "zukit/platform/foundation/NSLog.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <ctime>

#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NoDestructor.h"

namespace zu {

namespace {

Mutex& consoleMutex() {
  static NoDestructor<Mutex> mutex;
  return *mutex;
}

std::string consolePrefix() {
  const auto now = std::chrono::system_clock::now();
  const auto since = now.time_since_epoch();
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since);
  const auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(since - seconds);
  const std::time_t whole = seconds.count();
  std::tm local{};
  localtime_r(&whole, &local);
  char stamp[32];
  std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &local);
  char prefix[256];
  std::snprintf(prefix, sizeof prefix, "%s.%03d %s[%d:%ld] ", stamp,
                static_cast<int>(millis.count()), program_invocation_short_name,
                static_cast<int>(getpid()), static_cast<long>(syscall(SYS_gettid)));
  return prefix;
}

}  // namespace

void NSLogv(std::string_view message) {
  std::string line = consolePrefix();
  line.append(message);
  if (line.empty() || line.back() != '\n') line += '\n';
  MutexLock lock(consoleMutex());
  std::size_t written = 0;
  while (written < line.size()) {
    const ssize_t result = ::write(STDERR_FILENO, line.data() + written, line.size() - written);
    if (result < 0 && errno == EINTR) continue;
    if (result <= 0) return;
    written += static_cast<std::size_t>(result);
  }
}

}  // namespace zu
