// The HTTP client against three loopback servers standing for the distribution, test and
// development environments, switched through "envType" in the app group's shared store.

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/network/NetworkTestSupport.h"
#include "tests/storage/StoreTestSupport.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/Probe.h"
#include "zukit/network/ZuNetwork.h"
#include "zukit/network/ZuNetworkConfig.h"
#include "zukit/platform/network/NSURLError.h"
#include "zukit/storage/ZuUserShare.h"

namespace {

using zu::Dictionary;
using zu::Value;
using zukit::test::echoHeader;
using zukit::test::echoOf;
using zukit::test::echoText;
using zukit::test::LoopbackServer;
using zukit::test::RequestRecorder;

constexpr const char* kDeliveryQueue = "zu.NSURLSession.delegateQueue";

class ZuNetworkTest : public testing::Test {
 protected:
  void SetUp() override {
    // A group of this test's own, so that runs sharing one process start with nothing stored.
    group = zukit::test::uniqueName("group.cn.com.quorvel.network.");
    zukit::test::declareAppGroups(group);
    ASSERT_TRUE(distribution.isRunning() && test.isRunning() && development.isRunning());
    config->setDistributionEnvironmentHostName(Value(distribution.baseURL()));
    config->setTestEnvironmentHostName(Value(test.baseURL()));
    config->setDevEnvironmentHostName(Value(development.baseURL()));
    network = std::make_shared<ZuNetwork>(Value(group));
    network->setConfig(config);
  }

  void setEnvironment(zu::NSInteger value) const {
    ZuUserShare::share()->setInteger(value, Value("envType"), Value(group));
  }

  // Sends a GET and waits for its callback.
  RequestRecorder::Record get(const std::string& relative, const Value& parameters = {}) const {
    RequestRecorder recorder;
    network->getRequestWithRelativeURLStr(Value(relative), parameters, recorder.success(),
                                          recorder.failure());
    return recorder.wait();
  }

  // Sends a POST and waits for its callback.
  RequestRecorder::Record post(const std::string& relative, const Value& header,
                               const Value& body) const {
    RequestRecorder recorder;
    network->postRequestWithRelativeURLStr(Value(relative), header, body, recorder.success(),
                                           recorder.failure());
    return recorder.wait();
  }

  // The counts of `path` on the three servers: distribution, test, development.
  std::vector<long> counts(const std::string& path) const {
    return {distribution.requestCount(path), test.requestCount(path),
            development.requestCount(path)};
  }

