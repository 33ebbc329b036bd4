#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "zukit/network/ZuNetworkConfig.h"
#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/network/NSURLSession.h"
#include "zukit/platform/runtime/RuntimeClass.h"

// Called with the response (for HTTP: status code and header fields) and the body, which may
// be empty. Any status counts: 4xx and 5xx replies arrive here too.
using ZuNetworkSuccessBlock =
    std::function<void(const std::shared_ptr<zu::NSURLResponse>& response, const zu::Data& data)>;
// Called with the transport's error (NSURLErrorDomain: time-out, lost connection, bad URL, ...).
using ZuNetworkFailureBlock = std::function<void(const std::shared_ptr<zu::NSError>& error)>;

// GET and POST requests to one of three server environments. The environment is read at every
// request from the integer "envType" that the app group's shared store holds (0 or nothing:
// distribution, 1: test, 2: development, anything else: no host), and its URL prefix is taken
// from the configuration; a relative URL that starts with "https://" or "http://" skips both.
//
// Query parameters are joined in the dictionary's own order and never escaped, so text a URL
// may not hold unescaped (blanks, non-ASCII) makes no URL: such a request fails with
// NSURLErrorDomain -1000 (bad URL). Every request carries "Content-Type: application/json";
// a body, when there is one, is the body dictionary as pretty-printed JSON. Requests reload
// from the origin and time out after 60 seconds without progress. Each request is logged at
// level 10010 (ZuLogLevelData).
//
// Requests may be made from any thread. Exactly one callback runs per request, on the session's
// delivery queue (never the main thread), except for a missing relative URL: then nothing is
// sent and no callback runs. The configuration and group identifier may be changed at any time;
// a change applies from the next request.
class ZU_EXPORT ZuNetwork : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(ZuNetwork, zu::Object)
  // The shared instance, made on first use with no group identifier and no configuration.
  static std::shared_ptr<ZuNetwork> network();
  // Sets the configuration of the shared instance.
  static void configEnvironment(std::shared_ptr<ZuNetworkConfig> config);
  // Sets the group identifier of the shared instance and returns it. One shared instance serves
  // the whole process: the identifier set last applies to every caller.
  static std::shared_ptr<ZuNetwork> networkWithGroupIdentifier(const zu::Value& identifier);

  // An instance with its own session (default configuration, cellular access allowed), no
  // group identifier and no configuration.
  ZuNetwork();
  // The same with `identifier` as its group identifier; independent of the shared instance.
  explicit ZuNetwork(const zu::Value& identifier);

  // The HTTP session the requests run on.
  std::shared_ptr<zu::NSURLSession> session() const { return _session; }
  // The host configuration, or none.
  std::shared_ptr<ZuNetworkConfig> config() const;
  // Replaces the host configuration.
  void setConfig(std::shared_ptr<ZuNetworkConfig> config);
  // The app-group identifier whose shared store holds "envType", or none.
  std::optional<std::string> groupIdentifier() const;
  // Replaces the group identifier (a copy; absent, NSNull or empty text clears it).
  void setGroupIdentifier(const zu::Value& identifier);

  // A GET of `relativeURLStr` with the query made from the `parameters` dictionary; no header
  // fields of the caller's, no body.
  void getRequestWithRelativeURLStr(const zu::Value& relativeURLStr, const zu::Value& parameters,
                                    ZuNetworkSuccessBlock success, ZuNetworkFailureBlock failure);
  // A POST of `relativeURLStr` with the `header` dictionary's fields and the `body` dictionary
  // as JSON; no query.
  void postRequestWithRelativeURLStr(const zu::Value& relativeURLStr, const zu::Value& header,
                                     const zu::Value& body, ZuNetworkSuccessBlock success,
                                     ZuNetworkFailureBlock failure);
  // The general request. `type` 0 is GET, 1 is POST, anything else leaves the method unset
  // (sent as GET). `parameters` make the query, `header` adds header fields (text values as
  // they are, other values by their description; "Content-Type" is then set to
  // "application/json" whatever the header said), `body` gives the JSON body. A body that is
  // text or a dictionary holding values JSON cannot hold (data, dates, objects) cannot be
  // written as JSON: nothing is sent and failure gets the JSON writer's error
  // (NSCocoaErrorDomain 3840). Absent, NSNull or empty `relativeUrl`: nothing happens.
  void requestWithRelativeUrl(const zu::Value& relativeUrl, std::int64_t type,
                              const zu::Value& parameters, const zu::Value& header,
                              const zu::Value& body, ZuNetworkSuccessBlock success,
                              ZuNetworkFailureBlock failure);

  // The absolute URL of a request: host prefix of the current environment, then the relative
  // URL, then "?" and the query when there are parameters ("?" is added even when the relative
  // URL holds one already). None for missing relative URL text, or when the joined text is not
  // a well-formed URL.
  std::shared_ptr<zu::NSURL> getHttpURLWithRelativeUrl(const zu::Value& relativeUrl,
                                                       const zu::Value& parameters);
  // The body as form text: text as it is; a dictionary as "key=value" pairs (values by their
  // description) joined by "&" in the dictionary's order; none for anything else.
  std::optional<std::string> httpRequestBody(const zu::Value& body);

  // Internal: the timeout of this instance's requests, 60 seconds. Tests shorten it to reach a
  // time-out quickly; nothing in the library changes it.
  zu::NSTimeInterval _timeoutInterval() const { return _requestTimeout.load(); }
  // Internal: sets the timeout; a value that is not a positive number is ignored.
  void _setTimeoutInterval(zu::NSTimeInterval seconds);

 private:
  // The joined URL text of getHttpURLWithRelativeUrl(), before it is parsed.
  std::string httpURLText(const std::string& relativeUrl, const zu::Value& parameters) const;
  // The host prefix of the current environment, or none.
  std::optional<std::string> hostForCurrentEnvironment() const;

  const std::shared_ptr<zu::NSURLSession> _session;
  std::atomic<zu::NSTimeInterval> _requestTimeout{60};
  mutable zu::Mutex _mutex;
  std::shared_ptr<ZuNetworkConfig> _config ZU_GUARDED_BY(_mutex);
  std::optional<std::string> _groupIdentifier ZU_GUARDED_BY(_mutex);
};
