// The download manager against a loopback server: images and videos through the disk caches,
// failures with their log lines, and many downloads at once.

#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "apps/loopback/LoopbackPayloads.h"
#include "tests/network/NetworkTestSupport.h"
#include "tests/storage/StoreTestSupport.h"
#include "tests/support/LoopbackServer.h"
#include "zukit/core/ZuConstants.h"
#include "zukit/network/ZuDownloadManager.h"
#include "zukit/platform/network/NSURLError.h"
#include "zukit/storage/ZuImageDiskCache.h"
#include "zukit/storage/ZuVideoDiskCache.h"

namespace {

using zu::Value;
using zukit::test::LoopbackServer;

// What one completion was given, where it ran, and whether a given log line was already in
// the log file while it ran.
struct Completion {
  int calls = 0;
  std::shared_ptr<zu::UIImage> image;
  std::optional<zu::Data> data;
  std::shared_ptr<zu::NSURL> filePath;
  bool fileExistedDuringCallback = false;
  bool cachedDuringCallback = false;
  std::shared_ptr<zu::NSError> error;
  bool finished = false;
  bool onMainThread = false;
  std::string queueLabel;
  // How often the log line was in the log file while the callback ran.
  int logLinesDuringCallback = 0;
};

class Recorder {
 public:
  // `logLine`: a log line whose presence the callback notes; `key`: a cache key whose presence
  // the callback notes.
  explicit Recorder(std::string logLine = {}, std::string key = {})
      : _state(std::make_shared<State>()) {
    _state->logLine = std::move(logLine);
    _state->key = std::move(key);
  }

  ZuImageDownloadCompletion image() const {
    return [state = _state](const std::shared_ptr<zu::UIImage>& image,
                            const std::optional<zu::Data>& data,
                            const std::shared_ptr<zu::NSError>& error, bool finished) {
      Completion seen = observe(*state);
      seen.image = image;
      seen.data = data;
      seen.error = error;
      seen.finished = finished;
      if (!state->key.empty()) {
        seen.cachedDuringCallback =
            ZuImageDiskCache::cache()->containsImageDataForKey(Value(state->key));
      }
      record(*state, seen);
    };
  }

  ZuVideoDownloadCompletion video() const {
    return [state = _state](const std::shared_ptr<zu::NSURL>& filePath,
                            const std::shared_ptr<zu::NSError>& error, bool finished) {
      Completion seen = observe(*state);
      seen.filePath = filePath;
      seen.error = error;
      seen.finished = finished;
      std::error_code ignored;
      seen.fileExistedDuringCallback =
          filePath && std::filesystem::exists(filePath->path(), ignored);
      if (!state->key.empty()) {
        ZuVideoDiskCache::cache()->containsVideoPathForKey(
            Value(state->key),
            [&seen](bool contained, const Value&, const std::shared_ptr<zu::NSURL>&) {
              seen.cachedDuringCallback = contained;
            });
      }
      record(*state, seen);
    };
  }

  // Waits (up to 20 seconds) for a completion, then returns it.
  Completion wait() const {
    zukit::test::waitUntil([this] { return snapshot().calls > 0; });
    return snapshot();
  }
  Completion snapshot() const {
    const std::lock_guard<std::mutex> lock(_state->mutex);
    return _state->completion;
  }

 private:
  struct State {
    std::mutex mutex;
    std::string logLine;
    std::string key;
    Completion completion;
  };

  static Completion observe(const State& state) {
    Completion seen;
    seen.onMainThread = zu::RunLoop::isMainThread();
    seen.queueLabel = zu::dispatch_queue_get_label(zu::DISPATCH_CURRENT_QUEUE_LABEL);
    if (!state.logLine.empty()) {
      seen.logLinesDuringCallback = zukit::test::occurrences(zukit::test::logText(), state.logLine);
    }
    return seen;
  }
  static void record(State& state, Completion& seen) {
    const std::lock_guard<std::mutex> lock(state.mutex);
    seen.calls = state.completion.calls + 1;
    state.completion = seen;
  }