  LoopbackServer distribution;
  LoopbackServer test;
  LoopbackServer development;
  std::string group;
  std::shared_ptr<ZuNetworkConfig> config = std::make_shared<ZuNetworkConfig>();
  std::shared_ptr<ZuNetwork> network;
};

void expectSucceeded(const RequestRecorder::Record& record, zu::NSInteger status) {
  ASSERT_EQ(record.calls(), 1);
  ASSERT_EQ(record.successCalls, 1) << (record.error ? record.error->description() : "");
  ASSERT_NE(record.http(), nullptr);
  EXPECT_EQ(record.http()->statusCode(), status);
  EXPECT_FALSE(record.onMainThread);
  EXPECT_EQ(record.queueLabel, kDeliveryQueue);
}

void expectFailed(const RequestRecorder::Record& record, const std::string& domain,
                  zu::NSInteger code) {
  ASSERT_EQ(record.calls(), 1);
  ASSERT_EQ(record.failureCalls, 1) << record.text();
  ASSERT_NE(record.error, nullptr);
  EXPECT_EQ(record.error->domain(), domain);
  EXPECT_EQ(record.error->code(), code);
  EXPECT_FALSE(record.onMainThread);
  EXPECT_EQ(record.queueLabel, kDeliveryQueue);
}

TEST_F(ZuNetworkTest, EnvTypeSendsTheSameRelativeRequestToEachServerInTurn) {
  // Nothing stored: the distribution server.
  expectSucceeded(get("/echo/env"), 200);
  EXPECT_EQ(counts("/echo/env"), (std::vector<long>{1, 0, 0}));

  setEnvironment(1);
  const auto atTest = get("/echo/env");
  expectSucceeded(atTest, 200);
  EXPECT_EQ(counts("/echo/env"), (std::vector<long>{1, 1, 0}));
  EXPECT_EQ(atTest.http()->URL()->absoluteString(), test.URL("/echo/env"));

  setEnvironment(2);
  expectSucceeded(get("/echo/env"), 200);
  EXPECT_EQ(counts("/echo/env"), (std::vector<long>{1, 1, 1}));

  setEnvironment(0);
  expectSucceeded(get("/echo/env"), 200);
  EXPECT_EQ(counts("/echo/env"), (std::vector<long>{2, 1, 1}));

  // An unknown value names no host: the bare path is no URL the transport can load.
  setEnvironment(3);
  expectFailed(get("/echo/env"), zu::NSURLErrorDomain, zu::NSURLErrorUnsupportedURL);
  setEnvironment(-1);
  expectFailed(get("/echo/env"), zu::NSURLErrorDomain, zu::NSURLErrorUnsupportedURL);
  EXPECT_EQ(counts("/echo/env"), (std::vector<long>{2, 1, 1}));

  // A configuration changed between requests applies to the next one.
  setEnvironment(1);
  config->setTestEnvironmentHostName(Value(development.baseURL()));
  expectSucceeded(get("/echo/env"), 200);
  EXPECT_EQ(counts("/echo/env"), (std::vector<long>{2, 1, 2}));
  // A host that was cleared is no host.
  config->setTestEnvironmentHostName(Value::null());
  expectFailed(get("/echo/env"), zu::NSURLErrorDomain, zu::NSURLErrorUnsupportedURL);
}

TEST_F(ZuNetworkTest, EnvTypeWrittenByAnotherProcessOrInPlaceIsSeenByTheNextRequest) {
  const auto setElsewhere = [this](const std::string& value) {
    const auto result = zukit::test::runProbe({"share", "set", "envType", group, value});
    ASSERT_EQ(result.exitCode, 0) << result.standardError;
  };
  expectSucceeded(get("/echo/env"), 200);
  EXPECT_EQ(counts("/echo/env"), (std::vector<long>{1, 0, 0}));

  // Each value written by a fresh process, the same length every time, and back to an earlier
  // text: every request reads the store as it stands.
  setElsewhere("1");
  expectSucceeded(get("/echo/env"), 200);
  EXPECT_EQ(counts("/echo/env"), (std::vector<long>{1, 1, 0}));
  setElsewhere("2");
  expectSucceeded(get("/echo/env"), 200);
  EXPECT_EQ(counts("/echo/env"), (std::vector<long>{1, 1, 1}));
  setElsewhere("1");
  expectSucceeded(get("/echo/env"), 200);
  EXPECT_EQ(counts("/echo/env"), (std::vector<long>{1, 2, 1}));

  // A file rewritten in place (not replaced) with text of another length, then removed.
  const std::string file = zukit::test::containerPath(group) + "/Library/Caches/Zu_envType.json";
  {
    std::ofstream out(file, std::ios::trunc);
    out << "2 ";
  }
  expectSucceeded(get("/echo/env"), 200);
  EXPECT_EQ(counts("/echo/env"), (std::vector<long>{1, 2, 2}));
  std::filesystem::remove(file);
  expectSucceeded(get("/echo/env"), 200);
  EXPECT_EQ(counts("/echo/env"), (std::vector<long>{2, 2, 2}));
}

TEST_F(ZuNetworkTest, SharedInstanceTakesTheConfigurationAndTheLastGroupIdentifier) {
  const auto shared = ZuNetwork::network();
  EXPECT_EQ(shared, ZuNetwork::network());
  EXPECT_EQ(ZuNetwork::networkWithGroupIdentifier(Value("group.first")), shared);
  EXPECT_EQ(shared->groupIdentifier(), "group.first");
  EXPECT_EQ(ZuNetwork::networkWithGroupIdentifier(Value(group)), shared);
  EXPECT_EQ(shared->groupIdentifier(), group);
  EXPECT_NE(network, shared);
  EXPECT_NE(network->session(), shared->session());
  EXPECT_TRUE(shared->session()->configuration()->allowsCellularAccess());

  ZuNetwork::configEnvironment(config);
  EXPECT_EQ(shared->config(), config);
  setEnvironment(2);
  RequestRecorder recorder;
  shared->getRequestWithRelativeURLStr(Value("/echo/shared"), Value(), recorder.success(),
                                       recorder.failure());
  expectSucceeded(recorder.wait(), 200);
  EXPECT_EQ(counts("/echo/shared"), (std::vector<long>{0, 0, 1}));

  // An instance made for a group has no configuration: a relative path gets no host.
  const auto bare = std::make_shared<ZuNetwork>(Value(group));
  EXPECT_EQ(bare->config(), nullptr);
  EXPECT_EQ(bare->groupIdentifier(), group);
  RequestRecorder unconfigured;
  bare->getRequestWithRelativeURLStr(Value("/echo/shared"), Value(), unconfigured.success(),
                                     unconfigured.failure());
  expectFailed(unconfigured.wait(), zu::NSURLErrorDomain, zu::NSURLErrorUnsupportedURL);
  EXPECT_EQ(counts("/echo/shared"), (std::vector<long>{0, 0, 1}));
}

TEST_F(ZuNetworkTest, QueryIsJoinedUnescapedInTheDictionarysOrderBehindAnAddedQuestionMark) {
  setEnvironment(1);
  const auto url = network->getHttpURLWithRelativeUrl(Value("/a"), Dictionary{{"k", "v"}});
  ASSERT_NE(url, nullptr);
  EXPECT_EQ(url->absoluteString(), test.baseURL() + "/a?k=v");
  // The route does not exist: the 404 reply still reaches success.
  const auto reply = get("/a", Dictionary{{"k", "v"}});
  expectSucceeded(reply, 404);
  EXPECT_EQ(reply.text(), "no such route");
  EXPECT_EQ(counts("/a"), (std::vector<long>{0, 1, 0}));

  // Keys in insertion order, values by their description, a "?" even after an existing one.
  const auto echoed = get("/echo/q?x=1", Dictionary{{"z", 1}, {"a", "two"}, {"m", 2.5}});
  expectSucceeded(echoed, 200);
  const Dictionary echo = echoOf(echoed.data);
  EXPECT_EQ(echoText(echo, "path"), "/echo/q");
  EXPECT_EQ(echoText(echo, "query"), "x=1?z=1&a=two&m=2.5");
  EXPECT_EQ(echoText(echo, "method"), "GET");

  // Escapes already in the text are passed on as they are, not decoded or escaped again.
  EXPECT_EQ(
      network->getHttpURLWithRelativeUrl(Value("/p"), Dictionary{{"q", "a%20b"}})->absoluteString(),
      test.baseURL() + "/p?q=a%20b");
  // No parameters, an empty dictionary or NSNull: no "?".
  EXPECT_EQ(network->getHttpURLWithRelativeUrl(Value("/p"), Value())->absoluteString(),
            test.baseURL() + "/p");
  EXPECT_EQ(network->getHttpURLWithRelativeUrl(Value("/p"), Dictionary())->absoluteString(),
            test.baseURL() + "/p");
  EXPECT_EQ(network->getHttpURLWithRelativeUrl(Value("/p"), Value::null())->absoluteString(),
            test.baseURL() + "/p");
  // Missing relative text, and joined text that is no URL, give none.
  EXPECT_EQ(network->getHttpURLWithRelativeUrl(Value(), Value()), nullptr);
  EXPECT_EQ(network->getHttpURLWithRelativeUrl(Value::null(), Value()), nullptr);
  EXPECT_EQ(network->getHttpURLWithRelativeUrl(Value(""), Value()), nullptr);
  EXPECT_EQ(network->getHttpURLWithRelativeUrl(Value("/p"), Dictionary{{"q", "a b"}}), nullptr);
}

TEST_F(ZuNetworkTest, AbsoluteURLsSkipEnvironmentAndConfiguration) {
  // An environment that names no host and no configuration at all: absolute URLs still go out.
  setEnvironment(9);
  network->setConfig(nullptr);
  const LoopbackServer elsewhere;
  ASSERT_TRUE(elsewhere.isRunning());
  const auto reply = get(elsewhere.URL("/echo/abs"), Dictionary{{"k", "v"}});
  expectSucceeded(reply, 200);
  EXPECT_EQ(echoText(echoOf(reply.data), "query"), "k=v");
  EXPECT_EQ(elsewhere.requestCount("/echo/abs"), 1);
  EXPECT_EQ(counts("/echo/abs"), (std::vector<long>{0, 0, 0}));

  network->setConfig(config);
  setEnvironment(1);
  EXPECT_EQ(
      network->getHttpURLWithRelativeUrl(Value("https://example.invalid/p"), Dictionary{{"a", 1}})
          ->absoluteString(),
      "https://example.invalid/p?a=1");
  // The test is case-sensitive: "HTTP://" is taken as a path and gets the host in front.
  config->setTestEnvironmentHostName(Value(test.baseURL() + "/prefix/"));
  const auto upper = network->getHttpURLWithRelativeUrl(Value("HTTP://x/y"), Value());
  ASSERT_NE(upper, nullptr);
  EXPECT_EQ(upper->absoluteString(), test.baseURL() + "/prefix/HTTP://x/y");
}

TEST_F(ZuNetworkTest, EveryRequestSaysJsonAndAPostCarriesItsBodyAsPrettyJson) {
  // A GET: no header dictionary, yet the JSON content type.
  const auto got = get("/echo/get");
  expectSucceeded(got, 200);
  EXPECT_EQ(echoHeader(echoOf(got.data), "Content-Type"), "application/json");
  EXPECT_EQ(echoText(echoOf(got.data), "body"), "");

  // A POST: header fields copied, the caller's content type overridden (in any case).
  const Dictionary header{{"Content-Type", "text/plain"},
                          {"X-Zu-Token", "abc"},
                          {"X-Zu-Number", 42},
                          {"X-Zu-Null", Value::null()}};
  const auto posted = post("/echo/post", header, Dictionary{{"name", "zu"}, {"count", 2}});
  expectSucceeded(posted, 200);
  Dictionary echo = echoOf(posted.data);
  EXPECT_EQ(echoText(echo, "method"), "POST");
  EXPECT_EQ(echoText(echo, "query"), "");
  EXPECT_EQ(echoHeader(echo, "Content-Type"), "application/json");
  EXPECT_EQ(echoHeader(echo, "X-Zu-Token"), "abc");
  EXPECT_EQ(echoHeader(echo, "X-Zu-Number"), "42");
  EXPECT_EQ(echoHeader(echo, "X-Zu-Null"), "<missing>");
  EXPECT_EQ(echoText(echo, "body"), "{\n  \"name\" : \"zu\",\n  \"count\" : 2\n}");

  const auto lower = post("/echo/post", Dictionary{{"content-type", "text/xml"}}, Value());
  expectSucceeded(lower, 200);
  EXPECT_EQ(echoHeader(echoOf(lower.data), "Content-Type"), "application/json");

  // A nested body goes out exactly as the JSON writer pretty-prints it.
  const Dictionary nested{{"list", zu::Array{1, "two", Value::null()}},
                          {"inner", Dictionary{{"url", "http://x/y"}, {"ok", true}}}};
  const auto expected =
      zu::NSJSONSerialization::dataWithJSONObject(Value(nested), zu::NSJSONWritingPrettyPrinted);
  ASSERT_TRUE(expected.has_value());
  const auto deep = post("/echo/post", Value(), nested);
  expectSucceeded(deep, 200);
  echo = echoOf(deep.data);
  EXPECT_EQ(echoText(echo, "body"), std::string(expected->begin(), expected->end()));
  EXPECT_EQ(echo.objectForKey("bodyLength").integerValue(),
            static_cast<std::int64_t>(expected->size()));

  // No body, or NSNull: nothing is sent, still as JSON.
  for (const Value& none : {Value(), Value::null()}) {
    const auto empty = post("/echo/post", Value(), none);
    expectSucceeded(empty, 200);
    echo = echoOf(empty.data);
    EXPECT_EQ(echoText(echo, "method"), "POST");
    EXPECT_EQ(echo.objectForKey("bodyLength").integerValue(), 0);
    EXPECT_EQ(echoHeader(echo, "Content-Type"), "application/json");
  }

  // A type other than GET and POST leaves the method unset, which goes out as GET; a general
  // request may still carry parameters, header fields and a body.
  RequestRecorder other;
  network->requestWithRelativeUrl(Value("/echo/other"), 7, Dictionary{{"p", "1"}},
                                  Dictionary{{"X-Zu", "1"}}, Dictionary{{"b", 1}}, other.success(),
                                  other.failure());
  const auto sent = other.wait();
  expectSucceeded(sent, 200);
  echo = echoOf(sent.data);
  EXPECT_EQ(echoText(echo, "method"), "GET");
  EXPECT_EQ(echoText(echo, "query"), "p=1");
  EXPECT_EQ(echoHeader(echo, "X-Zu"), "1");
}

TEST_F(ZuNetworkTest, BodiesThatAreNoJsonObjectFailWithoutBeingSent) {
  // Text passes the form gate but is no JSON object; data is no JSON value at all.
  for (const Value& body :
       {Value("a=b"), Value(""), Value(Dictionary{{"blob", zu::Data{1, 2, 3}}})}) {
    const auto record = post("/echo/bad", Value(), body);
    expectFailed(record, "NSCocoaErrorDomain", 3840);
    EXPECT_EQ(record.error->localizedDescription(), "Invalid type in JSON write");
  }
  EXPECT_EQ(counts("/echo/bad"), (std::vector<long>{0, 0, 0}));
  EXPECT_EQ(zukit::test::occurrences(zukit::test::logText(), "/echo/bad"), 0);
}

TEST_F(ZuNetworkTest, FormTextOfABodyIsItsTextOrItsPairsJoinedByAmpersands) {
  EXPECT_EQ(network->httpRequestBody(Value("raw text")), "raw text");
  EXPECT_EQ(
      network->httpRequestBody(Value(Dictionary{{"b", 1}, {"a", "x y"}, {"n", Value::null()}})),
      "b=1&a=x y&n=<null>");
  EXPECT_EQ(network->httpRequestBody(Value(Dictionary())), "");
  EXPECT_EQ(network->httpRequestBody(Value()), std::nullopt);
  EXPECT_EQ(network->httpRequestBody(Value::null()), std::nullopt);
  EXPECT_EQ(network->httpRequestBody(Value(12)), std::nullopt);
  EXPECT_EQ(network->httpRequestBody(Value(zu::Array{"a"})), std::nullopt);
}

TEST_F(ZuNetworkTest, EachRequestIsLoggedWithItsURLAndItsBodyAsJson) {
  const auto posted = post("/echo/logged", Value(), Dictionary{{"a", 1}, {"b", "zu"}});
  expectSucceeded(posted, 200);
  const auto got = get("/echo/logged", Dictionary{{"k", "v"}});
  expectSucceeded(got, 200);

  const std::string log = zukit::test::logText();
  EXPECT_EQ(zukit::test::occurrences(log, "  请求URL：" + distribution.URL("/echo/logged") +
                                              "\n参数：{\n  \"a\" : 1,\n  \"b\" : \"zu\"\n}\n"),
            1)
      << log;
  // A GET has no body: its parameters are in the URL and the body shows as "(null)".
  EXPECT_EQ(zukit::test::occurrences(
                log, "  请求URL：" + distribution.URL("/echo/logged?k=v") + "\n参数：(null)\n"),
            1)
      << log;
}

TEST_F(ZuNetworkTest, TheRequestLineIsLoggedAtTheDataLevel) {
  const std::string asterisks(20, '*');
  const std::string line = "请求URL：" + distribution.URL("/echo/level") + "\n参数：(null)";
  {
    // Every level reaches the console at setting 10010, under its own name.
    ZuLogger::configLogLevel(ZuLogLevelData);
    const zukit::test::StderrCapture console;
    expectSucceeded(get("/echo/level"), 200);
    EXPECT_NE(console.text().find(" [Zu][Data] " + asterisks + "\n" + line + "\n"),
              std::string::npos)
        << console.text();
  }
  {
    // Setting 1 prints every level but 10010.
    ZuLogger::configLogLevel(ZuLogLevelAll);
    const zukit::test::StderrCapture console;
    expectSucceeded(get("/echo/level"), 200);
    EXPECT_EQ(console.text().find(line), std::string::npos) << console.text();
  }
  ZuLogger::configLogLevel(0);
}

TEST_F(ZuNetworkTest, RequestsReloadFromTheServerIgnoringTheSessionsCache) {
  // The server lets caches keep the response for a minute; every request still reaches it.
  expectSucceeded(get("/cacheable", Dictionary{{"max-age", 60}}), 200);
  const auto second = get("/cacheable", Dictionary{{"max-age", 60}});
  expectSucceeded(second, 200);
  EXPECT_EQ(second.text(), "cacheable 2");
  EXPECT_EQ(distribution.requestCount("/cacheable"), 2);
}

TEST_F(ZuNetworkTest, ErrorStatusesReachSuccessAndTransportFailuresReachFailure) {
  const auto serverError = get("/status/500");
  expectSucceeded(serverError, 500);
  EXPECT_EQ(serverError.text(), "status 500");
  expectSucceeded(get("/status/404"), 404);

  // The connection closes in the middle of the body.
  const auto dropped = get("/drop");
  expectFailed(dropped, zu::NSURLErrorDomain, zu::NSURLErrorNetworkConnectionLost);
  EXPECT_EQ(dropped.successCalls, 0);
  // Nothing listens.
  config->setDistributionEnvironmentHostName(
      Value("http://127.0.0.1:" + std::to_string(zukit::test::unusedLoopbackPort())));
  expectFailed(get("/echo"), zu::NSURLErrorDomain, zu::NSURLErrorCannotConnectToHost);
}

TEST_F(ZuNetworkTest, ASilentServerTimesOutThroughFailure) {
  EXPECT_EQ(network->_timeoutInterval(), 60);
  network->_setTimeoutInterval(0);
  network->_setTimeoutInterval(-1);
  EXPECT_EQ(network->_timeoutInterval(), 60);
  network->_setTimeoutInterval(0.5);
  const auto start = std::chrono::steady_clock::now();
  const auto record = get("/slow?delay=5");
  const auto waited = std::chrono::steady_clock::now() - start;
  expectFailed(record, zu::NSURLErrorDomain, zu::NSURLErrorTimedOut);
  EXPECT_EQ(record.error->localizedDescription(), "The request timed out.");
  EXPECT_GE(waited, std::chrono::milliseconds(450));
  EXPECT_LT(waited, std::chrono::milliseconds(4500));
}

TEST_F(ZuNetworkTest, ParametersThatMakeNoURLAreReportedThroughFailure) {
  const std::string unlogged = "  请求URL：(null)\n参数：(null)\n";
  const int before = zukit::test::occurrences(zukit::test::logText(), unlogged);
  for (const char* value : {"a b", "名字", "x\"y"}) {
    const auto record = get("/echo/blank", Dictionary{{"q", value}});
    expectFailed(record, zu::NSURLErrorDomain, zu::NSURLErrorBadURL);
    EXPECT_EQ(record.error->localizedDescription(), "bad URL");
    EXPECT_EQ(record.error->userInfo().objectForKey(zu::NSDebugDescriptionErrorKey).description(),
              "\"" + distribution.URL("/echo/blank?q=") + value + "\" is not a well-formed URL");
  }
  EXPECT_EQ(counts("/echo/blank"), (std::vector<long>{0, 0, 0}));
  // The attempt is logged without a URL.
  EXPECT_EQ(zukit::test::occurrences(zukit::test::logText(), unlogged), before + 3);
}

TEST_F(ZuNetworkTest, AMissingRelativeURLSendsNothingAndCallsNothing) {
  const int logged = zukit::test::occurrences(zukit::test::logText(), "请求URL：");
  RequestRecorder missing;
  for (const Value& relative : {Value(), Value::null(), Value(""), Value(5)}) {
    network->requestWithRelativeUrl(relative, 0, Value(), Value(), Value(), missing.success(),
                                    missing.failure());
    network->postRequestWithRelativeURLStr(relative, Value(), Dictionary{{"a", 1}},
                                           missing.success(), missing.failure());
  }
  // A request made afterwards completes on the same serial queue; nothing came before it.
  expectSucceeded(get("/echo/after"), 200);
  zukit::test::drainQueue(network->session()->delegateQueue());
  EXPECT_EQ(missing.snapshot().calls(), 0);
  EXPECT_EQ(distribution.totalRequestCount(), 1);
  EXPECT_EQ(zukit::test::occurrences(zukit::test::logText(), "请求URL："), logged + 1);

  // Requests without callbacks are still sent.
  network->getRequestWithRelativeURLStr(Value("/echo/quiet"), Value(), nullptr, nullptr);
  EXPECT_TRUE(
      zukit::test::waitUntil([&] { return distribution.requestCount("/echo/quiet") == 1; }));
}

TEST_F(ZuNetworkTest, RequestsFromManyThreadsEachCompleteOnceOnTheDeliveryQueue) {
  setEnvironment(1);
  constexpr long kThreads = 8;
  constexpr long kPerThread = 6;
  std::vector<RequestRecorder> recorders(static_cast<std::size_t>(kThreads * kPerThread));
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (long t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (long i = 0; i < kPerThread; ++i) {
        RequestRecorder& recorder = recorders[static_cast<std::size_t>(t * kPerThread + i)];
        network->getRequestWithRelativeURLStr(Value("/echo/many"),
                                              Dictionary{{"n", t * kPerThread + i}},
                                              recorder.success(), recorder.failure());
      }
    });
  }
  for (auto& thread : threads)
    thread.join();
  for (std::size_t n = 0; n < recorders.size(); ++n) {
    const auto record = recorders[n].wait();
    expectSucceeded(record, 200);
    EXPECT_EQ(echoText(echoOf(record.data), "query"), "n=" + std::to_string(n));
  }
  zukit::test::drainQueue(network->session()->delegateQueue());
  for (const auto& recorder : recorders)
    EXPECT_EQ(recorder.snapshot().calls(), 1);
  EXPECT_EQ(counts("/echo/many"), (std::vector<long>{0, kThreads * kPerThread, 0}));
}

}  // namespace
