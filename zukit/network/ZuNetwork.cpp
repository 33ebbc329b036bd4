#include "zukit/network/ZuNetwork.h"

#include <cmath>
#include <utility>

#include "zukit/core/ZuLogger.h"
#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/foundation/NSJSONSerialization.h"
#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/platform/network/NSMutableURLRequest.h"
#include "zukit/platform/network/NSURLError.h"
#include "zukit/utils/NSDictionary+ZuJson.h"
#include "zukit/utils/ZuUtils.h"

namespace {

constexpr const char* kRequestFunction =
    "-[ZuNetwork requestWithRelativeUrl:type:parameters:header:body:success:failure:]";

constexpr std::int64_t kTypeGet = 0;
constexpr std::int64_t kTypePost = 1;

constexpr zu::NSInteger kEnvironmentDistribution = 0;
constexpr zu::NSInteger kEnvironmentTest = 1;
constexpr zu::NSInteger kEnvironmentDevelopment = 2;

std::shared_ptr<zu::NSURLSession> makeSession() {
  auto configuration = zu::NSURLSessionConfiguration::defaultSessionConfiguration();
  configuration->setAllowsCellularAccess(true);
  return zu::NSURLSession::sessionWithConfiguration(configuration);
}

// The body as the log shows it: a dictionary's pretty JSON, "(null)" for anything else.
zu::Value loggedBody(const zu::Value& body) {
  const zu::Dictionary* dictionary = body.asDictionary();
  if (dictionary == nullptr) return {};
  std::optional<std::string> json = zu_dictionaryToJson(*dictionary);
  return json ? zu::Value(std::move(*json)) : zu::Value();
}

// Runs `failure` with `error` on the session's delivery queue, where transfer outcomes arrive.
void failLater(const std::shared_ptr<zu::NSURLSession>& session, ZuNetworkFailureBlock failure,
               std::shared_ptr<zu::NSError> error) {
  if (!failure) return;
  zu::dispatch_async(session->delegateQueue(),
                     [failure = std::move(failure), error = std::move(error)] { failure(error); });
}

}  // namespace

std::shared_ptr<ZuNetwork> ZuNetwork::network() {
  static zu::NoDestructor<std::shared_ptr<ZuNetwork>> instance;
  static zu::dispatch_once_t onceToken;
  zu::dispatch_once(&onceToken, [] { *instance = std::make_shared<ZuNetwork>(); });
  return *instance;
}

void ZuNetwork::configEnvironment(std::shared_ptr<ZuNetworkConfig> config) {
  network()->setConfig(std::move(config));
}

std::shared_ptr<ZuNetwork> ZuNetwork::networkWithGroupIdentifier(const zu::Value& identifier) {
  std::shared_ptr<ZuNetwork> shared = network();
  shared->setGroupIdentifier(identifier);
  return shared;
}

ZuNetwork::ZuNetwork() : _session(makeSession()) {}

ZuNetwork::ZuNetwork(const zu::Value& identifier) : ZuNetwork() {
  setGroupIdentifier(identifier);
}

std::shared_ptr<ZuNetworkConfig> ZuNetwork::config() const {
  zu::MutexLock lock(_mutex);
  return _config;
}

void ZuNetwork::setConfig(std::shared_ptr<ZuNetworkConfig> config) {
  zu::MutexLock lock(_mutex);
  _config = std::move(config);
}

std::optional<std::string> ZuNetwork::groupIdentifier() const {
  zu::MutexLock lock(_mutex);
  return _groupIdentifier;
}

void ZuNetwork::setGroupIdentifier(const zu::Value& identifier) {
  std::optional<std::string> text = zu::validText(identifier);
  zu::MutexLock lock(_mutex);
  _groupIdentifier = std::move(text);
}

void ZuNetwork::_setTimeoutInterval(zu::NSTimeInterval seconds) {
  if (std::isfinite(seconds) && seconds > 0) _requestTimeout.store(seconds);
}

void ZuNetwork::getRequestWithRelativeURLStr(const zu::Value& relativeURLStr,
                                             const zu::Value& parameters,
                                             ZuNetworkSuccessBlock success,
                                             ZuNetworkFailureBlock failure) {
  requestWithRelativeUrl(relativeURLStr, kTypeGet, parameters, zu::Value(), zu::Value(),
                         std::move(success), std::move(failure));
}

void ZuNetwork::postRequestWithRelativeURLStr(const zu::Value& relativeURLStr,
                                              const zu::Value& header, const zu::Value& body,
                                              ZuNetworkSuccessBlock success,
                                              ZuNetworkFailureBlock failure) {
  requestWithRelativeUrl(relativeURLStr, kTypePost, zu::Value(), header, body, std::move(success),
                         std::move(failure));
}

