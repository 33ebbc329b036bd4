// The loopback servers that the network tests, the demo and the bench stand on.

#include <set>

#include <gtest/gtest.h>

#include "apps/loopback/EmbeddedHttpServer.h"
#include "apps/loopback/LoopbackPayloads.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/SessionTasks.h"
#include "zukit/platform/foundation/NSJSONSerialization.h"
#include "zukit/platform/network/NSMutableURLRequest.h"
#include "zukit/platform/network/NSURLError.h"

namespace {

using zukit::test::fetch;
using zukit::test::TaskResult;

zu::Data asData(std::span<const std::uint8_t> bytes) {
  return {bytes.begin(), bytes.end()};
}

zu::Dictionary jsonOf(const TaskResult& result) {
  if (!result.data) return {};
  const zu::Value value = zu::NSJSONSerialization::JSONObjectWithData(*result.data, 0);
  return value.isDictionary() ? *value.asDictionary() : zu::Dictionary();
}

TEST(LoopbackServersTest, ThreeServersRunAtOnceAndCountTheirOwnRequests) {
  zukit::test::LoopbackServer development;
  zukit::test::LoopbackServer test;
  zukit::test::LoopbackServer distribution;
  ASSERT_TRUE(development.isRunning());
  ASSERT_TRUE(test.isRunning());
  ASSERT_TRUE(distribution.isRunning());
  EXPECT_EQ(std::set<int>({development.port(), test.port(), distribution.port()}).size(), 3U);

  auto session = zukit::test::makeTestSession();
  fetch(session, development.URL("/echo/a"));
  fetch(session, development.URL("/echo/a?again=1"));
  fetch(session, test.URL("/status/500"));
  EXPECT_EQ(development.requestCount("/echo/a"), 2);
  EXPECT_EQ(test.requestCount("/echo/a"), 0);
  EXPECT_EQ(test.requestCount("/status/500"), 1);
  EXPECT_EQ(distribution.totalRequestCount(), 0);
  EXPECT_TRUE(development.resetCounters());
  EXPECT_EQ(development.requestCount("/echo/a"), 0);
  EXPECT_EQ(test.totalRequestCount(), 1);

  // A stopped server answers nothing.
  const int port = test.port();
  test.stop();
  EXPECT_FALSE(test.isRunning());
  EXPECT_EQ(test.requestCount("/status/500"), -1);
  const TaskResult refused = fetch(session, "http://127.0.0.1:" + std::to_string(port) + "/echo");
  ASSERT_NE(refused.error, nullptr);
  EXPECT_EQ(refused.error->code(), zu::NSURLErrorCannotConnectToHost);
}

TEST(LoopbackServersTest, TheEmbeddedServerServesTheSameRoutes) {
  zukit::loopback::EmbeddedHttpServer server(2);
  ASSERT_GT(server.port(), 0);
  auto session = zukit::test::makeTestSession();
  const std::string base = server.baseURL();

  auto post =
      zu::NSMutableURLRequest::requestWithURL(zu::NSURL::URLWithString(base + "/echo/x?k=v"));
  post->setHTTPMethod("POST");
  post->setValue("yes", "X-Embedded");
  post->setHTTPBody(zu::Data{'h', 'i', 0xFF});
  const zu::Dictionary echo = jsonOf(zukit::test::runDataTask(session, post));
  EXPECT_EQ(echo.objectForKey("method").description(), "POST");
  EXPECT_EQ(echo.objectForKey("path").description(), "/echo/x");
  EXPECT_EQ(echo.objectForKey("query").description(), "k=v");
  EXPECT_EQ(echo.objectForKey("bodyBase64").description(), "aGn/");
  EXPECT_TRUE(echo.objectForKey("body").isNull()) << "the body is not UTF-8";
  const zu::Value headers = echo.objectForKey("headers");
  ASSERT_TRUE(headers.isDictionary());
  EXPECT_EQ(headers.asDictionary()->objectForKey("X-Embedded").description(), "yes");

  const TaskResult status = fetch(session, base + "/status/500");
  ASSERT_NE(status.http(), nullptr);
  EXPECT_EQ(status.http()->statusCode(), 500);
  EXPECT_EQ(status.text(), "status 500");

  for (const char* kind : {"png", "jpeg", "gif"}) {
    const TaskResult image = fetch(session, base + "/image/" + kind);
    ASSERT_TRUE(image.data.has_value()) << kind;
    EXPECT_EQ(*image.data, asData(zukit::loopback::sampleImage(kind))) << kind;
    EXPECT_EQ(image.http()->MIMEType(), std::string("image/") + kind);
  }
  const TaskResult video = fetch(session, base + "/video/mp4?size=5000");
  ASSERT_TRUE(video.data.has_value());
  EXPECT_EQ(*video.data, asData(zukit::loopback::videoPayload(5000)));
  EXPECT_EQ(std::string(video.data->begin() + 4, video.data->begin() + 8), "ftyp");

  auto slow =
      zu::NSMutableURLRequest::requestWithURL(zu::NSURL::URLWithString(base + "/slow?delay=5"));
  slow->setTimeoutInterval(0.3);
  const TaskResult timedOut = zukit::test::runDataTask(session, slow);
  ASSERT_NE(timedOut.error, nullptr);
  EXPECT_EQ(timedOut.error->code(), zu::NSURLErrorTimedOut);
  const TaskResult dropped = fetch(session, base + "/drop");
  ASSERT_NE(dropped.error, nullptr);
  EXPECT_EQ(dropped.error->code(), zu::NSURLErrorNetworkConnectionLost);

  EXPECT_EQ(server.requestCount("/status/500"), 1);
  EXPECT_EQ(server.requestCount("/image/png"), 1);
  const zu::Dictionary counter = jsonOf(fetch(session, base + "/_counter?path=/echo/x"));
  EXPECT_EQ(counter.objectForKey("count").integerValue(), 1);
  server.resetCounters();
  EXPECT_EQ(server.totalRequestCount(), 0);
}

TEST(LoopbackServersTest, BothServersSendTheSamePayloadPattern) {
  zukit::test::LoopbackServer python;
  zukit::loopback::EmbeddedHttpServer embedded;
  ASSERT_TRUE(python.isRunning());
  ASSERT_GT(embedded.port(), 0);
  auto session = zukit::test::makeTestSession();
  const TaskResult fromPython = fetch(session, python.URL("/bytes?size=70000"));
  const TaskResult fromEmbedded = fetch(session, embedded.baseURL() + "/bytes?size=70000");
  ASSERT_TRUE(fromPython.data.has_value());
  ASSERT_TRUE(fromEmbedded.data.has_value());
  EXPECT_EQ(*fromPython.data, *fromEmbedded.data);
  EXPECT_EQ(*fromPython.data, asData(zukit::loopback::payloadBytes(0, 70000)));
  const TaskResult imagePython = fetch(session, python.URL("/image/jpeg"));
  ASSERT_TRUE(imagePython.data.has_value());
  EXPECT_EQ(*imagePython.data, asData(zukit::loopback::sampleImage("jpeg")))
      << "the embedded copy of the sample images matches the fixture files";
}

}  // namespace
