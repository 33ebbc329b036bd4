#include "zukit/network/ZuNetworkConfig.h"

std::optional<std::string> ZuNetworkConfig::devEnvironmentHostName() const {
  zu::MutexLock lock(_mutex);
  return _devEnvironmentHostName;
}

void ZuNetworkConfig::setDevEnvironmentHostName(const zu::Value& hostName) {
  std::optional<std::string> text = zu::validText(hostName);
  zu::MutexLock lock(_mutex);
  _devEnvironmentHostName = std::move(text);
}

std::optional<std::string> ZuNetworkConfig::testEnvironmentHostName() const {
  zu::MutexLock lock(_mutex);
  return _testEnvironmentHostName;
}

void ZuNetworkConfig::setTestEnvironmentHostName(const zu::Value& hostName) {
  std::optional<std::string> text = zu::validText(hostName);
  zu::MutexLock lock(_mutex);
  _testEnvironmentHostName = std::move(text);
}

std::optional<std::string> ZuNetworkConfig::distributionEnvironmentHostName() const {
  zu::MutexLock lock(_mutex);
  return _distributionEnvironmentHostName;
}

void ZuNetworkConfig::setDistributionEnvironmentHostName(const zu::Value& hostName) {
  std::optional<std::string> text = zu::validText(hostName);
  zu::MutexLock lock(_mutex);
  _distributionEnvironmentHostName = std::move(text);
}
