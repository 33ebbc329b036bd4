#pragma once

#include <memory>
#include <optional>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/network/NSURLRequest.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// A request that can be changed. Not safe to change from several threads at once; a task takes
// its own copy, so later changes do not reach a task already made.
class ZU_EXPORT NSMutableURLRequest final : public NSURLRequest {
 public:
  ZU_RUNTIME_CLASS(NSMutableURLRequest, NSURLRequest)
  // A GET request for `url` with the protocol cache policy and the default timeout.
  static std::shared_ptr<NSMutableURLRequest> requestWithURL(std::shared_ptr<NSURL> url);
  // A request for `url` with the given cache policy and timeout.
  static std::shared_ptr<NSMutableURLRequest> requestWithURL(std::shared_ptr<NSURL> url,
                                                             NSURLRequestCachePolicy cachePolicy,
                                                             NSTimeInterval timeoutInterval);

  // Replaces the URL.
  void setURL(std::shared_ptr<NSURL> url) { _fields.url = std::move(url); }
  // Replaces the cache policy.
  void setCachePolicy(NSURLRequestCachePolicy policy) { _fields.cachePolicy = policy; }
  // Sets the idle timeout in seconds; a value that is not a positive number is ignored.
  void setTimeoutInterval(NSTimeInterval seconds);
  // Sets the method; none, empty text or text that is not an HTTP token unsets it (GET).
  void setHTTPMethod(const std::optional<std::string>& method);
  // Sets a header field, replacing a field of the same name in any case; none removes it. A
  // name that is not an HTTP token or a value holding CR, LF or NUL is ignored.
  void setValue(const std::optional<std::string>& value, const std::string& field);
  // Appends to a header field, joined by ","; invalid names and values are ignored as above.
  void addValue(const std::string& value, const std::string& field);
  // Replaces every header field with the valid entries of `fields` (text values only).
  void setAllHTTPHeaderFields(const Dictionary& fields);
  // Sets the body; none removes it. GET and HEAD requests send no body.
  void setHTTPBody(std::optional<Data> body) { _fields.body = std::move(body); }

  using NSURLRequest::NSURLRequest;
};

}  // namespace zu
