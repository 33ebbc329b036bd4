#include "zukit/platform/network/URLSessionEngine.h"

#include <fcntl.h>
#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): mkostemps
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <iterator>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/dispatch/DispatchPool.h"
#include "zukit/platform/dispatch/SerialDispatchQueue.h"
#include "zukit/platform/foundation/Environment.h"
#include "zukit/platform/foundation/NSSearchPath.h"
#include "zukit/platform/network/HTTPHeaderFields.h"
#include "zukit/platform/network/NSHTTPURLResponse.h"
#include "zukit/platform/network/NSURLError.h"

namespace zu {

namespace {

using Clock = std::chrono::steady_clock;

constexpr long kMaximumRedirects = 16;
// The longest the transfer thread sleeps between looks at its commands when idle; commands
// wake it at once, this only bounds the cost of a lost wake-up.
constexpr int kIdlePollMilliseconds = 10000;
// The most finished easy handles kept for reuse.
constexpr std::size_t kSpareHandles = 32;

void initializeCurl() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

const std::string& userAgent() {
  static const std::string agent = [] {
    const curl_version_info_data* info = curl_version_info(CURLVERSION_NOW);
    return std::string(program_invocation_short_name) + " (Linux) libcurl/" + info->version;
  }();
  return agent;
}

// Loopback hosts never go through a proxy, whatever the proxy variables say.
const std::string& noProxyHosts() {
  static const std::string hosts = [] {
    std::string list =
        environmentValue("no_proxy").value_or(environmentValue("NO_PROXY").value_or(""));
    if (!list.empty()) list += ",";
    return list + "localhost,127.0.0.1,::1";
  }();
  return hosts;
}

long milliseconds(NSTimeInterval seconds) {
  return static_cast<long>(std::min(std::ceil(seconds * 1000), 2147483647.0));
}

NSInteger urlErrorCode(CURLcode code) {
  switch (code) {
    case CURLE_UNSUPPORTED_PROTOCOL:
      return NSURLErrorUnsupportedURL;
    case CURLE_URL_MALFORMAT:
      return NSURLErrorBadURL;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
      return NSURLErrorCannotFindHost;
    case CURLE_COULDNT_CONNECT:
      return NSURLErrorCannotConnectToHost;
    case CURLE_OPERATION_TIMEDOUT:
      return NSURLErrorTimedOut;
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
      return NSURLErrorNetworkConnectionLost;
    case CURLE_WEIRD_SERVER_REPLY:
      return NSURLErrorBadServerResponse;
    case CURLE_TOO_MANY_REDIRECTS:
      return NSURLErrorHTTPTooManyRedirects;
    case CURLE_BAD_CONTENT_ENCODING:
      return NSURLErrorCannotDecodeContentData;
    case CURLE_FILESIZE_EXCEEDED:
      return NSURLErrorDataLengthExceedsMaximum;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_ENGINE_NOTFOUND:
    case CURLE_SSL_ENGINE_SETFAILED:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_SHUTDOWN_FAILED:
    case CURLE_USE_SSL_FAILED:
      return NSURLErrorSecureConnectionFailed;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
      return NSURLErrorServerCertificateUntrusted;
    case CURLE_WRITE_ERROR:
      return NSURLErrorCannotWriteToFile;
    case CURLE_ABORTED_BY_CALLBACK:
      return NSURLErrorCancelled;
    default:
      return NSURLErrorUnknown;
  }
}

std::string trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(" \t\r\n");
  if (begin == std::string_view::npos) return {};
  const std::size_t end = text.find_last_not_of(" \t\r\n");
  return std::string(text.substr(begin, end - begin + 1));
}

// A new empty file in the temporary directory for a download's body; -1 when it cannot be made.
int createDownloadFile(std::string& path) {
  std::string pattern = NSTemporaryDirectory() + "NSURLSessionDownload_XXXXXX.tmp";
  const int fd = mkostemps(pattern.data(), 4, O_CLOEXEC);
  if (fd >= 0) path = pattern;
  return fd;
}

bool writeAll(int fd, const char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t written = ::write(fd, data, size);
    if (written < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    data += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}

struct EasyDeleter {
  void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct ListDeleter {
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

}  // namespace

// One running transfer, owned by the transfer thread.
struct URLSessionEngine::Transfer {
  std::shared_ptr<NSURLSessionTask> task;
  std::shared_ptr<NSURLRequest> request;
  std::unique_ptr<CURL, EasyDeleter> easy;
  std::unique_ptr<curl_slist, ListDeleter> headers;
  std::string method;
  Data requestBody;
  Data body;
  int fd = -1;
  std::string filePath;
  bool writeFailed = false;
  std::string statusLine;
  Dictionary responseHeaders;
  std::string lastHeaderName;
  Clock::duration idleTimeout{};
  Clock::time_point lastActivity;
  curl_off_t lastDownloaded = 0;
  curl_off_t lastUploaded = 0;
  char errorBuffer[CURL_ERROR_SIZE] = {};

  Transfer() = default;
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;
  ~Transfer() {
    if (fd >= 0) ::close(fd);
    if (!filePath.empty()) ::unlink(filePath.c_str());
  }

  static std::size_t onBody(char* data, std::size_t size, std::size_t count, void* context) {
    auto* transfer = static_cast<Transfer*>(context);
    const std::size_t length = size * count;
    transfer->lastActivity = Clock::now();
    if (transfer->fd >= 0) {
      if (!writeAll(transfer->fd, data, length)) {
        transfer->writeFailed = true;
        return 0;
      }
    } else {
      transfer->body.insert(transfer->body.end(), data, data + length);
    }
    transfer->task->addBytesReceived(length);
    return length;
  }

  static std::size_t onHeader(char* data, std::size_t size, std::size_t count, void* context) {
    auto* transfer = static_cast<Transfer*>(context);
    const std::size_t length = size * count;
    transfer->lastActivity = Clock::now();
    const std::string_view raw(data, length);
    if (raw.rfind("HTTP/", 0) == 0) {
      // A new response begins (after a redirect or an interim 1xx): forget the previous one.
      transfer->statusLine = trimmed(raw);
      transfer->responseHeaders.removeAllObjects();
      transfer->lastHeaderName.clear();
      return length;
    }
    if (!raw.empty() && (raw.front() == ' ' || raw.front() == '\t')) {
      // A folded continuation of the previous field.
      const std::string more = trimmed(raw);
      if (!transfer->lastHeaderName.empty() && !more.empty()) {
        const auto previous = headerFieldValue(transfer->responseHeaders, transfer->lastHeaderName);
        setHeaderField(transfer->responseHeaders, transfer->lastHeaderName,
                       previous.value_or("") + " " + more);
      }
      return length;
    }
    const std::size_t colon = raw.find(':');
    if (colon == std::string_view::npos) return length;
    const std::string name = trimmed(raw.substr(0, colon));
    const std::string value = trimmed(raw.substr(colon + 1));
    if (name.empty()) return length;
    const auto previous = headerFieldValue(transfer->responseHeaders, name);
    setHeaderField(transfer->responseHeaders, name, previous ? *previous + ", " + value : value);
    transfer->lastHeaderName = name;
    return length;
  }

  static int onProgress(void* context, curl_off_t /*downloadTotal*/, curl_off_t downloaded,
                        curl_off_t /*uploadTotal*/, curl_off_t uploaded) {
    auto* transfer = static_cast<Transfer*>(context);
    if (downloaded != transfer->lastDownloaded || uploaded != transfer->lastUploaded) {
      transfer->lastDownloaded = downloaded;
      transfer->lastUploaded = uploaded;
      transfer->lastActivity = Clock::now();
    }
    return 0;
  }
};

std::shared_ptr<URLSessionEngine> URLSessionEngine::create(
    const std::shared_ptr<NSURLSessionConfiguration>& configuration) {
  initializeCurl();
  auto engine = std::make_shared<URLSessionEngine>(Passkey(), configuration->copy());
  // The thread keeps the engine alive until it is invalidated and idle, so that tasks still
  // running when their session goes away complete normally.
  std::thread([engine] { engine->run(); }).detach();
  return engine;
}

URLSessionEngine::URLSessionEngine(Passkey /*unused*/,
                                   std::shared_ptr<NSURLSessionConfiguration> configuration)
    : _configuration(std::move(configuration)),
      _deliveryExecutor(std::make_shared<SessionDeliveryExecutor>(this)),
      _delegateQueue(std::make_shared<SerialDispatchQueue>("zu.NSURLSession.delegateQueue",
                                                           _deliveryExecutor, false)),
      _multi(curl_multi_init()) {
  curl_multi_setopt(_multi, CURLMOPT_MAX_HOST_CONNECTIONS,
                    static_cast<long>(_configuration->HTTPMaximumConnectionsPerHost()));
}

URLSessionEngine::~URLSessionEngine() {
  _active.clear();
  for (CURL* easy : _spareHandles)
    curl_easy_cleanup(easy);
  curl_multi_cleanup(_multi);
}

bool URLSessionEngine::start(std::shared_ptr<NSURLSessionTask> task) {
  bool wake = false;
  {
    MutexLock lock(_mutex);
    if (_invalidated) return false;
    _incoming.push_back(std::move(task));
    wake = std::exchange(_sleeping, false);
  }
  if (wake) curl_multi_wakeup(_multi);
  return true;
}

void URLSessionEngine::cancel(NSUInteger identifier) {
  bool wake = false;
  {
    MutexLock lock(_mutex);
    _cancellations.push_back(identifier);
    wake = std::exchange(_sleeping, false);
  }
  if (wake) curl_multi_wakeup(_multi);
}

void URLSessionEngine::invalidate(bool cancelRunning) {
  {
    MutexLock lock(_mutex);
    _invalidated = true;
    if (cancelRunning) _cancelAll = true;
  }
  curl_multi_wakeup(_multi);
}

void URLSessionEngine::postDeliveryJob(std::function<void()> job) {
  bool wake = false;
  {
    MutexLock lock(_mutex);
    _deliveryJobs.push_back(std::move(job));
    wake = std::exchange(_sleeping, false);
  }
  if (wake) curl_multi_wakeup(_multi);
}

bool URLSessionEngine::hasWorkLocked() const {
  return !_incoming.empty() || !_cancellations.empty() || !_deliveryJobs.empty() || _cancelAll;
}

void URLSessionEngine::run() {
  for (;;) {
    std::deque<std::shared_ptr<NSURLSessionTask>> incoming;
    std::vector<NSUInteger> cancellations;
    std::vector<std::function<void()>> jobs;
    bool cancelAll = false;
    {
      MutexLock lock(_mutex);
      if (_invalidated && _incoming.empty() && _active.empty() && _deliveryJobs.empty()) break;
      _sleeping = false;
      incoming.swap(_incoming);
      cancellations.swap(_cancellations);
      jobs.swap(_deliveryJobs);
      cancelAll = _cancelAll;
    }
    for (const auto& task : incoming) {
      if (cancelAll) {
        task->finish({nullptr,
                      NSURLErrorMake(NSURLErrorCancelled, task->originalRequest()->URL()),
                      std::nullopt,
                      {}});
      } else {
        begin(task);
      }
    }
    for (const NSUInteger identifier : cancellations)
      cancelTransfer(identifier);
    if (cancelAll) {
      while (!_active.empty())
        cancelTransfer(_active.begin()->second->task->taskIdentifier());
    }
    if (!_active.empty()) {
      int running = 0;
      curl_multi_perform(_multi, &running);
      int left = 0;
      while (CURLMsg* message = curl_multi_info_read(_multi, &left)) {
        if (message->msg == CURLMSG_DONE) completed(message->easy_handle, message->data.result);
      }
      expireIdleTransfers();
    }
    {
      // Completions just made are delivered in this same turn, after the blocks that were
      // already waiting, instead of costing another turn (and another pass over every running
      // transfer) first.
      MutexLock lock(_mutex);
      std::move(_deliveryJobs.begin(), _deliveryJobs.end(), std::back_inserter(jobs));
      _deliveryJobs.clear();
    }
    // The delegate queue's blocks (completion handlers among them) run here, in order.
    for (auto& job : jobs)
      job();
    const int timeout = pollTimeoutMilliseconds();
    {
      // Work that arrived meanwhile is taken at once; from here on, new work wakes the poll.
      MutexLock lock(_mutex);
      if (hasWorkLocked() || (_invalidated && _active.empty())) continue;
      _sleeping = true;
    }
    curl_multi_poll(_multi, nullptr, 0, timeout, nullptr);
  }
  // Blocks submitted to the delegate queue from now on run on the worker pool.
  _deliveryExecutor->detach();
  std::vector<std::function<void()>> jobs;
  {
    MutexLock lock(_mutex);
    jobs.swap(_deliveryJobs);
  }
  for (auto& job : jobs)
    DispatchPool::shared().post(std::move(job));
}

int URLSessionEngine::pollTimeoutMilliseconds() {
  if (_active.empty()) return kIdlePollMilliseconds;
  long timeout = -1;
  curl_multi_timeout(_multi, &timeout);
  if (timeout < 0 || timeout > 1000) timeout = 1000;
  const Clock::time_point now = Clock::now();
  for (const auto& [easy, transfer] : _active) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        transfer->lastActivity + transfer->idleTimeout - now);
    timeout = std::min<long>(timeout, std::max<long>(left.count() + 1, 0));
  }
  return static_cast<int>(timeout);
}

void URLSessionEngine::begin(const std::shared_ptr<NSURLSessionTask>& task) {
  const std::shared_ptr<NSURLRequest>& request = task->originalRequest();
  const std::shared_ptr<NSURL>& url = request->URL();
  auto fail = [&](NSInteger code, const std::string& detail) {
    task->finish({nullptr, NSURLErrorMake(code, url, detail), std::nullopt, {}});
  };
  if (!url || !url->isAbsolute()) return fail(NSURLErrorUnsupportedURL, "the URL has no scheme");
  if (url->scheme() != "http" && url->scheme() != "https") {
    return fail(NSURLErrorUnsupportedURL, "only http and https URLs are loaded");
  }
  if (url->host().empty()) return fail(NSURLErrorBadURL, "the URL has no host");

  const NSURLRequestCachePolicy policy = request->cachePolicy();
  const std::shared_ptr<NSURLCache>& cache = _configuration->URLCache();
  if (cache) {
    std::shared_ptr<NSCachedURLResponse> cached;
    if (policy == NSURLRequestUseProtocolCachePolicy) {
      cached = cache->freshCachedResponseForRequest(*request);
    } else if (policy == NSURLRequestReturnCacheDataElseLoad ||
               policy == NSURLRequestReturnCacheDataDontLoad) {
      cached = cache->cachedResponseForRequest(*request);
    }
    if (cached) return deliverCached(task, *cached);
  }
  if (policy == NSURLRequestReturnCacheDataDontLoad) {
    return fail(NSURLErrorResourceUnavailable, "no cached response and loading is not allowed");
  }

  auto transfer = std::make_unique<Transfer>();
  transfer->task = task;
  transfer->request = request;
  if (_spareHandles.empty()) {
    transfer->easy.reset(curl_easy_init());
  } else {
    transfer->easy.reset(_spareHandles.back());
    _spareHandles.pop_back();
  }
  if (!transfer->easy) return fail(NSURLErrorUnknown, "the transfer could not be set up");
  if (task->isDownloadTask()) {
    transfer->fd = createDownloadFile(transfer->filePath);
    if (transfer->fd < 0) {
      return fail(NSURLErrorCannotCreateFile, "no temporary file in " + NSTemporaryDirectory());
    }
  }
  if (!configure(*transfer)) return fail(NSURLErrorBadURL, "the URL was refused by the transport");
  CURL* easy = transfer->easy.get();
  transfer->lastActivity = Clock::now();
  _active.emplace(easy, std::move(transfer));
  if (curl_multi_add_handle(_multi, easy) != CURLM_OK) {
    URLSessionTaskOutcome outcome;
    outcome.error = NSURLErrorMake(NSURLErrorUnknown, url, "the transfer could not be started");
    _active.erase(easy);
    task->finish(std::move(outcome));
  }
}

bool URLSessionEngine::configure(Transfer& transfer) {
  CURL* easy = transfer.easy.get();
  const NSURLRequest& request = *transfer.request;
  const std::string& text = request.URL()->absoluteString();
  const std::string url = text.substr(0, text.find('#'));
  const NSTimeInterval idle = request.hasExplicitTimeoutInterval()
                                  ? request.timeoutInterval()
                                  : _configuration->timeoutIntervalForRequest();
  transfer.idleTimeout = std::chrono::milliseconds(milliseconds(idle));

  bool ok = curl_easy_setopt(easy, CURLOPT_URL, url.c_str()) == CURLE_OK;
  curl_easy_setopt(easy, CURLOPT_PRIVATE, &transfer);
  curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, transfer.errorBuffer);
  curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
  ok = ok && curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https") == CURLE_OK;
  curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(easy, CURLOPT_MAXREDIRS, kMaximumRedirects);
  curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "");
  curl_easy_setopt(easy, CURLOPT_NOPROXY, noProxyHosts().c_str());
  curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, milliseconds(idle));
  curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS,
                   milliseconds(_configuration->timeoutIntervalForResource()));
  curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Transfer::onBody);
  curl_easy_setopt(easy, CURLOPT_WRITEDATA, &transfer);
  curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &Transfer::onHeader);
  curl_easy_setopt(easy, CURLOPT_HEADERDATA, &transfer);
  curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, &Transfer::onProgress);
  curl_easy_setopt(easy, CURLOPT_XFERINFODATA, &transfer);
  curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);

  transfer.method = request.HTTPMethod();
  if (transfer.method == "GET") {
    curl_easy_setopt(easy, CURLOPT_HTTPGET, 1L);
  } else if (transfer.method == "HEAD") {
    curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
  } else {
    if (transfer.method != "POST") {
      curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, transfer.method.c_str());
    }
    if (request.HTTPBody() || transfer.method == "POST") {
      transfer.requestBody = request.HTTPBody().value_or(Data());
      static const char kEmpty[] = "";
      curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE,
                       static_cast<curl_off_t>(transfer.requestBody.size()));
      curl_easy_setopt(easy, CURLOPT_POSTFIELDS,
                       transfer.requestBody.empty()
                           ? kEmpty
                           : reinterpret_cast<const char*>(transfer.requestBody.data()));
    }
  }

  // Header fields: the request's own, then the session's additional ones it does not set.
  Dictionary fields = request.allHTTPHeaderFields();
  for (const auto& [name, value] : _configuration->HTTPAdditionalHeaders()) {
    if (value.isString() && isValidHeaderFieldName(name) &&
        isValidHeaderFieldValue(*value.asString()) && !headerFieldKey(fields, name)) {
      fields.setObject(value, name);
    }
  }
  if (request.cachePolicy() == NSURLRequestReloadIgnoringLocalAndRemoteCacheData) {
    if (!headerFieldKey(fields, "Cache-Control")) fields.setObject("no-cache", "Cache-Control");
    if (!headerFieldKey(fields, "Pragma")) fields.setObject("no-cache", "Pragma");
  }
  if (!headerFieldKey(fields, "User-Agent")) fields.setObject(userAgent(), "User-Agent");
  curl_slist* list = nullptr;
  for (const auto& [name, value] : fields) {
    if (!value.isString()) continue;
    const std::string& fieldValue = *value.asString();
    // "Name;" is how the transport sends a field with an empty value ("Name:" would remove it).
    std::string line = name;
    line += fieldValue.empty() ? ";" : ": ";
    line += fieldValue;
    list = curl_slist_append(list, line.c_str());
  }
  // No "Expect: 100-continue" round trip before a body.
  if (!headerFieldKey(fields, "Expect")) list = curl_slist_append(list, "Expect:");
  transfer.headers.reset(list);
  curl_easy_setopt(easy, CURLOPT_HTTPHEADER, list);
  return ok;
}

