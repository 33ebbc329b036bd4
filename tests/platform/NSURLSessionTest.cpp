// Data tasks of the libcurl-backed session against a real HTTP server on loopback.

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/LoopbackServer.h"
#include "tests/support/MainLoop.h"
#include "tests/support/SessionTasks.h"
#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/foundation/NSJSONSerialization.h"
#include "zukit/platform/network/NSMutableURLRequest.h"
#include "zukit/platform/network/NSURLError.h"
#include "zukit/platform/network/NSURLSession.h"

namespace {

using zukit::test::fetch;
using zukit::test::LoopbackServer;
using zukit::test::runDataTask;
using zukit::test::TaskResult;

// The echo route's JSON as a dictionary (empty when the body is no JSON object).
zu::Dictionary echoOf(const TaskResult& result) {
  if (!result.data) return {};
  const zu::Value value = zu::NSJSONSerialization::JSONObjectWithData(*result.data, 0);
  return value.isDictionary() ? *value.asDictionary() : zu::Dictionary();
}

std::string echoText(const zu::Dictionary& echo, const std::string& key) {
  const zu::Value* value = echo.find(key);
  return value != nullptr && value->isString() ? *value->asString() : std::string("<missing>");
}

std::string echoHeader(const zu::Dictionary& echo, const std::string& name) {
  const zu::Value* headers = echo.find("headers");
  if (headers == nullptr || !headers->isDictionary()) return "<missing>";
  const zu::Value* value = headers->asDictionary()->find(name);
  return value != nullptr && value->isString() ? *value->asString() : std::string("<missing>");
}

std::shared_ptr<zu::NSMutableURLRequest> requestFor(const std::string& url) {
  return zu::NSMutableURLRequest::requestWithURL(zu::NSURL::URLWithString(url));
}

void expectURLError(const TaskResult& result, zu::NSInteger code, const std::string& description) {
  ASSERT_EQ(result.calls, 1);
  ASSERT_NE(result.error, nullptr);
  EXPECT_EQ(result.error->domain(), "NSURLErrorDomain");
  EXPECT_EQ(result.error->code(), code);
  EXPECT_EQ(result.error->localizedDescription(), description);
  EXPECT_FALSE(result.data.has_value());
  EXPECT_EQ(result.response, nullptr);
  EXPECT_FALSE(result.onMainThread);
}

TEST(NSURLSessionTest, RequestsArriveAtTheServerExactlyAsBuilt) {
  LoopbackServer server;
  ASSERT_TRUE(server.isRunning());
  auto session = zukit::test::makeTestSession();

  // A GET with no method set, a query and header fields (one replaced in another case, one
  // with an empty value).
  auto get = requestFor(server.URL("/echo/get?a=1&b=two"));
  get->setValue("first", "X-Zu-Token");
  get->setValue("second", "x-zu-token");
  get->setValue("", "X-Zu-Empty");
  get->setHTTPBody(zu::Data{'i', 'g', 'n', 'o', 'r', 'e', 'd'});
  const TaskResult got = runDataTask(session, get);
  ASSERT_EQ(got.calls, 1);
  ASSERT_EQ(got.error, nullptr);
  zu::Dictionary echo = echoOf(got);
  EXPECT_EQ(echoText(echo, "method"), "GET");
  EXPECT_EQ(echoText(echo, "path"), "/echo/get");
  EXPECT_EQ(echoText(echo, "query"), "a=1&b=two");
  EXPECT_EQ(echoHeader(echo, "X-Zu-Token"), "second");
  EXPECT_EQ(echoHeader(echo, "X-Zu-Empty"), "");
  EXPECT_EQ(echo.objectForKey("bodyLength").integerValue(), 0) << "a GET sends no body";
  EXPECT_EQ(echoHeader(echo, "Expect"), "<missing>");
  EXPECT_NE(echoHeader(echo, "User-Agent"), "<missing>");

  auto response = got.http();
  ASSERT_NE(response, nullptr);
  EXPECT_EQ(response->statusCode(), 200);
  EXPECT_EQ(response->URL()->absoluteString(), server.URL("/echo/get?a=1&b=two"));
  EXPECT_EQ(response->MIMEType(), "application/json");
  EXPECT_EQ(response->textEncodingName(), "utf-8");
  EXPECT_EQ(response->expectedContentLength(), static_cast<std::int64_t>(got.data->size()));
  EXPECT_EQ(response->valueForHTTPHeaderField("content-LENGTH"), std::to_string(got.data->size()));
  EXPECT_EQ(response->HTTPVersion(), "HTTP/1.1");

  // A POST with binary bytes and its own Content-Type.
  const zu::Data bytes{0x00, 0xFF, 0x7B, '\r', '\n', 0x80, 'z'};
  auto post = requestFor(server.URL("/echo/post"));
  post->setHTTPMethod("POST");
  post->setValue("application/octet-stream", "Content-Type");
  post->setHTTPBody(bytes);
  echo = echoOf(runDataTask(session, post));
  EXPECT_EQ(echoText(echo, "method"), "POST");
  EXPECT_EQ(echoHeader(echo, "Content-Type"), "application/octet-stream");
  EXPECT_EQ(echo.objectForKey("bodyLength").integerValue(), 7);
  EXPECT_EQ(echoText(echo, "bodyBase64"), "AP97DQqAeg==");

  // A POST without a body sends none, and the JSON text of a PUT arrives as it was.
  auto empty = requestFor(server.URL("/echo/empty"));
  empty->setHTTPMethod("POST");
  echo = echoOf(runDataTask(session, empty));
  EXPECT_EQ(echoText(echo, "method"), "POST");
  EXPECT_EQ(echoHeader(echo, "Content-Length"), "0");
  auto put = requestFor(server.URL("/echo/put"));
  put->setHTTPMethod("PUT");
  const std::string json = R"({"name" : "中文", "n" : 1})";
  put->setHTTPBody(zu::Data(json.begin(), json.end()));
  echo = echoOf(runDataTask(session, put));
  EXPECT_EQ(echoText(echo, "method"), "PUT");
  EXPECT_EQ(echoText(echo, "body"), json);
  EXPECT_EQ(server.requestCount("/echo/get"), 1);
  EXPECT_EQ(server.requestCount("/echo/post"), 1);
}

TEST(NSURLSessionTest, RequestFieldsThatWouldBreakTheMessageAreRefused) {
  LoopbackServer server;
  ASSERT_TRUE(server.isRunning());
  auto session = zukit::test::makeTestSession();
  auto request = requestFor(server.URL("/echo/fields"));
  request->setValue("ok", "X-Kept");
  request->setValue("a\r\nX-Injected: yes", "X-Split");
  request->setValue("value", "Bad Name");
  request->setValue("value", "");
  request->addValue("one", "X-List");
  request->addValue("two", "x-list");
  request->setValue("gone", "X-Removed");
  request->setValue(std::nullopt, "x-removed");
  request->setHTTPMethod("GE T");
  request->setTimeoutInterval(-1);
  EXPECT_EQ(request->HTTPMethod(), "GET");
  EXPECT_EQ(request->timeoutInterval(), zu::NSURLRequestDefaultTimeoutInterval);
  EXPECT_FALSE(request->hasExplicitTimeoutInterval());
  EXPECT_EQ(request->valueForHTTPHeaderField("X-LIST"), "one,two");
  EXPECT_EQ(request->allHTTPHeaderFields().size(), 2U);

  // The task takes a copy: changes made after it was created do not reach the server.
  const auto task = session->dataTaskWithRequest(request, nullptr);
  request->setValue("late", "X-Kept");
  request->setURL(zu::NSURL::URLWithString(server.URL("/echo/elsewhere")));
  EXPECT_EQ(task->originalRequest()->valueForHTTPHeaderField("X-Kept"), "ok");
  const TaskResult result = runDataTask(session, task->originalRequest());
  const zu::Dictionary echo = echoOf(result);
  EXPECT_EQ(echoText(echo, "path"), "/echo/fields");
  EXPECT_EQ(echoHeader(echo, "X-Kept"), "ok");
  EXPECT_EQ(echoHeader(echo, "X-List"), "one,two");
  EXPECT_EQ(echoHeader(echo, "X-Injected"), "<missing>");
  EXPECT_EQ(echoHeader(echo, "X-Split"), "<missing>");
  EXPECT_EQ(echoHeader(echo, "X-Removed"), "<missing>");
  // A task with no completion handler still runs and completes.
  task->resume();
  ASSERT_TRUE(
      zukit::test::waitUntil([&] { return task->state() == zu::NSURLSessionTaskStateCompleted; }));
  EXPECT_EQ(server.requestCount("/echo/fields"), 2);
  EXPECT_GT(task->countOfBytesReceived(), 0);
}

TEST(NSURLSessionTest, HTTPStatusesAreResponsesNeverErrors) {
  LoopbackServer server;
  ASSERT_TRUE(server.isRunning());
  auto session = zukit::test::makeTestSession();
  for (const int status : {500, 404, 503, 201}) {
    const TaskResult result = fetch(session, server.URL("/status/" + std::to_string(status)));
    ASSERT_EQ(result.calls, 1) << status;
    EXPECT_EQ(result.error, nullptr) << status;
    ASSERT_NE(result.http(), nullptr) << status;
    EXPECT_EQ(result.http()->statusCode(), status);
    EXPECT_EQ(result.text(), "status " + std::to_string(status));
  }
  const TaskResult noContent = fetch(session, server.URL("/status/204"));
  ASSERT_NE(noContent.http(), nullptr);
  EXPECT_EQ(noContent.http()->statusCode(), 204);
  ASSERT_TRUE(noContent.data.has_value()) << "a success without a body still hands over data";
  EXPECT_TRUE(noContent.data->empty());
  EXPECT_EQ(zu::NSHTTPURLResponse::localizedStringForStatusCode(500), "internal server error");
  EXPECT_EQ(zu::NSHTTPURLResponse::localizedStringForStatusCode(599), "server error");
}

TEST(NSURLSessionTest, ASlowServerTimesOutAfterTheRequestTimeout) {
  LoopbackServer server;
  ASSERT_TRUE(server.isRunning());
  auto session = zukit::test::makeTestSession();
  auto request = requestFor(server.URL("/slow?delay=6"));
  request->setTimeoutInterval(0.5);
  const auto start = std::chrono::steady_clock::now();
  const TaskResult result = runDataTask(session, request);
  const auto waited = std::chrono::steady_clock::now() - start;
  expectURLError(result, zu::NSURLErrorTimedOut, "The request timed out.");
  EXPECT_EQ(result.error->userInfo().objectForKey("NSErrorFailingURLStringKey").description(),
            server.URL("/slow?delay=6"));
  EXPECT_GE(waited, std::chrono::milliseconds(450));
  EXPECT_LT(waited, std::chrono::seconds(5));

  // Without a timeout of its own, a request gets the session's.
  auto configuration = zu::NSURLSessionConfiguration::defaultSessionConfiguration();
  configuration->setTimeoutIntervalForRequest(0.4);
  auto quick = zu::NSURLSession::sessionWithConfiguration(configuration);
  expectURLError(fetch(quick, server.URL("/slow?delay=6")), zu::NSURLErrorTimedOut,
                 "The request timed out.");
  // A response that comes within the timeout is not affected.
  auto patient = requestFor(server.URL("/slow?delay=0.2"));
  patient->setTimeoutInterval(5);
  const TaskResult slow = runDataTask(session, patient);
  EXPECT_EQ(slow.error, nullptr);
  EXPECT_EQ(slow.text(), "slow");
}

TEST(NSURLSessionTest, BrokenConnectionsReportTheirCauses) {
  LoopbackServer server;
  ASSERT_TRUE(server.isRunning());
  auto session = zukit::test::makeTestSession();
  expectURLError(fetch(session, server.URL("/drop")), zu::NSURLErrorNetworkConnectionLost,
                 "The network connection was lost.");
  expectURLError(fetch(session, server.URL("/drop/early")), zu::NSURLErrorNetworkConnectionLost,
                 "The network connection was lost.");
  const int port = zukit::test::unusedLoopbackPort();
  ASSERT_GT(port, 0);
  const std::string closed = "http://127.0.0.1:" + std::to_string(port) + "/echo";
  const TaskResult refused = fetch(session, closed);
  expectURLError(refused, zu::NSURLErrorCannotConnectToHost, "Could not connect to the server.");
  EXPECT_EQ(refused.error->userInfo().objectForKey("NSErrorFailingURLKey").description(), closed);
  // The session is still good after the failures.
  const TaskResult after = fetch(session, server.URL("/status/200"));
  EXPECT_EQ(after.error, nullptr);
  EXPECT_EQ(after.text(), "status 200");
}

TEST(NSURLSessionTest, URLsTheTransportCannotUseFailThroughTheCompletion) {
  auto session = zukit::test::makeTestSession();
  const auto relative = zu::NSURL::URLWithString("/echo?a=b");
  ASSERT_NE(relative, nullptr);
  expectURLError(runDataTask(session, zu::NSURLRequest::requestWithURL(relative)),
                 zu::NSURLErrorUnsupportedURL, "unsupported URL");
  expectURLError(runDataTask(session, zu::NSURLRequest::requestWithURL(nullptr)),
                 zu::NSURLErrorUnsupportedURL, "unsupported URL");
  expectURLError(runDataTask(session, nullptr), zu::NSURLErrorUnsupportedURL, "unsupported URL");
  expectURLError(fetch(session, "ftp://127.0.0.1/file"), zu::NSURLErrorUnsupportedURL,
                 "unsupported URL");
  expectURLError(fetch(session, "mailto:someone@example.com"), zu::NSURLErrorUnsupportedURL,
                 "unsupported URL");
  expectURLError(fetch(session, "http:///no-host"), zu::NSURLErrorBadURL, "bad URL");
  // Text that is no URL gives no NSURL at all; a request for none fails the same way.
  EXPECT_EQ(zu::NSURL::URLWithString("http://127.0.0.1/a b"), nullptr);
}

TEST(NSURLSessionTest, CompletionsRunOnTheSerialDelegateQueueNeverTheMainThread) {
  LoopbackServer server;
  ASSERT_TRUE(server.isRunning());
  auto session = zukit::test::makeTestSession();
  const std::string delegateLabel = session->delegateQueue()->label();
  std::mutex mutex;
  std::vector<std::string> labels;
  int onMain = 0;
  std::atomic<int> inside{0};
  std::atomic<int> overlaps{0};
  std::atomic<int> done{0};
  constexpr int kTasks = 12;
  for (int i = 0; i < kTasks; ++i) {
    session
        ->dataTaskWithURL(
            zu::NSURL::URLWithString(server.URL("/slow?delay=0.05")),
            [&](const std::optional<zu::Data>&, const std::shared_ptr<zu::NSURLResponse>&,
                const std::shared_ptr<zu::NSError>&) {
              if (inside.fetch_add(1) != 0) ++overlaps;
              {
                const std::lock_guard<std::mutex> lock(mutex);
                labels.emplace_back(zu::dispatch_queue_get_label(zu::DISPATCH_CURRENT_QUEUE_LABEL));
                if (zu::RunLoop::isMainThread()) ++onMain;
              }
              std::this_thread::sleep_for(std::chrono::milliseconds(5));
              --inside;
              ++done;
            })
        ->resume();
  }
  // The main loop runs meanwhile: a completion posted to the main queue would run here.
  ASSERT_TRUE(zukit::test::pumpMainUntil([&] { return done.load() == kTasks; }));
  zu::dispatch_sync(session->delegateQueue(), [] {});
  const std::lock_guard<std::mutex> lock(mutex);
  EXPECT_EQ(onMain, 0);
  EXPECT_EQ(overlaps.load(), 0) << "the delegate queue is serial";
  ASSERT_EQ(labels.size(), static_cast<std::size_t>(kTasks));
  for (const std::string& label : labels)
    EXPECT_EQ(label, delegateLabel);
  EXPECT_NE(delegateLabel, zu::dispatch_queue_get_label(zu::dispatch_get_main_queue()));
}

TEST(NSURLSessionTest, TasksFromEightThreadsEachCompleteExactlyOnce) {
  LoopbackServer server;
  ASSERT_TRUE(server.isRunning());
  auto session = zukit::test::makeTestSession();
  constexpr int kThreads = 8;
  constexpr int kPerThread = 50;
  std::mutex mutex;
  std::map<std::string, int> calls;
  std::map<std::string, std::string> paths;
  std::atomic<int> failures{0};
  std::atomic<int> done{0};
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kPerThread; ++i) {
        const std::string path = "/echo/t" + std::to_string(t) + "/" + std::to_string(i);
        session
            ->dataTaskWithURL(
                zu::NSURL::URLWithString(server.URL(path)),
                [&, path](std::optional<zu::Data> data, const std::shared_ptr<zu::NSURLResponse>&,
                          const std::shared_ptr<zu::NSError>& error) {
                  TaskResult result;
                  result.data = std::move(data);
                  {
                    const std::lock_guard<std::mutex> lock(mutex);
                    ++calls[path];
                    paths[path] = echoText(echoOf(result), "path");
                  }
                  if (error) ++failures;
                  ++done;
                })
            ->resume();
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  ASSERT_TRUE(zukit::test::waitUntil([&] { return done.load() >= kThreads * kPerThread; },
                                     std::chrono::seconds(60)));
  zu::dispatch_sync(session->delegateQueue(), [] {});
  EXPECT_EQ(done.load(), kThreads * kPerThread);
  EXPECT_EQ(failures.load(), 0);
  const std::lock_guard<std::mutex> lock(mutex);
  ASSERT_EQ(calls.size(), static_cast<std::size_t>(kThreads * kPerThread));
  for (const auto& [path, count] : calls) {
    EXPECT_EQ(count, 1) << path;
    EXPECT_EQ(paths[path], path) << "each completion carries its own response";
  }
  EXPECT_EQ(server.totalRequestCount(), kThreads * kPerThread);
  EXPECT_EQ(server.requestCount("/echo/t7/49"), 1);
}

TEST(NSURLSessionTest, CachePoliciesDecideBetweenCacheAndOrigin) {
  LoopbackServer server;
  ASSERT_TRUE(server.isRunning());
  auto configuration = zu::NSURLSessionConfiguration::defaultSessionConfiguration();
  auto cache = std::make_shared<zu::NSURLCache>(1024 * 1024);
  configuration->setURLCache(cache);
  auto session = zu::NSURLSession::sessionWithConfiguration(configuration);
  const std::string url = server.URL("/cacheable?max-age=60");

  // The protocol's rules: the fresh response is served from the cache.
  EXPECT_EQ(fetch(session, url).text(), "cacheable 1");
  const TaskResult cached = fetch(session, url);
  EXPECT_EQ(cached.text(), "cacheable 1");
  ASSERT_NE(cached.http(), nullptr);
  EXPECT_EQ(cached.http()->statusCode(), 200);
  EXPECT_EQ(server.requestCount("/cacheable"), 1);

  // Reloading ignores the cache and replaces the entry.
  auto reload = requestFor(url);
  reload->setCachePolicy(zu::NSURLRequestReloadIgnoringLocalCacheData);
  EXPECT_EQ(runDataTask(session, reload).text(), "cacheable 2");
  EXPECT_EQ(server.requestCount("/cacheable"), 2);
  EXPECT_EQ(fetch(session, url).text(), "cacheable 2");
  EXPECT_EQ(server.requestCount("/cacheable"), 2);

  // A response that is not fresh goes back to the origin; "else load" still takes it.
  const std::string stale = server.URL("/cacheable?max-age=0");
  EXPECT_EQ(fetch(session, stale).text(), "cacheable 3");
  EXPECT_EQ(fetch(session, stale).text(), "cacheable 4");
  auto elseLoad = requestFor(stale);
  elseLoad->setCachePolicy(zu::NSURLRequestReturnCacheDataElseLoad);
  EXPECT_EQ(runDataTask(session, elseLoad).text(), "cacheable 4");
  EXPECT_EQ(server.requestCount("/cacheable"), 4);

  // Cache only, with nothing cached: resource unavailable, and nothing is sent.
  auto dontLoad = requestFor(server.URL("/cacheable?max-age=60&other=1"));
  dontLoad->setCachePolicy(zu::NSURLRequestReturnCacheDataDontLoad);
  expectURLError(runDataTask(session, dontLoad), zu::NSURLErrorResourceUnavailable,
                 "resource unavailable");
  EXPECT_EQ(server.requestCount("/cacheable"), 4);

  // Ignoring remote caches too asks intermediaries not to answer from theirs.
  auto remote = requestFor(server.URL("/echo/remote"));
  remote->setCachePolicy(zu::NSURLRequestReloadIgnoringLocalAndRemoteCacheData);
  const zu::Dictionary echo = echoOf(runDataTask(session, remote));
  EXPECT_EQ(echoHeader(echo, "Cache-Control"), "no-cache");
  EXPECT_EQ(echoHeader(echo, "Pragma"), "no-cache");

  // Without a URL cache every request reaches the origin.
  configuration->setURLCache(nullptr);
  auto uncached = zu::NSURLSession::sessionWithConfiguration(configuration);
  ASSERT_TRUE(server.resetCounters());
  fetch(uncached, url);
  fetch(uncached, url);
  EXPECT_EQ(server.requestCount("/cacheable"), 2);
  EXPECT_GT(cache->currentMemoryUsage(), 0U);
  cache->removeAllCachedResponses();
  EXPECT_EQ(cache->currentMemoryUsage(), 0U);
}

TEST(NSURLSessionTest, RedirectsAreFollowedToTheFinalResponse) {
  LoopbackServer server;
  ASSERT_TRUE(server.isRunning());
  auto session = zukit::test::makeTestSession();
  const TaskResult result = fetch(session, server.URL("/redirect?to=/echo/after&code=302"));
  ASSERT_EQ(result.error, nullptr);
  ASSERT_NE(result.http(), nullptr);
  EXPECT_EQ(result.http()->statusCode(), 200);
  EXPECT_EQ(result.http()->URL()->absoluteString(), server.URL("/echo/after"));
  EXPECT_EQ(result.http()->valueForHTTPHeaderField("Location"), std::nullopt)
      << "the headers are the final response's";
  EXPECT_EQ(echoText(echoOf(result), "path"), "/echo/after");
}

TEST(NSURLSessionTest, SessionHeadersJoinTheRequestsOwn) {
  LoopbackServer server;
  ASSERT_TRUE(server.isRunning());
  auto configuration = zu::NSURLSessionConfiguration::defaultSessionConfiguration();
  configuration->setHTTPAdditionalHeaders(
      zu::Dictionary{{"X-Session", "s"}, {"X-Both", "session"}, {"User-Agent", "SessionAgent/2"}});
  auto session = zu::NSURLSession::sessionWithConfiguration(configuration);
  auto request = requestFor(server.URL("/echo/headers"));
  request->setValue("request", "x-both");
  const zu::Dictionary echo = echoOf(runDataTask(session, request));
  EXPECT_EQ(echoHeader(echo, "X-Session"), "s");
  EXPECT_EQ(echoHeader(echo, "x-both"), "request");
  EXPECT_EQ(echoHeader(echo, "X-Both"), "<missing>");
  EXPECT_EQ(echoHeader(echo, "User-Agent"), "SessionAgent/2");
}

TEST(NSURLSessionTest, CancellingCompletesATaskOnceWithCancelled) {
  LoopbackServer server;
  ASSERT_TRUE(server.isRunning());
  auto session = zukit::test::makeTestSession();
  std::atomic<int> calls{0};
  std::shared_ptr<zu::NSError> lastError;
  std::mutex mutex;
  auto handler = [&](const std::optional<zu::Data>&, const std::shared_ptr<zu::NSURLResponse>&,
                     std::shared_ptr<zu::NSError> error) {
    const std::lock_guard<std::mutex> lock(mutex);
    lastError = std::move(error);
    ++calls;
  };

  // Cancelled before it started: never sent, and resuming afterwards does nothing.
  auto unstarted =
      session->dataTaskWithURL(zu::NSURL::URLWithString(server.URL("/echo/x")), handler);
  EXPECT_EQ(unstarted->state(), zu::NSURLSessionTaskStateSuspended);
  unstarted->cancel();
  unstarted->resume();
  unstarted->cancel();
  ASSERT_TRUE(zukit::test::waitUntil([&] { return calls.load() == 1; }));
  EXPECT_EQ(unstarted->state(), zu::NSURLSessionTaskStateCompleted);
  EXPECT_EQ(unstarted->error()->code(), zu::NSURLErrorCancelled);

  // Cancelled while the server is still thinking: completes at once, not after the delay.
  auto running =
      session->dataTaskWithURL(zu::NSURL::URLWithString(server.URL("/slow?delay=8")), handler);
  running->resume();
  EXPECT_NE(running->taskIdentifier(), unstarted->taskIdentifier());
  ASSERT_TRUE(zukit::test::waitUntil([&] { return server.requestCount("/slow") == 1; }));
  const auto start = std::chrono::steady_clock::now();
  running->cancel();
  ASSERT_TRUE(zukit::test::waitUntil([&] { return calls.load() == 2; }));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
  {
    const std::lock_guard<std::mutex> lock(mutex);
    ASSERT_NE(lastError, nullptr);
    EXPECT_EQ(lastError->code(), zu::NSURLErrorCancelled);
    EXPECT_EQ(lastError->localizedDescription(), "cancelled");
  }

  // Invalidating with cancel ends running tasks and refuses new ones.
  auto busy =
      session->dataTaskWithURL(zu::NSURL::URLWithString(server.URL("/slow?delay=8")), handler);
  busy->resume();
  session->invalidateAndCancel();
  ASSERT_TRUE(zukit::test::waitUntil([&] { return calls.load() == 3; }));
  auto late = session->dataTaskWithURL(zu::NSURL::URLWithString(server.URL("/echo/late")), handler);
  late->resume();
  ASSERT_TRUE(zukit::test::waitUntil([&] { return calls.load() == 4; }));
  EXPECT_EQ(late->error()->code(), zu::NSURLErrorCancelled);
  EXPECT_EQ(server.requestCount("/echo/late"), 0);
  EXPECT_EQ(server.requestCount("/echo/x"), 0);
  zu::dispatch_sync(session->delegateQueue(), [] {});
  EXPECT_EQ(calls.load(), 4);
}

TEST(NSURLSessionTest, TasksOutliveTheirReleasedSession) {
  LoopbackServer server;
  ASSERT_TRUE(server.isRunning());
  std::atomic<int> calls{0};
  std::atomic<long> status{0};
  {
    auto session = zukit::test::makeTestSession();
    session
        ->dataTaskWithURL(
            zu::NSURL::URLWithString(server.URL("/slow?delay=0.3")),
            [&](const std::optional<zu::Data>&, const std::shared_ptr<zu::NSURLResponse>& response,
                const std::shared_ptr<zu::NSError>&) {
              if (auto http = std::dynamic_pointer_cast<zu::NSHTTPURLResponse>(response)) {
                status = http->statusCode();
              }
              ++calls;
            })
        ->resume();
  }
  ASSERT_TRUE(zukit::test::waitUntil([&] { return calls.load() == 1; }));
  EXPECT_EQ(status.load(), 200);
}

}  // namespace
