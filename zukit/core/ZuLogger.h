#pragma once

#include <atomic>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NSFileHandle.h"
#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/runtime/RuntimeClass.h"

// Log levels: a message's level and the console setting use the same numbers.
inline constexpr zu::NSInteger ZuLogLevelDebug = 0;
// As a setting: print every level but Data.
inline constexpr zu::NSInteger ZuLogLevelAll = 1;
inline constexpr zu::NSInteger ZuLogLevelLog = 3;
inline constexpr zu::NSInteger ZuLogLevelWarn = 4;
inline constexpr zu::NSInteger ZuLogLevelError = 5;
inline constexpr zu::NSInteger ZuLogLevelData = 10010;

// The library's log sink. Every message is appended to this launch's file
// Documents/Zu_Log/zusdk_<yyyy-MM-dd HH:mm:ss>.log, after a Chinese header; a message also goes
// to the console as a banner when the console setting lets its level through. Any thread may
// log: formatting and the console run on the caller's thread, file writes on the serial queue
// "com.Zu.userlog" in submission order. Nothing is ever reported to the caller.
class ZU_EXPORT ZuLogger : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(ZuLogger, zu::Object)
  // The shared logger, made on first use: the log directory is created, old log files pruned
  // and this launch's file opened with its header.
  static std::shared_ptr<ZuLogger> getInstance();
  // Sets the console setting of the shared logger.
  static void configLogLevel(zu::NSInteger logLevel);
  // Logs one message built from `format` ("%@"-aware) and `args`: to the console when the
  // setting lets `level` through, to the file always. `function` is the caller's printed name,
  // "-[Class method]" or "+[Class method]", such as
  // "+[ZuSwizzler swizzleSelector:onClass:withBlock:named:]"; a level-5 banner prints it
  // without its first character ("[ZuSwizzler swizzleSelector:onClass:withBlock:named:]").
  // Besides numbers, texts, Values and objects, "%@" takes every value the library's methods
  // return: dates, dictionaries, arrays, bytes, lists of texts, classes and optional values
  // (an absent one prints "(null)"); see zu::formatArgument().
  template <class... Args>
  static void log(zu::NSInteger level, const char* function, std::string_view format,
                  const Args&... args) {
    logv(level, function, format,
         std::array<zu::FormatArg, sizeof...(Args)>{zu::FormatArg(zu::formatArgument(args))...});
  }
  // log() with the arguments as a list.
  static void logv(zu::NSInteger level, const char* function, std::string_view format,
                   std::span<const zu::FormatArg> args);
  // Logs `message` as it stands, for a host's own logging function that has formatted it
  // already (no "%" in it is read as a conversion); otherwise as log().
  static void logMessage(zu::NSInteger level, const char* function, std::string_view message);

  // Removes the first of the ".log" entries found by a deep walk of `directoryPath` when there
  // are three or more of them; at most one per call.
  void handleFilesOfDirectory(const std::string& directoryPath);
  // Appends one line, "<yyyy-MM-dd HH:mm:ss.SSS>  <message>\n", to the file.
  void _log(const std::string& message);
  // Prints the console banner of `message`; a level-5 banner also names `function` without its
  // first character. Failures (an absent or empty name) are swallowed.
  void log(const std::string& message, zu::NSInteger level, const char* function);
  // "Debug", "Log", "Warn", "Error", "Data", or "Unknown".
  std::string descriptionForLevel(zu::NSInteger level) const;
  // The console setting; 0 until set.
  zu::NSInteger logLevel() const { return _logLevel.load(std::memory_order_relaxed); }
  // Sets the console setting.
  void setLogLevel(zu::NSInteger logLevel) { _logLevel.store(logLevel, std::memory_order_relaxed); }
  // The full path of this launch's log file.
  const std::string& logFilePath() const { return _logFilePath; }

  // Made only by getInstance().
  class Passkey {
    friend class ZuLogger;
    Passkey() = default;
  };
  explicit ZuLogger(Passkey /*unused*/);
  ~ZuLogger() override;
  ZuLogger(const ZuLogger&) = delete;
  ZuLogger& operator=(const ZuLogger&) = delete;

 private:
  // The shared logger without a reference count change, for the hot path.
  static const std::shared_ptr<ZuLogger>& sharedLogger();
  void submitWrite(std::string_view bytes);
  void queueWrite();
  void writePending();

  std::shared_ptr<zu::NSFileManager> _fileManager;
  std::shared_ptr<zu::NSFileHandle> _fileHandler;
  std::string _logFilePath;
  // Read and written without a lock, as the design wants; atomic so that it is not a data race.
  std::atomic<zu::NSInteger> _logLevel{0};
  // Lines waiting for the log queue. A line is appended here and a write block is queued only
  // when none is waiting to start; that block writes everything gathered by the time it starts
  // in one system call. Every line is thus written by a block queued after it was logged, so a
  // block submitted to the log queue after a line still runs after that line is in the file:
  // the bytes and their order are those of one block per line, at a fraction of the cost.
  zu::Mutex _pendingMutex;
  std::string _pending ZU_GUARDED_BY(_pendingMutex);
  bool _writeQueued ZU_GUARDED_BY(_pendingMutex) = false;
  // The bytes being written; touched only by blocks on the log queue.
  std::string _writing;
};

// The log queue: a serial queue labelled "com.Zu.userlog", created once per process.
ZU_EXPORT zu::dispatch_queue_t zu_log_get_dispatch_serial_queue();
