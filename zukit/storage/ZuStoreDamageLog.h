#pragma once

// Internal to libzukit (not installed, not exported): the stores' log of damaged files.

#include <string>

#include "zukit/platform/foundation/StoreFile.h"

// Logs at level 5 (ZuLogLevelError), under the caller's printed name, every store file (keychain
// group, preferences domain) that the platform found it could not read while the log lived on
// this thread: such files are kept aside or left alone, never replaced, and the platform says so
// on the console only, since it cannot reach the logger. Make one around a call that writes a
// store; it logs when it goes.
class ZuStoreDamageLog {
 public:
  // Collects until destroyed; `function` is the printed name, such as
  // "-[ZuKeychainItemWrapper writeToKeychain]".
  explicit ZuStoreDamageLog(std::string function) : _function(std::move(function)) {}
  ~ZuStoreDamageLog();
  ZuStoreDamageLog(const ZuStoreDamageLog&) = delete;
  ZuStoreDamageLog& operator=(const ZuStoreDamageLog&) = delete;

 private:
  const std::string _function;
  zu::StoreFile::Reports _reports;
};
