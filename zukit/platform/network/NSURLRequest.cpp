#include "zukit/platform/network/NSURLRequest.h"

#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/network/HTTPHeaderFields.h"
#include "zukit/platform/network/NSMutableURLRequest.h"

namespace zu {

std::shared_ptr<NSURLRequest> NSURLRequest::requestWithURL(std::shared_ptr<NSURL> url) {
  auto request = std::make_shared<NSURLRequest>(Passkey());
  request->_fields.url = std::move(url);
  return request;
}

std::shared_ptr<NSURLRequest> NSURLRequest::requestWithURL(std::shared_ptr<NSURL> url,
                                                           NSURLRequestCachePolicy cachePolicy,
                                                           NSTimeInterval timeoutInterval) {
  auto request = NSMutableURLRequest::requestWithURL(std::move(url), cachePolicy, timeoutInterval);
  return request->copy();
}

std::optional<std::string> NSURLRequest::valueForHTTPHeaderField(const std::string& field) const {
  return headerFieldValue(_fields.headers, field);
}

std::shared_ptr<NSURLRequest> NSURLRequest::copy() const {
  auto request = std::make_shared<NSURLRequest>(Passkey());
  request->_fields = _fields;
  return request;
}

std::shared_ptr<NSMutableURLRequest> NSURLRequest::mutableCopy() const {
  auto request = std::make_shared<NSMutableURLRequest>(Passkey());
  request->_fields = _fields;
  return request;
}

std::string NSURLRequest::description() const {
  return format("<%@: %p> { URL: %@ }", className(), static_cast<const void*>(this),
                _fields.url ? _fields.url->absoluteString() : std::string("(null)"));
}

std::shared_ptr<NSMutableURLRequest> NSMutableURLRequest::requestWithURL(
    std::shared_ptr<NSURL> url) {
  auto request = std::make_shared<NSMutableURLRequest>(Passkey());
  request->_fields.url = std::move(url);
  return request;
}

std::shared_ptr<NSMutableURLRequest> NSMutableURLRequest::requestWithURL(
    std::shared_ptr<NSURL> url, NSURLRequestCachePolicy cachePolicy,
    NSTimeInterval timeoutInterval) {
  auto request = requestWithURL(std::move(url));
  request->setCachePolicy(cachePolicy);
  request->setTimeoutInterval(timeoutInterval);
  return request;
}

void NSMutableURLRequest::setTimeoutInterval(NSTimeInterval seconds) {
  if (!(seconds > 0)) return;  // also refuses NaN
  _fields.timeoutInterval = seconds;
  _fields.explicitTimeout = true;
}

void NSMutableURLRequest::setHTTPMethod(const std::optional<std::string>& method) {
  if (!method || !isValidHeaderFieldName(*method)) {
    _fields.method.reset();
    return;
  }
  _fields.method = *method;
}

void NSMutableURLRequest::setValue(const std::optional<std::string>& value,
                                   const std::string& field) {
  if (!isValidHeaderFieldName(field) || (value && !isValidHeaderFieldValue(*value))) return;
  setHeaderField(_fields.headers, field, value);
}

void NSMutableURLRequest::addValue(const std::string& value, const std::string& field) {
  if (!isValidHeaderFieldName(field) || !isValidHeaderFieldValue(value)) return;
  addHeaderField(_fields.headers, field, value);
}

void NSMutableURLRequest::setAllHTTPHeaderFields(const Dictionary& fields) {
  _fields.headers.removeAllObjects();
  for (const auto& [name, value] : fields) {
    if (value.isString()) setValue(*value.asString(), name);
  }
}

}  // namespace zu
