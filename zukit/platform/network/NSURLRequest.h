#pragma once

#include <memory>
#include <optional>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/NSURL.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

class NSMutableURLRequest;

// A span of time in seconds.
using NSTimeInterval = double;

// How a request uses the URL cache.
enum NSURLRequestCachePolicy : NSUInteger {
  // The protocol's rules: a fresh cached response is used, anything else is loaded.
  NSURLRequestUseProtocolCachePolicy = 0,
  // Always loaded from the origin; the local cache is not consulted (the result is still
  // stored).
  NSURLRequestReloadIgnoringLocalCacheData = 1,
  // A cached response of any age is used; loaded only when there is none.
  NSURLRequestReturnCacheDataElseLoad = 2,
  // Only a cached response is used; without one the task fails with resource unavailable.
  NSURLRequestReturnCacheDataDontLoad = 3,
  // As ReloadIgnoringLocalCacheData, and intermediaries are asked not to answer from their
  // caches ("Cache-Control: no-cache").
  NSURLRequestReloadIgnoringLocalAndRemoteCacheData = 4,
  // Loaded from the origin (there is no revalidation; treated as ReloadIgnoringLocalCacheData).
  NSURLRequestReloadRevalidatingCacheData = 5,
};
// The older name of NSURLRequestReloadIgnoringLocalCacheData.
inline constexpr NSURLRequestCachePolicy NSURLRequestReloadIgnoringCacheData =
    NSURLRequestReloadIgnoringLocalCacheData;

// The timeout of a request made without one, in seconds.
inline constexpr NSTimeInterval NSURLRequestDefaultTimeoutInterval = 60;

// An immutable HTTP request: URL, method, header fields, body, cache policy and timeout. A task
// takes a copy of its request when it is created.
class ZU_EXPORT NSURLRequest : public Object {
 public:
  ZU_RUNTIME_CLASS(NSURLRequest, Object)
  // A GET request for `url` (which may be none: a task for it fails with unsupported URL), with
  // the protocol cache policy and the default timeout.
  static std::shared_ptr<NSURLRequest> requestWithURL(std::shared_ptr<NSURL> url);
  // A request for `url` with the given cache policy and timeout.
  static std::shared_ptr<NSURLRequest> requestWithURL(std::shared_ptr<NSURL> url,
                                                      NSURLRequestCachePolicy cachePolicy,
                                                      NSTimeInterval timeoutInterval);

  // The URL, or none.
  const std::shared_ptr<NSURL>& URL() const { return _fields.url; }
  // The cache policy.
  NSURLRequestCachePolicy cachePolicy() const { return _fields.cachePolicy; }
  // The idle timeout: the longest wait for the connection or for more data, in seconds.
  NSTimeInterval timeoutInterval() const { return _fields.timeoutInterval; }
  // True when the timeout was given explicitly; otherwise the session's timeout applies.
  bool hasExplicitTimeoutInterval() const { return _fields.explicitTimeout; }
  // The method; "GET" when none was set.
  std::string HTTPMethod() const { return _fields.method.value_or("GET"); }
  // Every header field, under the names as given.
  const Dictionary& allHTTPHeaderFields() const { return _fields.headers; }
  // The value of a header field, its name compared without case; none when absent.
  std::optional<std::string> valueForHTTPHeaderField(const std::string& field) const;
  // The body, or none.
  const std::optional<Data>& HTTPBody() const { return _fields.body; }

  // An immutable copy.
  std::shared_ptr<NSURLRequest> copy() const;
  // A mutable copy.
  std::shared_ptr<NSMutableURLRequest> mutableCopy() const;

  // "<NSURLRequest: 0x...> { URL: <url> }".
  std::string description() const override;

  // Made by the factories and copies only.
  class Passkey {
    friend class NSURLRequest;
    friend class NSMutableURLRequest;
    Passkey() = default;
  };
  explicit NSURLRequest(Passkey /*unused*/) {}

 protected:
  struct Fields {
    std::shared_ptr<NSURL> url;
    NSURLRequestCachePolicy cachePolicy = NSURLRequestUseProtocolCachePolicy;
    NSTimeInterval timeoutInterval = NSURLRequestDefaultTimeoutInterval;
    bool explicitTimeout = false;
    std::optional<std::string> method;
    Dictionary headers;
    std::optional<Data> body;
  };

  Fields _fields;
};

}  // namespace zu