void ZuNetwork::requestWithRelativeUrl(const zu::Value& relativeUrl, std::int64_t type,
                                       const zu::Value& parameters, const zu::Value& header,
                                       const zu::Value& body, ZuNetworkSuccessBlock success,
                                       ZuNetworkFailureBlock failure) {
  const std::optional<std::string> relative = zu::validText(relativeUrl);
  if (!relative) return;
  const std::string urlText = httpURLText(*relative, parameters);
  const std::shared_ptr<zu::NSURL> url = zu::NSURL::URLWithString(urlText);

  auto request = zu::NSMutableURLRequest::requestWithURL(
      url, zu::NSURLRequestReloadIgnoringLocalCacheData, _timeoutInterval());
  if (type == kTypeGet) {
    request->setHTTPMethod("GET");
  } else if (type == kTypePost) {
    request->setHTTPMethod("POST");
  }
  if (const zu::Dictionary* fields = header.asDictionary()) {
    for (const auto& [field, value] : *fields) {
      if (value.isString()) {
        request->setValue(*value.asString(), field);
      } else if (!value.isNull()) {
        request->setValue(value.description(), field);
      }
    }
  }
  // Every request says it speaks JSON, whatever the caller's header fields said.
  request->setValue("application/json", "Content-Type");

  // The form text only decides whether there is a body; the body itself is JSON.
  if (httpRequestBody(body)) {
    std::shared_ptr<zu::NSError> error;
    std::optional<zu::Data> json =
        zu::NSJSONSerialization::dataWithJSONObject(body, zu::NSJSONWritingPrettyPrinted, &error);
    if (!json) {
      failLater(_session, std::move(failure), std::move(error));
      return;
    }
    request->setHTTPBody(std::move(json));
  }

  const zu::Value loggedURL = url ? zu::Value(url->absoluteString()) : zu::Value();
  const zu::Value bodyText = loggedBody(body);
  ZuLogger::log(ZuLogLevelData, kRequestFunction, "请求URL：%@\n参数：%@", loggedURL, bodyText);

  if (!url) {
    // Unescaped parameters (blanks, non-ASCII) leave text that is no URL.
    failLater(_session, std::move(failure),
              zu::NSURLErrorMake(zu::NSURLErrorBadURL, nullptr,
                                 "\"" + urlText + "\" is not a well-formed URL"));
    return;
  }
  _session
      ->dataTaskWithRequest(request,
                            [success = std::move(success), failure = std::move(failure)](
                                const std::optional<zu::Data>& data,
                                const std::shared_ptr<zu::NSURLResponse>& response,
                                const std::shared_ptr<zu::NSError>& error) {
                              if (error) {
                                if (failure) failure(error);
                                return;
                              }
                              if (!success) return;
                              if (data) {
                                success(response, *data);
                              } else {
                                success(response, zu::Data());
                              }
                            })
      ->resume();
}

std::shared_ptr<zu::NSURL> ZuNetwork::getHttpURLWithRelativeUrl(const zu::Value& relativeUrl,
                                                                const zu::Value& parameters) {
  const std::optional<std::string> relative = zu::validText(relativeUrl);
  if (!relative) return nullptr;
  return zu::NSURL::URLWithString(httpURLText(*relative, parameters));
}

std::string ZuNetwork::httpURLText(const std::string& relativeUrl,
                                   const zu::Value& parameters) const {
  // Keys and values go in as their plain text, unescaped, in the dictionary's own order.
  std::string query;
  if (const zu::Dictionary* pairs = parameters.asDictionary()) {
    for (const auto& [key, value] : *pairs) {
      query = query.empty() ? zu::format("%@=%@", key, value)
                            : zu::format("%@&%@=%@", query, key, value);
    }
  }
  std::string path = query.empty() ? relativeUrl : zu::format("%@?%@", relativeUrl, query);
  if (path.starts_with("https://") || path.starts_with("http://")) return path;
  // Without a host the relative path stays as it is, which the transport refuses.
  std::optional<std::string> host = hostForCurrentEnvironment();
  return host ? *host + path : path;
}

std::optional<std::string> ZuNetwork::hostForCurrentEnvironment() const {
  const std::shared_ptr<ZuNetworkConfig> configuration = config();
  if (!configuration) return std::nullopt;
  const std::optional<std::string> group = groupIdentifier();
  const zu::NSInteger environment =
      ZuUtils::getEnvironmentWithGroupIdentifier(group ? zu::Value(*group) : zu::Value());
  switch (environment) {
    case kEnvironmentDistribution:
      return configuration->distributionEnvironmentHostName();
    case kEnvironmentTest:
      return configuration->testEnvironmentHostName();
    case kEnvironmentDevelopment:
      return configuration->devEnvironmentHostName();
    default:
      return std::nullopt;
  }
}

std::optional<std::string> ZuNetwork::httpRequestBody(const zu::Value& body) {
  if (const std::string* text = body.asString()) return *text;
  const zu::Dictionary* pairs = body.asDictionary();
  if (pairs == nullptr) return std::nullopt;
  std::string form;
  bool first = true;
  for (const auto& [key, value] : *pairs) {
    if (!first) form += '&';
    form += zu::format("%@=%@", key, value);
    first = false;
  }
  return form;
}
