#include "zukit/platform/network/NSHTTPURLResponse.h"

#include <charconv>

#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/network/HTTPHeaderFields.h"

namespace zu {

namespace {

std::string trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(" \t");
  if (begin == std::string_view::npos) return {};
  const std::size_t end = text.find_last_not_of(" \t");
  return std::string(text.substr(begin, end - begin + 1));
}

Dictionary textFieldsOnly(Dictionary fields) {
  Dictionary out;
  for (auto& [name, value] : fields) {
    if (value.isString()) out.setObject(value, name);
  }
  return out;
}

// The media type of a Content-Type value, in lower case and without parameters.
std::string mediaType(const std::optional<std::string>& contentType) {
  if (!contentType) return {};
  return asciiLowercase(trimmed(std::string_view(*contentType).substr(0, contentType->find(';'))));
}

// The charset parameter of a Content-Type value, unquoted and in lower case.
std::string charset(const std::optional<std::string>& contentType) {
  if (!contentType) return {};
  std::size_t position = contentType->find(';');
  while (position != std::string::npos) {
    const std::size_t next = contentType->find(';', position + 1);
    const std::string parameter = trimmed(std::string_view(*contentType).substr(
        position + 1, next == std::string::npos ? std::string::npos : next - position - 1));
    const std::size_t equals = parameter.find('=');
    if (equals != std::string::npos && asciiLowercase(trimmed(parameter.substr(0, equals))) == "charset") {
      std::string value = trimmed(parameter.substr(equals + 1));
      if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
        value = value.substr(1, value.size() - 2);
      }
      return asciiLowercase(value);
    }
    position = next;
  }
  return {};
}

std::int64_t contentLength(const std::optional<std::string>& text) {
  if (!text) return NSURLResponseUnknownLength;
  const std::string value = trimmed(*text);
  std::int64_t length = 0;
  const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), length);
  if (error != std::errc() || end != value.data() + value.size() || length < 0) {
    return NSURLResponseUnknownLength;
  }
  return length;
}

}  // namespace

NSHTTPURLResponse::NSHTTPURLResponse(std::shared_ptr<NSURL> url, NSInteger statusCode,
                                     std::string HTTPVersion, Dictionary headerFields)
    : NSURLResponse(std::move(url), mediaType(headerFieldValue(headerFields, "Content-Type")),
                    contentLength(headerFieldValue(headerFields, "Content-Length")),
                    charset(headerFieldValue(headerFields, "Content-Type"))),
      _statusCode(statusCode),
      _httpVersion(std::move(HTTPVersion)),
      _headerFields(textFieldsOnly(std::move(headerFields))) {}

std::shared_ptr<NSHTTPURLResponse> NSHTTPURLResponse::responseWithURL(std::shared_ptr<NSURL> url,
                                                                      NSInteger statusCode,
                                                                      std::string HTTPVersion,
                                                                      Dictionary headerFields) {
  if (!url || statusCode < 100 || statusCode > 599) return nullptr;
  return std::make_shared<NSHTTPURLResponse>(std::move(url), statusCode, std::move(HTTPVersion),
                                             std::move(headerFields));
}

std::optional<std::string> NSHTTPURLResponse::valueForHTTPHeaderField(
    const std::string& field) const {
  return headerFieldValue(_headerFields, field);
}

std::string NSHTTPURLResponse::localizedStringForStatusCode(NSInteger statusCode) {
  switch (statusCode) {
    case 100: return "continue";
    case 101: return "switching protocols";
    case 200: return "no error";
    case 201: return "created";
    case 202: return "accepted";
    case 203: return "non-authoritative information";
    case 204: return "no content";
    case 205: return "reset content";
    case 206: return "partial content";
    case 300: return "multiple choices";
    case 301: return "moved permanently";
    case 302: return "found";
    case 303: return "see other";
    case 304: return "not modified";
    case 305: return "needs proxy";
    case 307: return "temporarily redirected";
    case 308: return "permanent redirect";
    case 400: return "bad request";
    case 401: return "unauthorized";
    case 402: return "payment required";
    case 403: return "forbidden";
    case 404: return "not found";
    case 405: return "method not allowed";
    case 406: return "unacceptable";
    case 407: return "proxy authentication required";
    case 408: return "request timed out";
    case 409: return "conflict";
    case 410: return "no longer exists";
    case 411: return "length required";
    case 412: return "precondition failed";
    case 413: return "request too large";
    case 414: return "requested URL too long";
    case 415: return "unsupported media type";
    case 416: return "requested range not satisfiable";
    case 417: return "expectation failed";
    case 429: return "too many requests";
    case 500: return "internal server error";
    case 501: return "unimplemented";
    case 502: return "bad gateway";
    case 503: return "service unavailable";
    case 504: return "gateway timed out";
    case 505: return "unsupported version";
    default: break;
  }
  if (statusCode >= 100 && statusCode < 200) return "informational";
  if (statusCode >= 200 && statusCode < 300) return "success";
  if (statusCode >= 300 && statusCode < 400) return "redirected";
  if (statusCode >= 400 && statusCode < 500) return "client error";
  if (statusCode >= 500 && statusCode < 600) return "server error";
  return "unknown";
}

std::string NSHTTPURLResponse::description() const {
  return format("<%@: %p> { URL: %@ } { Status Code: %ld, Headers %@ }", className(),
                static_cast<const void*>(this),
                URL() ? URL()->absoluteString() : std::string("(null)"), _statusCode,
                Value(_headerFields));
}

}  // namespace zu
