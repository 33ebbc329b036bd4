#include "zukit/core/ZuLogger.h"

#include <cstdlib>
#include <exception>
#include <stdexcept>

#include "zukit/core/ZuConstants.h"
#include "zukit/platform/foundation/Date.h"
#include "zukit/platform/foundation/NSBundle.h"
#include "zukit/platform/foundation/NSDateFormatter.h"
#include "zukit/platform/foundation/NSLog.h"
#include "zukit/platform/foundation/NSSearchPath.h"
#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/platform/foundation/SystemInfo.h"
#include "zukit/platform/foundation/Unicode.h"
#include "zukit/platform/ui/UIDevice.h"

namespace {

// Longest wait at process exit for lines still queued for the file.
constexpr std::int64_t kExitFlushTimeout = 2 * static_cast<std::int64_t>(zu::NSEC_PER_SEC);

std::string formattedNow(const char* pattern) {
  zu::NSDateFormatter formatter;
  formatter.setDateFormat(pattern);
  return formatter.stringFromDate(zu::Date::date());
}

std::string pathExtension(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  const std::size_t dot = name.rfind('.');
  if (dot == std::string::npos || dot == 0) return {};
  return name.substr(dot + 1);
}

// Whether the console setting lets a message of `level` through.
bool printsOnConsole(zu::NSInteger setting, zu::NSInteger level) {
  if (setting == ZuLogLevelLog || setting == ZuLogLevelWarn || setting == ZuLogLevelError) {
    return level == setting;
  }
  if (setting == ZuLogLevelAll) return level != ZuLogLevelData;
  return setting == ZuLogLevelData;
}

// Lets lines that were logged before exit reach the file.
void drainLogQueueAtExit() {
  const auto done = zu::dispatch_semaphore_create(0);
  zu::dispatch_async(zu_log_get_dispatch_serial_queue(), [done] { done->signal(); });
  done->wait(zu::dispatch_time(zu::DISPATCH_TIME_NOW, kExitFlushTimeout));
}

}  // namespace

zu::dispatch_queue_t zu_log_get_dispatch_serial_queue() {
  static zu::NoDestructor<zu::dispatch_queue_t> log_queue;
  static zu::dispatch_once_t onceToken;
  zu::dispatch_once(&onceToken, [] {
    *log_queue = zu::dispatch_queue_create("com.Zu.userlog", zu::DISPATCH_QUEUE_SERIAL);
  });
  return *log_queue;
}

std::shared_ptr<ZuLogger> ZuLogger::getInstance() {
  return sharedLogger();
}

const std::shared_ptr<ZuLogger>& ZuLogger::sharedLogger() {
  static zu::NoDestructor<std::shared_ptr<ZuLogger>> logger;
  static zu::dispatch_once_t onceToken;
  zu::dispatch_once(&onceToken, [] {
    *logger = std::make_shared<ZuLogger>(Passkey());
    // The header gathered by the constructor is the first write, queued before any caller can
    // reach the instance.
    (*logger)->queueWrite();
    std::atexit(drainLogQueueAtExit);
  });
  return *logger;
}

ZuLogger::ZuLogger(Passkey /*unused*/) : _fileManager(zu::NSFileManager::defaultManager()) {
  const std::vector<std::string> documents =
      zu::NSSearchPathForDirectoriesInDomains(zu::NSDocumentDirectory, zu::NSUserDomainMask, true);
  const std::string directory =
      (documents.empty() ? std::string() : documents.front()) + "/" + ZuDefaultLogDirectoryName;
  if (!_fileManager->fileExistsAtPath(directory)) {
    _fileManager->createDirectoryAtPath(directory, true);
  }
  // Pruning runs before this launch's file exists, so the new file never counts.
  handleFilesOfDirectory(directory);

  std::string fileName = zu::format("zusdk_%@", formattedNow("yyyy-MM-dd HH:mm:ss"));
  fileName = zu::format("%@.log", fileName);
  _logFilePath = directory + "/" + fileName;
  _fileManager->createFileAtPath(_logFilePath, nullptr);
  _fileHandler = zu::NSFileHandle::fileHandleForWritingAtPath(_logFilePath);

  const zu::Value version =
      zu::NSBundle::mainBundle()->objectForInfoDictionaryKey("CFBundleShortVersionString");
  zu::MutexLock lock(_pendingMutex);
  _writeQueued = true;
  _pending = zu::format("设备名称:%@\n手机系统版本:%@\n应用版本号:%@\n\n", zu::uname().machine,
                        zu::UIDevice::currentDevice()->systemVersion(), version);
}