void URLSessionEngine::deliverCached(const std::shared_ptr<NSURLSessionTask>& task,
                                     const NSCachedURLResponse& cached) {
  URLSessionTaskOutcome outcome;
  outcome.response = cached.response();
  if (task->isDownloadTask()) {
    std::string path;
    const int fd = createDownloadFile(path);
    const bool written =
        fd >= 0 &&
        writeAll(fd, reinterpret_cast<const char*>(cached.data().data()), cached.data().size());
    if (fd >= 0) ::close(fd);
    if (!written) {
      if (!path.empty()) ::unlink(path.c_str());
      outcome.response = nullptr;
      outcome.error =
          NSURLErrorMake(fd < 0 ? NSURLErrorCannotCreateFile : NSURLErrorCannotWriteToFile,
                         task->originalRequest()->URL());
    } else {
      outcome.filePath = path;
    }
  } else {
    outcome.data = cached.data();
  }
  task->addBytesReceived(cached.data().size());
  task->finish(std::move(outcome));
}

void URLSessionEngine::completed(CURL* easy, CURLcode result) {
  const auto found = _active.find(easy);
  if (found == _active.end()) return;
  Transfer& transfer = *found->second;
  const std::shared_ptr<NSURL>& url = transfer.request->URL();
  URLSessionTaskOutcome outcome;
  if (result != CURLE_OK) {
    const NSInteger code = result == CURLE_WRITE_ERROR && !transfer.writeFailed
                               ? NSURLErrorUnknown
                               : urlErrorCode(result);
    const std::string detail = transfer.errorBuffer[0] != '\0' ? std::string(transfer.errorBuffer)
                                                               : curl_easy_strerror(result);
    outcome.error = NSURLErrorMake(code, url, detail);
    return finish(easy, std::move(outcome));
  }
  long status = 0;
  curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
  char* effective = nullptr;
  curl_easy_getinfo(easy, CURLINFO_EFFECTIVE_URL, &effective);
  // The request's own URL unless redirects led elsewhere.
  const std::string& requested = url->absoluteString();
  std::shared_ptr<NSURL> responseURL = url;
  if (effective != nullptr && requested.compare(0, requested.find('#'), effective) != 0) {
    responseURL = NSURL::URLWithString(effective);
    if (!responseURL) responseURL = url;
  }
  const std::string version = transfer.statusLine.substr(0, transfer.statusLine.find(' '));
  auto response =
      NSHTTPURLResponse::responseWithURL(responseURL, status, version, transfer.responseHeaders);
  if (!response) {
    outcome.error = NSURLErrorMake(NSURLErrorBadServerResponse, url,
                                   "status " + std::to_string(status) + " is not an HTTP status");
    return finish(easy, std::move(outcome));
  }
  outcome.response = response;
  if (transfer.fd >= 0) {
    const int closed = ::close(transfer.fd);
    transfer.fd = -1;
    if (closed != 0) {
      outcome.response = nullptr;
      outcome.error = NSURLErrorMake(NSURLErrorCannotWriteToFile, url);
      return finish(easy, std::move(outcome));
    }
    outcome.filePath = transfer.filePath;
    transfer.filePath.clear();  // now the task's to remove
  } else {
    if (const std::shared_ptr<NSURLCache>& cache = _configuration->URLCache()) {
      cache->storeCachedResponse(std::make_shared<NSCachedURLResponse>(response, transfer.body),
                                 *transfer.request);
    }
    outcome.data = std::move(transfer.body);
  }
  finish(easy, std::move(outcome));
}