  std::shared_ptr<State> _state;
};

class ZuDownloadManagerTest : public testing::Test {
 protected:
  void SetUp() override {
    temporaryDirectory = zukit::test::usePrivateTemporaryDirectory();
    ASSERT_TRUE(server.isRunning());
  }

  std::shared_ptr<zu::NSURL> url(const std::string& pathAndQuery) const {
    return zu::NSURL::URLWithString(Value(server.URL(pathAndQuery)));
  }

  // Waits until the completion handlers of the manager's transfers so far have returned.
  void settle() const { zukit::test::drainQueue(manager->session()->delegateQueue()); }

  std::string temporaryDirectory;
  LoopbackServer server;
  std::shared_ptr<ZuDownloadManager> manager = ZuDownloadManager::sharedManager();
};

TEST_F(ZuDownloadManagerTest, ASecondImageDownloadIsAnsweredFromTheCacheWithoutTraffic) {
  const zu::Data png = zukit::test::fixtureImage("sample.png");
  const auto target = url("/image/png");
  const Recorder first("", target->absoluteString());
  manager->downloadImageWithURL(target, first.image());
  const Completion downloaded = first.wait();
  ASSERT_EQ(downloaded.calls, 1);
  EXPECT_EQ(downloaded.error, nullptr);
  EXPECT_TRUE(downloaded.finished);
  ASSERT_NE(downloaded.image, nullptr);
  EXPECT_EQ(downloaded.image->data(), png);
  EXPECT_EQ(downloaded.data, png);
  EXPECT_FALSE(downloaded.onMainThread);
  EXPECT_EQ(downloaded.queueLabel, "zu.NSURLSession.delegateQueue");
  // The callback came before the bytes were stored.
  EXPECT_FALSE(downloaded.cachedDuringCallback);
  settle();
  EXPECT_EQ(ZuImageDiskCache::cache()->imageDataForKey(Value(target->absoluteString())), png);

  // From the cache: answered before the call returns, on the calling thread.
  const Recorder second;
  manager->downloadImageWithURL(target, second.image());
  const Completion cached = second.snapshot();
  ASSERT_EQ(cached.calls, 1);
  EXPECT_EQ(cached.error, nullptr);
  EXPECT_TRUE(cached.finished);
  ASSERT_NE(cached.image, nullptr);
  EXPECT_EQ(cached.image->pixelWidth(), downloaded.image->pixelWidth());
  EXPECT_EQ(cached.data, png);
  EXPECT_TRUE(cached.onMainThread);
  EXPECT_EQ(server.requestCount("/image/png"), 1);

  // A download without a completion is still stored; a cached one without completion is quiet.
  manager->downloadImageWithURL(url("/image/gif"), nullptr);
  EXPECT_TRUE(zukit::test::waitUntil([&] {
    return ZuImageDiskCache::cache()->containsImageDataForKey(Value(server.URL("/image/gif")));
  }));
  manager->downloadImageWithURL(url("/image/gif"), nullptr);
  EXPECT_EQ(server.requestCount("/image/gif"), 1);
}

TEST_F(ZuDownloadManagerTest, ATransferUsesTheSessionsCacheAsTheProtocolAllows) {
  // The protocol's cache policy: a response the server lets caches keep for a minute is
  // answered again from the session's cache, even once the disk cache has dropped it.
  const auto target = url("/cacheable?max-age=60");
  const Recorder first;
  manager->downloadImageWithURL(target, first.image());
  const Completion downloaded = first.wait();
  ASSERT_EQ(downloaded.calls, 1);
  ASSERT_TRUE(downloaded.data.has_value());
  EXPECT_EQ(std::string(downloaded.data->begin(), downloaded.data->end()), "cacheable 1");
  settle();
  ZuImageDiskCache::cache()->removeAllCaches();

  const Recorder second;
  manager->downloadImageWithURL(target, second.image());
  const Completion again = second.wait();
  ASSERT_EQ(again.calls, 1);
  ASSERT_TRUE(again.data.has_value());
  EXPECT_EQ(std::string(again.data->begin(), again.data->end()), "cacheable 1");
  EXPECT_FALSE(again.onMainThread) << "a transfer, not a disk-cache hit";
  EXPECT_EQ(server.requestCount("/cacheable"), 1);
}

TEST_F(ZuDownloadManagerTest, URLsDifferingOnlyInTheirQueryAreDifferentKeys) {
  for (const char* query : {"?v=1", "?v=2", "", "?v=1&w=2"}) {
    const Recorder recorder;
    manager->downloadImageWithURL(url(std::string("/image/jpeg") + query), recorder.image());
    ASSERT_NE(recorder.wait().image, nullptr) << query;
    settle();
  }
  EXPECT_EQ(server.requestCount("/image/jpeg"), 4);
  for (const char* query : {"?v=1", "?v=2", "", "?v=1&w=2"}) {
    const Recorder recorder;
    manager->downloadImageWithURL(url(std::string("/image/jpeg") + query), recorder.image());
    EXPECT_EQ(recorder.snapshot().calls, 1) << query;
  }
  EXPECT_EQ(server.requestCount("/image/jpeg"), 4);
}

TEST_F(ZuDownloadManagerTest, BytesThatAreNoImageAndErrorPagesAreStoredAllTheSame) {
  for (const char* path : {"/image/corrupt", "/image/bmp"}) {
    const Recorder recorder;
    manager->downloadImageWithURL(url(path), recorder.image());
    const Completion fetched = recorder.wait();
    EXPECT_EQ(fetched.image, nullptr) << path;
    ASSERT_TRUE(fetched.data.has_value()) << path;
    EXPECT_EQ(fetched.error, nullptr) << path;
    EXPECT_TRUE(fetched.finished) << path;
    settle();
    const Recorder again;
    manager->downloadImageWithURL(url(path), again.image());
    const Completion cached = again.snapshot();
    ASSERT_EQ(cached.calls, 1) << path;
    EXPECT_EQ(cached.image, nullptr) << path;
    EXPECT_EQ(cached.data, fetched.data) << path;
    EXPECT_EQ(server.requestCount(path), 1) << path;
  }
  const auto page = ZuImageDiskCache::cache()->imageDataForKey(Value(server.URL("/image/bmp")));
  EXPECT_EQ(page, (zu::Data{'n', 'o', ' ', 's', 'u', 'c', 'h', ' ', 'i', 'm', 'a', 'g', 'e'}));
}

TEST_F(ZuDownloadManagerTest, FailedTransfersReportFinishedYesForImagesAndNoForVideos) {
  zukit::test::StderrCapture console;
  ZuLogger::configLogLevel(ZuLogLevelError);
  const std::string dead =
      "http://127.0.0.1:" + std::to_string(zukit::test::unusedLoopbackPort()) + "/image/png";
  const std::string imageLine =
      "  code：-1004 图片下载失败：Could not connect to the server. url：" + dead + "\n";
  const Recorder image(imageLine, dead);
  manager->downloadImageWithURL(zu::NSURL::URLWithString(Value(dead)), image.image());
  const Completion failedImage = image.wait();
  ASSERT_EQ(failedImage.calls, 1);
  EXPECT_EQ(failedImage.image, nullptr);
  EXPECT_FALSE(failedImage.data.has_value());
  ASSERT_NE(failedImage.error, nullptr);
  EXPECT_EQ(failedImage.error->domain(), zu::NSURLErrorDomain);
  EXPECT_EQ(failedImage.error->code(), zu::NSURLErrorCannotConnectToHost);
  EXPECT_TRUE(failedImage.finished);
  EXPECT_EQ(failedImage.logLinesDuringCallback, 0);
  settle();
  EXPECT_EQ(zukit::test::occurrences(zukit::test::logText(), imageLine), 1);
  EXPECT_FALSE(ZuImageDiskCache::cache()->containsImageDataForKey(Value(dead)));

  const std::string video = server.URL("/drop");
  const std::string videoLine =
      "  code：-1005 视频下载失败：The network connection was lost. url：" + video + "\n";
  const Recorder videoRecorder(videoLine, video);
  manager->downloadVideoWithURL(url("/drop"), videoRecorder.video());
  const Completion failedVideo = videoRecorder.wait();
  ASSERT_EQ(failedVideo.calls, 1);
  EXPECT_EQ(failedVideo.filePath, nullptr);
  ASSERT_NE(failedVideo.error, nullptr);
  EXPECT_EQ(failedVideo.error->code(), zu::NSURLErrorNetworkConnectionLost);
  EXPECT_FALSE(failedVideo.finished);
  EXPECT_EQ(failedVideo.logLinesDuringCallback, 0);
  EXPECT_FALSE(failedVideo.cachedDuringCallback);
  settle();
  EXPECT_EQ(zukit::test::occurrences(zukit::test::logText(), videoLine), 1);
  // The partial body's temporary file is gone.
  EXPECT_TRUE(zukit::test::entriesOf(temporaryDirectory).empty());

  // Both failures printed error banners naming the method.
  const std::string printed = console.text();
  EXPECT_EQ(
      zukit::test::occurrences(printed, "[ZuDownloadManager downloadImageWithURL:completion:]"), 1);
  EXPECT_EQ(
      zukit::test::occurrences(printed, "[ZuDownloadManager downloadVideoWithURL:completion:]"), 1);
  ZuLogger::configLogLevel(ZuLogLevelDebug);
}

TEST_F(ZuDownloadManagerTest, AbsentURLsGetTheManagersOwnErrorThenALogLine) {
  const std::string line = "  code:1000\ndescripton:Image url is nil\n\n";
  const int before = zukit::test::occurrences(zukit::test::logText(), line);
  const Recorder image(line);
  manager->downloadImageWithURL(nullptr, image.image());
  const Completion forImage = image.snapshot();
  ASSERT_EQ(forImage.calls, 1);
  EXPECT_EQ(forImage.image, nullptr);
  EXPECT_FALSE(forImage.data.has_value());
  ASSERT_NE(forImage.error, nullptr);
  EXPECT_EQ(forImage.error->domain(), ZuErrorDomain);
  EXPECT_EQ(forImage.error->domain(), "ZuErrorDomain");
  EXPECT_EQ(forImage.error->code(), 1000);
  EXPECT_EQ(forImage.error->userInfo(),
            (zu::Dictionary{{zu::NSLocalizedDescriptionKey, Value("Image url is nil")}}));
  EXPECT_TRUE(forImage.finished);
  EXPECT_EQ(zukit::test::occurrences(zukit::test::logText(), line), before + 1);

  const Recorder video(line);
  manager->downloadVideoWithURL(nullptr, video.video());
  const Completion forVideo = video.snapshot();
  ASSERT_EQ(forVideo.calls, 1);
  EXPECT_EQ(forVideo.filePath, nullptr);
  ASSERT_NE(forVideo.error, nullptr);
  EXPECT_EQ(forVideo.error->domain(), "ZuErrorDomain");
  EXPECT_EQ(forVideo.error->code(), 1000);
  EXPECT_EQ(forVideo.error->localizedDescription(), "Image url is nil");
  EXPECT_TRUE(forVideo.finished);
  // Each callback ran before its line was logged.
  EXPECT_EQ(forImage.logLinesDuringCallback, before);
  EXPECT_EQ(forVideo.logLinesDuringCallback, before + 1);
  EXPECT_EQ(zukit::test::occurrences(zukit::test::logText(), line), before + 2);

  // Without completions the lines are still logged.
  manager->downloadImageWithURL(nullptr, nullptr);
  manager->downloadVideoWithURL(nullptr, nullptr);
  EXPECT_EQ(zukit::test::occurrences(zukit::test::logText(), line), before + 4);
}

TEST_F(ZuDownloadManagerTest, AVideoIsStoredBeforeItsCallbackWhichNamesThePathInsideTheDirectory) {
  constexpr std::size_t kSize = 300000;
  const auto target = url("/video/mp4?size=300000");
  const std::string key = target->absoluteString();
  const Recorder recorder("", key);
  manager->downloadVideoWithURL(target, recorder.video());
  const Completion done = recorder.wait();
  ASSERT_EQ(done.calls, 1);
  EXPECT_EQ(done.error, nullptr);
  EXPECT_TRUE(done.finished);
  EXPECT_TRUE(done.cachedDuringCallback);
  EXPECT_FALSE(done.onMainThread);
  ASSERT_NE(done.filePath, nullptr);
  EXPECT_TRUE(done.filePath->isFileURL());
  EXPECT_EQ(done.filePath->absoluteString(),
            ZuVideoDiskCache::cache()->videoPathForKey(Value(key))->absoluteString());

  // The callback's URL lies inside the video directory, where nothing was written...
  const std::string directory = ZuVideoDiskCache::cache()->videoDirectory();
  const std::string named = done.filePath->path();
  ASSERT_EQ(named.rfind(directory + "/", 0), 0U) << named;
  EXPECT_FALSE(done.fileExistedDuringCallback);
  EXPECT_FALSE(std::filesystem::exists(named));
  // ...while the file went beside the directory, under the same entry (unless the entry's
  // base64 holds "/", which names a directory that does not exist, so the move fails).
  const std::string entryAndExtension = named.substr(directory.size() + 1);
  const std::string beside = directory + entryAndExtension;
  if (entryAndExtension.find('/') == std::string::npos) {
    ASSERT_TRUE(std::filesystem::exists(beside)) << beside;
    const std::string stored = zukit::test::readFile(beside);
    EXPECT_EQ(zu::Data(stored.begin(), stored.end()), zukit::loopback::videoPayload(kSize));
  } else {
    EXPECT_FALSE(std::filesystem::exists(beside));
  }
  settle();
  EXPECT_TRUE(zukit::test::entriesOf(temporaryDirectory).empty());

  // Again: from the cache, at once, the same URL, no request.
  const Recorder again;
  manager->downloadVideoWithURL(target, again.video());
  const Completion cached = again.snapshot();
  ASSERT_EQ(cached.calls, 1);
  ASSERT_NE(cached.filePath, nullptr);
  EXPECT_EQ(cached.filePath->absoluteString(), done.filePath->absoluteString());
  EXPECT_EQ(cached.error, nullptr);
  EXPECT_TRUE(cached.finished);
  EXPECT_EQ(server.requestCount("/video/mp4"), 1);
}

TEST_F(ZuDownloadManagerTest, FiftyDownloadsFromEightThreadsEachCompleteOnce) {
  constexpr int kThreads = 8;
  constexpr int kDownloads = 50;
  std::vector<Recorder> images(kDownloads);
  std::vector<Recorder> videos(kDownloads);
  std::atomic<int> next{0};
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (int n = next++; n < kDownloads; n = next++) {
        const std::string query = "?n=" + std::to_string(n);
        manager->downloadImageWithURL(url("/image/png" + query), images[n].image());
        manager->downloadVideoWithURL(url("/video/mp4?size=5000&n=" + std::to_string(n)),
                                      videos[n].video());
      }
    });
  }
  for (auto& thread : threads)
    thread.join();
  for (int n = 0; n < kDownloads; ++n) {
    const Completion image = images[n].wait();
    EXPECT_NE(image.image, nullptr) << n;
    EXPECT_EQ(image.error, nullptr) << n;
    const Completion video = videos[n].wait();
    EXPECT_NE(video.filePath, nullptr) << n;
    EXPECT_TRUE(video.finished) << n;
  }
  settle();
  for (int n = 0; n < kDownloads; ++n) {
    EXPECT_EQ(images[n].snapshot().calls, 1) << n;
    EXPECT_EQ(videos[n].snapshot().calls, 1) << n;
    EXPECT_TRUE(ZuImageDiskCache::cache()->containsImageDataForKey(
        Value(server.URL("/image/png?n=" + std::to_string(n)))));
  }
  EXPECT_EQ(server.requestCount("/image/png"), kDownloads);
  EXPECT_EQ(server.requestCount("/video/mp4"), kDownloads);
  EXPECT_TRUE(zukit::test::entriesOf(temporaryDirectory).empty());
}

}  // namespace
