// Download tasks: the body in a temporary file that lives exactly as long as the handler.

#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): setenv, unsetenv

#include <atomic>
#include <filesystem>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "apps/loopback/LoopbackPayloads.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MainLoop.h"
#include "tests/support/SessionTasks.h"
#include "tests/support/TestHome.h"
#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/foundation/NSSearchPath.h"
#include "zukit/platform/network/NSMutableURLRequest.h"
#include "zukit/platform/network/NSURLError.h"

namespace {

namespace fs = std::filesystem;
using zukit::test::LoopbackServer;
using zukit::test::runDownloadTask;
using zukit::test::TaskResult;

zu::Data asData(const std::vector<std::uint8_t>& bytes) {
  return {bytes.begin(), bytes.end()};
}

std::shared_ptr<zu::NSURLRequest> requestFor(const std::string& url) {
  return zu::NSURLRequest::requestWithURL(zu::NSURL::URLWithString(url));
}

// Points the temporary directory at an empty directory of the test's own, so that what the
// downloads leave behind can be counted. Set while no transfer runs.
class NSURLSessionDownloadTest : public testing::Test {
 protected:
  void SetUp() override {
    _directory = zukit::test::TestHome::current() + "/tmp-" +
                 testing::UnitTest::GetInstance()->current_test_info()->name();
    fs::create_directories(_directory);
    const char* previous = std::getenv("TMPDIR");  // NOLINT(concurrency-mt-unsafe)
    if (previous != nullptr) _previous = previous;
    setenv("TMPDIR", _directory.c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
  }
  void TearDown() override {
    if (_previous) {
      setenv("TMPDIR", _previous->c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
    } else {
      unsetenv("TMPDIR");  // NOLINT(concurrency-mt-unsafe)
    }
  }

  std::size_t filesLeft() const {
    std::size_t count = 0;
    for (const auto& entry : fs::directory_iterator(_directory)) {
      (void)entry;
      ++count;
    }
    return count;
  }

  std::string _directory;
  std::optional<std::string> _previous;
};

TEST_F(NSURLSessionDownloadTest, TheFileExistsDuringTheHandlerAndIsGoneAfterwards) {
  LoopbackServer server;
  ASSERT_TRUE(server.isRunning());
  auto session = zukit::test::makeTestSession();
  EXPECT_EQ(zu::NSTemporaryDirectory(), _directory + "/");
  const TaskResult result =
      runDownloadTask(session, requestFor(server.URL("/video/mp4?size=300000")));
  ASSERT_EQ(result.calls, 1);
  ASSERT_EQ(result.error, nullptr);
  EXPECT_FALSE(result.onMainThread);
  EXPECT_EQ(result.queueLabel, std::string(session->delegateQueue()->label()));
  ASSERT_NE(result.location, nullptr);
  EXPECT_TRUE(result.location->isFileURL());
  EXPECT_EQ(fs::path(result.location->path()).parent_path(), fs::path(_directory));
  ASSERT_TRUE(result.fileContents.has_value()) << "the file was there inside the handler";
  EXPECT_EQ(result.fileContents->size(), 300000U);
  EXPECT_EQ(*result.fileContents, asData(zukit::loopback::videoPayload(300000)));
  ASSERT_NE(result.http(), nullptr);
  EXPECT_EQ(result.http()->MIMEType(), "video/mp4");
  EXPECT_EQ(result.http()->expectedContentLength(), 300000);
  ASSERT_TRUE(zukit::test::waitUntil([&] { return !fs::exists(result.location->path()); }));
  EXPECT_EQ(filesLeft(), 0U);

  // An error status still downloads its body.
  const TaskResult failed = runDownloadTask(session, requestFor(server.URL("/status/500")));
  ASSERT_EQ(failed.error, nullptr);
  ASSERT_NE(failed.http(), nullptr);
  EXPECT_EQ(failed.http()->statusCode(), 500);
  ASSERT_TRUE(failed.fileContents.has_value());
  EXPECT_EQ(std::string(failed.fileContents->begin(), failed.fileContents->end()), "status 500");
  ASSERT_TRUE(zukit::test::waitUntil([&] { return filesLeft() == 0; }));
}

TEST_F(NSURLSessionDownloadTest, AHandlerMayMoveTheFileAway) {
  LoopbackServer server;
  ASSERT_TRUE(server.isRunning());
  auto session = zukit::test::makeTestSession();
  const std::string kept = zukit::test::TestHome::current() + "/kept.png";
  std::atomic<bool> moved{false};
  std::atomic<bool> done{false};
  session
      ->downloadTaskWithRequest(
          requestFor(server.URL("/image/png")),
          [&](const std::shared_ptr<zu::NSURL>& location, const std::shared_ptr<zu::NSURLResponse>&,
              const std::shared_ptr<zu::NSError>&) {
            if (location) {
              moved = zu::NSFileManager::defaultManager()->moveItemAtPath(location->path(), kept);
            }
            done = true;
          })
      ->resume();
  ASSERT_TRUE(zukit::test::waitUntil([&] { return done.load(); }));
  zu::dispatch_sync(session->delegateQueue(), [] {});
  EXPECT_TRUE(moved.load());
  const auto bytes = zu::NSFileManager::defaultManager()->contentsAtPath(kept);
  ASSERT_TRUE(bytes.has_value());
  const auto png = zukit::loopback::sampleImage("png");
  EXPECT_EQ(*bytes, zu::Data(png.begin(), png.end()));
  EXPECT_EQ(filesLeft(), 0U);
}

TEST_F(NSURLSessionDownloadTest, FailedDownloadsHandOverNoFileAndLeaveNone) {
  LoopbackServer server;
  ASSERT_TRUE(server.isRunning());
  auto session = zukit::test::makeTestSession();
  const TaskResult dropped = runDownloadTask(session, requestFor(server.URL("/drop")));
  ASSERT_EQ(dropped.calls, 1);
  ASSERT_NE(dropped.error, nullptr);
  EXPECT_EQ(dropped.error->code(), zu::NSURLErrorNetworkConnectionLost);
  EXPECT_EQ(dropped.location, nullptr);
  EXPECT_EQ(dropped.response, nullptr);

  auto slow = zu::NSMutableURLRequest::requestWithURL(
      zu::NSURL::URLWithString(server.URL("/slow?delay=6")));
  slow->setTimeoutInterval(0.3);
  const TaskResult timedOut = runDownloadTask(session, slow);
  ASSERT_NE(timedOut.error, nullptr);
  EXPECT_EQ(timedOut.error->code(), zu::NSURLErrorTimedOut);
  EXPECT_EQ(timedOut.location, nullptr);

  const TaskResult relative = runDownloadTask(
      session, zu::NSURLRequest::requestWithURL(zu::NSURL::URLWithString("/video")));
  ASSERT_NE(relative.error, nullptr);
  EXPECT_EQ(relative.error->code(), zu::NSURLErrorUnsupportedURL);
  EXPECT_EQ(filesLeft(), 0U);

  // With no place for temporary files the download fails cleanly.
  fs::remove_all(_directory);
  const TaskResult nowhere = runDownloadTask(session, requestFor(server.URL("/image/gif")));
  ASSERT_NE(nowhere.error, nullptr);
  EXPECT_EQ(nowhere.error->code(), zu::NSURLErrorCannotCreateFile);
  EXPECT_EQ(nowhere.error->localizedDescription(), "cannot create file");
  fs::create_directories(_directory);
}

TEST_F(NSURLSessionDownloadTest, ManyDownloadsFromManyThreadsLeaveNoFilesBehind) {
  LoopbackServer server;
  ASSERT_TRUE(server.isRunning());
  auto session = zukit::test::makeTestSession();
  constexpr int kThreads = 8;
  constexpr int kPerThread = 10;
  std::mutex mutex;
  std::vector<std::string> paths;
  std::atomic<int> matched{0};
  std::atomic<int> errors{0};
  std::atomic<int> done{0};
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kPerThread; ++i) {
        // Every fourth transfer breaks off mid-body.
        const bool drop = i % 4 == 3;
        const std::size_t size = 1000 + static_cast<std::size_t>(t * 100 + i);
        const std::string url = drop ? server.URL("/drop?n=" + std::to_string(t * 100 + i))
                                     : server.URL("/bytes?size=" + std::to_string(size));
        session
            ->downloadTaskWithRequest(
                requestFor(url),
                [&, size](const std::shared_ptr<zu::NSURL>& location,
                          const std::shared_ptr<zu::NSURLResponse>&,
                          const std::shared_ptr<zu::NSError>& error) {
                  if (error) ++errors;
                  if (location) {
                    const auto bytes =
                        zu::NSFileManager::defaultManager()->contentsAtPath(location->path());
                    if (bytes && *bytes == asData(zukit::loopback::payloadBytes(0, size)))
                      ++matched;
                    const std::lock_guard<std::mutex> lock(mutex);
                    paths.push_back(location->path());
                  }
                  ++done;
                })
            ->resume();
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  ASSERT_TRUE(zukit::test::waitUntil([&] { return done.load() == kThreads * kPerThread; },
                                     std::chrono::seconds(60)));
  zu::dispatch_sync(session->delegateQueue(), [] {});
  EXPECT_EQ(errors.load(), kThreads * 2);
  EXPECT_EQ(matched.load(), kThreads * 8);
  const std::lock_guard<std::mutex> lock(mutex);
  EXPECT_EQ(std::set<std::string>(paths.begin(), paths.end()).size(), paths.size())
      << "every download has its own file";
  EXPECT_EQ(filesLeft(), 0U);
}

}  // namespace
