#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/NSURL.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// The expected length of a response whose length is unknown.
inline constexpr std::int64_t NSURLResponseUnknownLength = -1;

// What a server said about a response, independent of the protocol: its URL, media type,
// expected length and text encoding. Immutable.
class ZU_EXPORT NSURLResponse : public Object {
 public:
  ZU_RUNTIME_CLASS(NSURLResponse, Object)
  // A response for `url` with a media type ("" when unknown), expected length (-1 when
  // unknown) and text encoding name ("" when none).
  NSURLResponse(std::shared_ptr<NSURL> url, std::string MIMEType,
                std::int64_t expectedContentLength, std::string textEncodingName);

  // The URL the response came from (after redirects).
  const std::shared_ptr<NSURL>& URL() const { return _url; }
  // The media type in lower case, without parameters ("text/html"); "" when unknown.
  const std::string& MIMEType() const { return _mimeType; }
  // The announced length of the body, or NSURLResponseUnknownLength.
  std::int64_t expectedContentLength() const { return _expectedContentLength; }
  // The charset parameter of the media type in lower case ("utf-8"); "" when none.
  const std::string& textEncodingName() const { return _textEncodingName; }

  std::string description() const override;

 private:
  std::shared_ptr<NSURL> _url;
  std::string _mimeType;
  std::int64_t _expectedContentLength;
  std::string _textEncodingName;
};

}  // namespace zu
