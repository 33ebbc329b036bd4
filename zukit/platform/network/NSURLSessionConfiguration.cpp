#include "zukit/platform/network/NSURLSessionConfiguration.h"

namespace zu {

std::shared_ptr<NSURLSessionConfiguration>
NSURLSessionConfiguration::defaultSessionConfiguration() {
  auto configuration = std::make_shared<NSURLSessionConfiguration>(Passkey());
  configuration->_urlCache = NSURLCache::sharedURLCache();
  return configuration;
}

void NSURLSessionConfiguration::setTimeoutIntervalForRequest(NSTimeInterval seconds) {
  if (seconds > 0) _timeoutIntervalForRequest = seconds;
}

void NSURLSessionConfiguration::setTimeoutIntervalForResource(NSTimeInterval seconds) {
  if (seconds > 0) _timeoutIntervalForResource = seconds;
}

void NSURLSessionConfiguration::setHTTPMaximumConnectionsPerHost(NSInteger count) {
  if (count >= 1) _maximumConnectionsPerHost = count;
}

std::shared_ptr<NSURLSessionConfiguration> NSURLSessionConfiguration::copy() const {
  auto configuration = std::make_shared<NSURLSessionConfiguration>(Passkey());
  configuration->_allowsCellularAccess = _allowsCellularAccess;
  configuration->_timeoutIntervalForRequest = _timeoutIntervalForRequest;
  configuration->_timeoutIntervalForResource = _timeoutIntervalForResource;
  configuration->_requestCachePolicy = _requestCachePolicy;
  configuration->_additionalHeaders = _additionalHeaders;
  configuration->_maximumConnectionsPerHost = _maximumConnectionsPerHost;
  configuration->_urlCache = _urlCache;
  return configuration;
}

}  // namespace zu
