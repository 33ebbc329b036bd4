#pragma once

#include <memory>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/network/NSURLCache.h"
#include "zukit/platform/network/NSURLRequest.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// The settings a session is made with. A session takes a copy, so later changes to this object
// do not reach a session already made. Not safe to change from several threads at once.
class ZU_EXPORT NSURLSessionConfiguration final : public Object {
 public:
  ZU_RUNTIME_CLASS(NSURLSessionConfiguration, Object)
  // Defaults: cellular access allowed, 60-second request timeout, 7-day resource timeout, the
  // protocol cache policy, the shared URL cache, 6 connections per host, no extra headers.
  static std::shared_ptr<NSURLSessionConfiguration> defaultSessionConfiguration();

  // Whether transfers may use a cellular radio. Linux hosts have no such distinction, so this
  // is kept and reported but changes nothing.
  bool allowsCellularAccess() const { return _allowsCellularAccess; }
  void setAllowsCellularAccess(bool allows) { _allowsCellularAccess = allows; }
  // The idle timeout of a request that does not give its own, in seconds.
  NSTimeInterval timeoutIntervalForRequest() const { return _timeoutIntervalForRequest; }
  // Sets it; a value that is not a positive number is ignored.
  void setTimeoutIntervalForRequest(NSTimeInterval seconds);
  // The longest a whole transfer may take, in seconds.
  NSTimeInterval timeoutIntervalForResource() const { return _timeoutIntervalForResource; }
  // Sets it; a value that is not a positive number is ignored.
  void setTimeoutIntervalForResource(NSTimeInterval seconds);
  // The cache policy of tasks made from a URL rather than a request.
  NSURLRequestCachePolicy requestCachePolicy() const { return _requestCachePolicy; }
  void setRequestCachePolicy(NSURLRequestCachePolicy policy) { _requestCachePolicy = policy; }
  // Header fields added to every request that does not set them itself.
  const Dictionary& HTTPAdditionalHeaders() const { return _additionalHeaders; }
  void setHTTPAdditionalHeaders(Dictionary headers) { _additionalHeaders = std::move(headers); }
  // The most connections open at once to one host; later transfers wait for a free one.
  NSInteger HTTPMaximumConnectionsPerHost() const { return _maximumConnectionsPerHost; }
  // Sets it; a value below 1 is ignored.
  void setHTTPMaximumConnectionsPerHost(NSInteger count);
  // The response cache; none turns caching off.
  const std::shared_ptr<NSURLCache>& URLCache() const { return _urlCache; }
  void setURLCache(std::shared_ptr<NSURLCache> cache) { _urlCache = std::move(cache); }

  // A copy with the same settings (the URL cache is shared, not copied).
  std::shared_ptr<NSURLSessionConfiguration> copy() const;

  // Made by defaultSessionConfiguration() and copy() only.
  class Passkey {
    friend class NSURLSessionConfiguration;
    Passkey() = default;
  };
  explicit NSURLSessionConfiguration(Passkey /*unused*/) {}

 private:
  bool _allowsCellularAccess = true;
  NSTimeInterval _timeoutIntervalForRequest = 60;
  NSTimeInterval _timeoutIntervalForResource = 7 * 24 * 60 * 60;
  NSURLRequestCachePolicy _requestCachePolicy = NSURLRequestUseProtocolCachePolicy;
  Dictionary _additionalHeaders;
  NSInteger _maximumConnectionsPerHost = 6;
  std::shared_ptr<NSURLCache> _urlCache;
};

}  // namespace zu