void URLSessionEngine::finish(CURL* easy, URLSessionTaskOutcome outcome) {
  const auto found = _active.find(easy);
  if (found == _active.end()) return;
  std::unique_ptr<Transfer> transfer = std::move(found->second);
  _active.erase(found);
  curl_multi_remove_handle(_multi, easy);
  if (_spareHandles.size() < kSpareHandles) {
    curl_easy_reset(transfer->easy.release());
    _spareHandles.push_back(easy);
  }
  const std::shared_ptr<NSURLSessionTask> task = transfer->task;
  transfer.reset();  // closes and removes a download file the task did not take
  task->finish(std::move(outcome));
}

void URLSessionEngine::cancelTransfer(NSUInteger identifier) {
  for (const auto& [easy, transfer] : _active) {
    if (transfer->task->taskIdentifier() != identifier) continue;
    URLSessionTaskOutcome outcome;
    outcome.error = NSURLErrorMake(NSURLErrorCancelled, transfer->request->URL());
    return finish(easy, std::move(outcome));
  }
}

void URLSessionEngine::expireIdleTransfers() {
  const Clock::time_point now = Clock::now();
  std::vector<CURL*> expired;
  for (const auto& [easy, transfer] : _active) {
    if (now - transfer->lastActivity >= transfer->idleTimeout) expired.push_back(easy);
  }
  for (CURL* easy : expired) {
    const Transfer& transfer = *_active.at(easy);
    const auto waited =
        std::chrono::duration_cast<std::chrono::milliseconds>(transfer.idleTimeout).count();
    URLSessionTaskOutcome outcome;
    outcome.error = NSURLErrorMake(NSURLErrorTimedOut, transfer.request->URL(),
                                   "no progress for " + std::to_string(waited) + " ms");
    finish(easy, std::move(outcome));
  }
}

}  // namespace zu
