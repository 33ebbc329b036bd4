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

Dictionary textFieldsOnly(const Dictionary& fields) {
  Dictionary out;
  for (const auto& [name, value] : fields) {
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
    const std::string parameter =
        trimmed(std::string_view(*contentType)
                    .substr(position + 1,
                            next == std::string::npos ? std::string::npos : next - position - 1));
    const std::size_t equals = parameter.find('=');
    if (equals != std::string::npos &&
        asciiLowercase(trimmed(parameter.substr(0, equals))) == "charset") {
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
                                     std::string HTTPVersion, const Dictionary& headerFields)
    : NSURLResponse(std::move(url), mediaType(headerFieldValue(headerFields, "Content-Type")),
                    contentLength(headerFieldValue(headerFields, "Content-Length")),
                    charset(headerFieldValue(headerFields, "Content-Type"))),
      _statusCode(statusCode),
      _httpVersion(std::move(HTTPVersion)),
      _headerFields(textFieldsOnly(headerFields)) {}

std::shared_ptr<NSHTTPURLResponse> NSHTTPURLResponse::responseWithURL(
    std::shared_ptr<NSURL> url, NSInteger statusCode, std::string HTTPVersion,
    const Dictionary& headerFields) {
  if (!url || statusCode < 100 || statusCode > 599) return nullptr;
  return std::make_shared<NSHTTPURLResponse>(std::move(url), statusCode, std::move(HTTPVersion),
                                             headerFields);
}

std::optional<std::string> NSHTTPURLResponse::valueForHTTPHeaderField(
    const std::string& field) const {
  return headerFieldValue(_headerFields, field);
}

std::string NSHTTPURLResponse::localizedStringForStatusCode(NSInteger statusCode) {
  static constexpr std::pair<NSInteger, const char*> kPhrases[] = {
      {100, "continue"},
      {101, "switching protocols"},
      {200, "no error"},
      {201, "created"},
      {202, "accepted"},
      {203, "non-authoritative information"},
      {204, "no content"},
      {205, "reset content"},
      {206, "partial content"},
      {300, "multiple choices"},
      {301, "moved permanently"},
      {302, "found"},
      {303, "see other"},
      {304, "not modified"},
      {305, "needs proxy"},
      {307, "temporarily redirected"},
      {308, "permanent redirect"},
      {400, "bad request"},
      {401, "unauthorized"},
      {402, "payment required"},
      {403, "forbidden"},
      {404, "not found"},
      {405, "method not allowed"},
      {406, "unacceptable"},
      {407, "proxy authentication required"},
      {408, "request timed out"},
      {409, "conflict"},
      {410, "no longer exists"},
      {411, "length required"},
      {412, "precondition failed"},
      {413, "request too large"},
      {414, "requested URL too long"},
      {415, "unsupported media type"},
      {416, "requested range not satisfiable"},
      {417, "expectation failed"},
      {429, "too many requests"},
      {500, "internal server error"},
      {501, "unimplemented"},
      {502, "bad gateway"},
      {503, "service unavailable"},
      {504, "gateway timed out"},
      {505, "unsupported version"},
  };
  for (const auto& [code, phrase] : kPhrases) {
    if (code == statusCode) return phrase;
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
