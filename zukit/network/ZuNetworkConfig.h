#pragma once

#include <optional>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"

// The URL prefixes of the three server environments that ZuNetwork sends to. Each prefix holds
// a scheme and host, optionally a port ("https://api.example.com:8443"); a relative path is put
// directly after it, with nothing in between. A prefix set to absent, NSNull, empty text or a
// value that is not text is no prefix. Safe to read and change from any thread.
class ZU_EXPORT ZuNetworkConfig : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(ZuNetworkConfig, zu::Object)
  ZuNetworkConfig() = default;

  // The prefix of the development server (environment value 2), or none.
  std::optional<std::string> devEnvironmentHostName() const;
  // Sets the development prefix (a copy of the text).
  void setDevEnvironmentHostName(const zu::Value& hostName);
  // The prefix of the test server (environment value 1), or none.
  std::optional<std::string> testEnvironmentHostName() const;
  // Sets the test prefix (a copy of the text).
  void setTestEnvironmentHostName(const zu::Value& hostName);
  // The prefix of the production server (environment value 0, also when nothing is stored).
  std::optional<std::string> distributionEnvironmentHostName() const;
  // Sets the production prefix (a copy of the text).
  void setDistributionEnvironmentHostName(const zu::Value& hostName);

 private:
  mutable zu::Mutex _mutex;
  std::optional<std::string> _devEnvironmentHostName ZU_GUARDED_BY(_mutex);
  std::optional<std::string> _testEnvironmentHostName ZU_GUARDED_BY(_mutex);
  std::optional<std::string> _distributionEnvironmentHostName ZU_GUARDED_BY(_mutex);
};
