#pragma once

#include <memory>
#include <optional>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/network/NSURLResponse.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// The response to an HTTP request: status code, HTTP version and header fields. The media
// type, expected length and text encoding come from Content-Type and Content-Length.
class ZU_EXPORT NSHTTPURLResponse final : public NSURLResponse {
 public:
  ZU_RUNTIME_CLASS(NSHTTPURLResponse, NSURLResponse)
  // A response for `url`; header values that are not text are dropped.
  NSHTTPURLResponse(std::shared_ptr<NSURL> url, NSInteger statusCode, std::string HTTPVersion,
                    const Dictionary& headerFields);
  // The same, shared; none when `url` is none or the status code is outside 100...599.
  static std::shared_ptr<NSHTTPURLResponse> responseWithURL(std::shared_ptr<NSURL> url,
                                                            NSInteger statusCode,
                                                            std::string HTTPVersion,
                                                            const Dictionary& headerFields);

  // The status code (200, 404, 500, ...).
  NSInteger statusCode() const { return _statusCode; }
  // The HTTP version of the status line ("HTTP/1.1").
  const std::string& HTTPVersion() const { return _httpVersion; }
  // Every header field under its name as received; repeated fields are joined by ", ".
  const Dictionary& allHeaderFields() const { return _headerFields; }
  // The value of a header field, its name compared without case; none when absent.
  std::optional<std::string> valueForHTTPHeaderField(const std::string& field) const;
  // The reason phrase of a status code in lower case ("not found"); "server error" and the like
  // for codes without their own phrase.
  static std::string localizedStringForStatusCode(NSInteger statusCode);

  std::string description() const override;

 private:
  NSInteger _statusCode;
  std::string _httpVersion;
  Dictionary _headerFields;
};

}  // namespace zu