ZuLogger::~ZuLogger() {
  if (_fileHandler) _fileHandler->closeFile();
}

void ZuLogger::configLogLevel(zu::NSInteger logLevel) {
  sharedLogger()->setLogLevel(logLevel);
}

void ZuLogger::logv(zu::NSInteger level, const char* function, std::string_view format,
                    std::span<const zu::FormatArg> args) {
  try {
    logMessage(level, function, zu::formatString(format, args));
  } catch (...) {  // NOLINT(bugprone-empty-catch): a failed log call is dropped by design
  }
}

void ZuLogger::logMessage(zu::NSInteger level, const char* function, std::string_view message) {
  try {
    const std::string text(message);
    ZuLogger& logger = *sharedLogger();
    if (printsOnConsole(logger.logLevel(), level)) logger.log(text, level, function);
    logger._log(text);
  } catch (...) {  // NOLINT(bugprone-empty-catch): a failed log call is dropped by design
  }
}

void ZuLogger::handleFilesOfDirectory(const std::string& directoryPath) {
  std::vector<std::string> logFiles;
  for (const std::string& relative : _fileManager->enumeratorAtPath(directoryPath)) {
    if (pathExtension(relative) == "log")
      logFiles.emplace_back(directoryPath + "/").append(relative);
  }
  if (logFiles.size() >= 3) _fileManager->removeItemAtPath(logFiles.front());
}

void ZuLogger::_log(const std::string& message) {
  // The time is formatted on the caller's thread as a fresh formatter would, so each line
  // carries the locale and time zone in force when it was logged: "<time> " then " <message>\n".
  std::string line;
  line.reserve(message.size() + 32);
  zu::NSDateFormatter::appendStringFromDate(line, "yyyy-MM-dd HH:mm:ss.SSS", zu::Date::date());
  line += "  ";
  line += message;
  line += '\n';
  submitWrite(line);
}

void ZuLogger::log(const std::string& message, zu::NSInteger level, const char* function) {
  try {
    std::string banner;
    if (level == ZuLogLevelError) {
      if (function == nullptr) throw std::invalid_argument("absent function name");
      const std::string name(function);
      if (name.empty()) throw std::out_of_range("empty function name");
      // Bytes that are not UTF-8 make no text; the banner then shows "(null)" as the name.
      const zu::Value shown =
          zu::isValidUtf8(name) ? zu::Value(zu::dropFirstCharacter(name)) : zu::Value();
      banner = zu::format(
          "\n\n******************** [Zu][%@] ********************\n%@\n%@\n"
          "******************************************************************\n\n",
          descriptionForLevel(ZuLogLevelError), shown, message);
    } else {
      banner = zu::format(
          "\n\n******************** [Zu][%@] ********************\n%@\n"
          "******************************************************************\n\n",
          descriptionForLevel(level), message);
    }
    zu::NSLog("%@", banner);
  } catch (...) {  // NOLINT(bugprone-empty-catch): a failed console print is dropped by design
  }
}

std::string ZuLogger::descriptionForLevel(zu::NSInteger level) const {
  switch (level) {
    case ZuLogLevelDebug:
      return "Debug";
    case ZuLogLevelLog:
      return "Log";
    case ZuLogLevelWarn:
      return "Warn";
    case ZuLogLevelError:
      return "Error";
    case ZuLogLevelData:
      return "Data";
    default:
      return "Unknown";
  }
}

void ZuLogger::submitWrite(std::string_view bytes) {
  bool mustQueue = false;
  {
    zu::MutexLock lock(_pendingMutex);
    _pending.append(bytes);
    mustQueue = !_writeQueued;
    _writeQueued = true;
  }
  if (mustQueue) queueWrite();
}

void ZuLogger::queueWrite() {
  // The block holds the logger.
  auto self = std::static_pointer_cast<ZuLogger>(shared_from_this());
  zu::dispatch_async(zu_log_get_dispatch_serial_queue(), [self] { self->writePending(); });
}

void ZuLogger::writePending() {
  // The two buffers trade places, so both keep their capacity: no allocation (and no fresh
  // pages) per write once they have grown.
  {
    zu::MutexLock lock(_pendingMutex);
    _writeQueued = false;
    _writing.swap(_pending);
  }
  if (_fileHandler && !_writing.empty()) _fileHandler->writeData(_writing);
  _writing.clear();
}
