#include "zukit/storage/ZuStoreDamageLog.h"

#include "zukit/core/ZuLogger.h"

ZuStoreDamageLog::~ZuStoreDamageLog() {
  for (const std::string& message : _reports.messages())
    ZuLogger::log(ZuLogLevelError, _function.c_str(), "%@", message);
}
