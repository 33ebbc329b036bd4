#include "zukit/platform/network/NSURLResponse.h"

#include "zukit/platform/foundation/Format.h"

namespace zu {

NSURLResponse::NSURLResponse(std::shared_ptr<NSURL> url, std::string MIMEType,
                             std::int64_t expectedContentLength, std::string textEncodingName)
    : _url(std::move(url)),
      _mimeType(std::move(MIMEType)),
      _expectedContentLength(expectedContentLength),
      _textEncodingName(std::move(textEncodingName)) {}

std::string NSURLResponse::description() const {
  return format("<%@: %p> { URL: %@ } { MIME type: %@ }", className(),
                static_cast<const void*>(this),
                _url ? _url->absoluteString() : std::string("(null)"), _mimeType);
}

}  // namespace zu
