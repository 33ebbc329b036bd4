// The HTTP client beside raw libcurl: 1,000 GETs to the embedded loopback server, one at a time
// and sixteen at a time, through ZuNetwork, through the platform session it stands on, and
// through libcurl directly. The session adds its transfer thread, its delegate queue and the
// request and response objects; ZuNetwork adds, per request, the environment read from the
// shared store, the URL joined and parsed, the request built and one log line. ZuNetwork is
// compared with its own session (the platform's default configuration: six connections per
// host and the shared URL cache) sent the request it would build; the session is compared with
// libcurl in a session configured as libcurl is run (sixteen connections, no cache). The direct
// baselines reuse one easy handle (one at a time) or run a multi handle (sixteen at a time) on
// the benchmark's own thread; the hand-off baselines run the same libcurl calls on a worker
// thread and hand each completion to the waiting thread through a condition variable, which is
// the least any asynchronous client pays. Then the download manager's image download when the
// image cache holds the URL, beside one that goes to the server.

#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): setenv

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include "apps/loopback/EmbeddedHttpServer.h"
#include "bench/BenchSupport.h"
#include "zukit/network/ZuDownloadManager.h"
#include "zukit/network/ZuNetwork.h"
#include "zukit/network/ZuNetworkConfig.h"
#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/network/NSMutableURLRequest.h"
#include "zukit/platform/network/NSURLSession.h"
#include "zukit/storage/ZuImageDiskCache.h"
#include "zukit/storage/ZuUserShare.h"

namespace {

constexpr int kRequests = 1000;
constexpr int kWide = 16;
constexpr const char* kPath = "/bytes?size=512";

zukit::loopback::EmbeddedHttpServer& server() {
  static zukit::loopback::EmbeddedHttpServer instance(2);
  return instance;
}

std::string targetURL() {
  return server().baseURL() + kPath;
}

std::size_t discardBody(char* /*data*/, std::size_t size, std::size_t count, void* received) {
  *static_cast<std::size_t*>(received) += size * count;
  return size * count;
}

// Counts finished requests and wakes the benchmark thread when the last one is in.
class Countdown {
 public:
  explicit Countdown(int count) : _left(count) {}
  void arrive() {
    const std::lock_guard<std::mutex> lock(_mutex);
    if (--_left == 0) _done.notify_all();
  }
  void wait() {
    std::unique_lock<std::mutex> lock(_mutex);
    _done.wait(lock, [this] { return _left <= 0; });
  }

 private:
  std::mutex _mutex;
  std::condition_variable _done;
  int _left;
};

// Runs kRequests requests, `wide` of them in flight: `start(finished)` starts one request and
// calls `finished` when it completes, which starts the next one.
void runKeepingInFlight(int wide, const std::function<void(const std::function<void()>&)>& start) {
  Countdown done(kRequests);
  std::atomic<int> started{0};
  std::function<void()> startOne;
  const std::function<void()> finished = [&] {
    startOne();
    done.arrive();
  };
  startOne = [&] {
    if (started.fetch_add(1) < kRequests) start(finished);
  };
  for (int i = 0; i < wide; ++i)
    startOne();
  done.wait();
}

std::shared_ptr<zu::NSURLSession> benchSession() {
  auto configuration = zu::NSURLSessionConfiguration::defaultSessionConfiguration();
  configuration->setURLCache(nullptr);
  configuration->setHTTPMaximumConnectionsPerHost(kWide);
  return zu::NSURLSession::sessionWithConfiguration(configuration);
}

// A thousand GETs of `request` through `session`, each waited for before the next.
void getOneAtATime(benchmark::State& state, const std::shared_ptr<zu::NSURLSession>& session,
                   const std::shared_ptr<zu::NSURLRequest>& request) {
  std::size_t bytes = 0;
  while (state.KeepRunning()) {
    for (int i = 0; i < kRequests; ++i) {
      Countdown done(1);
      session
          ->dataTaskWithRequest(
              request,
              [&](std::optional<zu::Data> data, const std::shared_ptr<zu::NSURLResponse>&,
                  const std::shared_ptr<zu::NSError>&) {
                if (data) bytes += data->size();
                done.arrive();
              })
          ->resume();
      done.wait();
    }
  }
  benchmark::DoNotOptimize(bytes);
  state.SetItemsProcessed(state.iterations() * kRequests);
}

// A thousand GETs of `request` through `session`, sixteen in flight at a time.
void getSixteenAtATime(benchmark::State& state, const std::shared_ptr<zu::NSURLSession>& session,
                       const std::shared_ptr<zu::NSURLRequest>& request) {
  std::atomic<std::size_t> bytes{0};
  while (state.KeepRunning()) {
    runKeepingInFlight(kWide, [&](const std::function<void()>& finished) {
      session
          ->dataTaskWithRequest(request,
                                [&bytes, finished](std::optional<zu::Data> data,
                                                   const std::shared_ptr<zu::NSURLResponse>&,
                                                   const std::shared_ptr<zu::NSError>&) {
                                  if (data) bytes += data->size();
                                  finished();
                                })
          ->resume();
    });
  }
  benchmark::DoNotOptimize(bytes.load());
  state.SetItemsProcessed(state.iterations() * kRequests);
}

void NSURLSession_1000GETs_OneAtATime(benchmark::State& state) {
  getOneAtATime(state, benchSession(),
                zu::NSURLRequest::requestWithURL(zu::NSURL::URLWithString(targetURL())));
}

// An easy handle that GETs `url` and adds the body's length to `*bytes`.
CURL* newEasyHandle(const std::string& url, std::size_t* bytes) {
  CURL* easy = curl_easy_init();
  curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
  curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &discardBody);
  curl_easy_setopt(easy, CURLOPT_WRITEDATA, bytes);
  return easy;
}

void RawCurl_1000GETs_OneAtATime(benchmark::State& state) {
  const std::string url = targetURL();
  std::size_t bytes = 0;
  CURL* easy = newEasyHandle(url, &bytes);
  while (state.KeepRunning()) {
    for (int i = 0; i < kRequests; ++i)
      curl_easy_perform(easy);
  }
  curl_easy_cleanup(easy);
  benchmark::DoNotOptimize(bytes);
  state.SetItemsProcessed(state.iterations() * kRequests);
}

void NSURLSession_1000GETs_SixteenAtATime(benchmark::State& state) {
  getSixteenAtATime(state, benchSession(),
                    zu::NSURLRequest::requestWithURL(zu::NSURL::URLWithString(targetURL())));
}

void RawCurl_1000GETs_SixteenAtATime(benchmark::State& state) {
  CURLM* multi = curl_multi_init();
  curl_multi_setopt(multi, CURLMOPT_MAX_HOST_CONNECTIONS, static_cast<long>(kWide));
  const std::string url = targetURL();
  std::size_t bytes = 0;
  std::vector<CURL*> handles;
  handles.reserve(kWide);
  for (int i = 0; i < kWide; ++i)
    handles.push_back(newEasyHandle(url, &bytes));
  while (state.KeepRunning()) {
    int started = 0;
    int finished = 0;
    for (CURL* easy : handles) {
      curl_multi_add_handle(multi, easy);
      ++started;
    }
    while (finished < kRequests) {
      int running = 0;
      curl_multi_perform(multi, &running);
      int left = 0;
      while (CURLMsg* message = curl_multi_info_read(multi, &left)) {
        if (message->msg != CURLMSG_DONE) continue;
        CURL* easy = message->easy_handle;
        curl_multi_remove_handle(multi, easy);
        ++finished;
        if (started < kRequests) {
          curl_multi_add_handle(multi, easy);
          ++started;
        }
      }
      if (finished < kRequests) curl_multi_poll(multi, nullptr, 0, 1000, nullptr);
    }
  }
  for (CURL* easy : handles)
    curl_easy_cleanup(easy);
  curl_multi_cleanup(multi);
  benchmark::DoNotOptimize(bytes);
  state.SetItemsProcessed(state.iterations() * kRequests);
}

// --- ZuNetwork: the same GETs as a relative URL of the distribution environment ---

// The app group whose shared store holds "envType". Declared before main() starts any thread,
// since the declaration is an environment variable read at every lookup.
constexpr const char* kGroup = "group.cn.com.quorvel.ZuKitBench";
const bool kGroupDeclared = [] {
  setenv("ZUKIT_APP_GROUPS", kGroup, 1);  // NOLINT(concurrency-mt-unsafe,cert-err33-c)
  return true;
}();

// A ZuNetwork of the benchmark's group whose distribution host is the loopback server, with
// "envType" 0 stored, so every request reads the shared store as an app's requests do.
std::shared_ptr<ZuNetwork> benchNetwork() {
  benchmark::DoNotOptimize(kGroupDeclared);
  ZuUserShare::share()->setInteger(0, zu::Value("envType"), zu::Value(kGroup));
  auto config = std::make_shared<ZuNetworkConfig>();
  config->setDistributionEnvironmentHostName(zu::Value(server().baseURL()));
  auto network = std::make_shared<ZuNetwork>(zu::Value(kGroup));
  network->setConfig(config);
  return network;
}

const zu::Value& benchParameters() {
  static const zu::Value parameters(zu::Dictionary{{"size", 512}});
  return parameters;
}

void ZuNetwork_1000GETs_OneAtATime(benchmark::State& state) {
  const auto network = benchNetwork();
  std::size_t bytes = 0;
  int failures = 0;
  while (state.KeepRunning()) {
    for (int i = 0; i < kRequests; ++i) {
      Countdown done(1);
      network->getRequestWithRelativeURLStr(
          zu::Value("/bytes"), benchParameters(),
          [&](const std::shared_ptr<zu::NSURLResponse>&, const zu::Data& data) {
            bytes += data.size();
            done.arrive();
          },
          [&](const std::shared_ptr<zu::NSError>&) {
            ++failures;
            done.arrive();
          });
      done.wait();
    }
  }
  if (failures > 0) state.SkipWithError("requests failed");
  benchmark::DoNotOptimize(bytes);
  state.SetItemsProcessed(state.iterations() * kRequests);
}

void ZuNetwork_1000GETs_SixteenAtATime(benchmark::State& state) {
  const auto network = benchNetwork();
  std::atomic<std::size_t> bytes{0};
  std::atomic<int> failures{0};
  while (state.KeepRunning()) {
    runKeepingInFlight(kWide, [&](const std::function<void()>& finished) {
      network->getRequestWithRelativeURLStr(
          zu::Value("/bytes"), benchParameters(),
          [&bytes, finished](const std::shared_ptr<zu::NSURLResponse>&, const zu::Data& data) {
            bytes += data.size();
            finished();
          },
          [&failures, finished](const std::shared_ptr<zu::NSError>&) {
            ++failures;
            finished();
          });
    });
  }
  if (failures > 0) state.SkipWithError("requests failed");
  benchmark::DoNotOptimize(bytes.load());
  state.SetItemsProcessed(state.iterations() * kRequests);
}

// --- ZuNetwork's own session, sent the request ZuNetwork builds, without ZuNetwork ---

// The request ZuNetwork makes for a GET of the benchmark's URL.
std::shared_ptr<zu::NSURLRequest> zuNetworkRequest() {
  auto request = zu::NSMutableURLRequest::requestWithURL(
      zu::NSURL::URLWithString(targetURL()), zu::NSURLRequestReloadIgnoringLocalCacheData, 60);
  request->setHTTPMethod("GET");
  request->setValue("application/json", "Content-Type");
  return request;
}

void ZuNetworkSession_1000GETs_OneAtATime(benchmark::State& state) {
  getOneAtATime(state, benchNetwork()->session(), zuNetworkRequest());
}

void ZuNetworkSession_1000GETs_SixteenAtATime(benchmark::State& state) {
  getSixteenAtATime(state, benchNetwork()->session(), zuNetworkRequest());
}

// --- Raw libcurl on a worker thread, each completion handed back through a condition variable ---

// A worker thread that runs libcurl transfers of one URL and reports each finished transfer to
// the thread that waits for it.
class CurlWorker {
 public:
  explicit CurlWorker(int wide) : _multi(curl_multi_init()) {
    curl_multi_setopt(_multi, CURLMOPT_MAX_HOST_CONNECTIONS, static_cast<long>(wide));
    const std::string url = targetURL();
    for (int i = 0; i < wide; ++i) {
      _idle.push_back(newEasyHandle(url, &_bytes));
    }
    _thread = std::thread([this] { run(); });
  }
  ~CurlWorker() {
    {
      const std::lock_guard<std::mutex> lock(_mutex);
      _stopping = true;
    }
    curl_multi_wakeup(_multi);
    _thread.join();
    for (CURL* easy : _idle)
      curl_easy_cleanup(easy);
    curl_multi_cleanup(_multi);
  }
  CurlWorker(const CurlWorker&) = delete;
  CurlWorker& operator=(const CurlWorker&) = delete;

  // Asks the worker to start one more transfer.
  void start() {
    {
      const std::lock_guard<std::mutex> lock(_mutex);
      ++_requested;
    }
    curl_multi_wakeup(_multi);
  }
  // Waits until a transfer has finished and takes it.
  void awaitCompletion() {
    std::unique_lock<std::mutex> lock(_mutex);
    _completed.wait(lock, [this] { return _finished > 0; });
    --_finished;
  }

 private:
  void run() {
    for (;;) {
      int toStart = 0;
      {
        const std::lock_guard<std::mutex> lock(_mutex);
        if (_stopping) return;
        toStart = std::min(_requested, static_cast<int>(_idle.size()));
        _requested -= toStart;
      }
      for (int i = 0; i < toStart; ++i) {
        curl_multi_add_handle(_multi, _idle.back());
        _idle.pop_back();
      }
      int running = 0;
      curl_multi_perform(_multi, &running);
      int left = 0;
      int finished = 0;
      while (CURLMsg* message = curl_multi_info_read(_multi, &left)) {
        if (message->msg != CURLMSG_DONE) continue;
        curl_multi_remove_handle(_multi, message->easy_handle);
        _idle.push_back(message->easy_handle);
        ++finished;
      }
      if (finished > 0) {
        {
          const std::lock_guard<std::mutex> lock(_mutex);
          _finished += finished;
        }
        _completed.notify_one();
      }
      curl_multi_poll(_multi, nullptr, 0, 1000, nullptr);
    }
  }

  CURLM* const _multi;
  std::vector<CURL*> _idle;  // touched by the worker only, once it runs
  std::size_t _bytes = 0;
  std::mutex _mutex;
  std::condition_variable _completed;
  int _requested = 0;
  int _finished = 0;
  bool _stopping = false;
  std::thread _thread;
};

void RawCurlHandOff_1000GETs_OneAtATime(benchmark::State& state) {
  CurlWorker worker(1);
  while (state.KeepRunning()) {
    for (int i = 0; i < kRequests; ++i) {
      worker.start();
      worker.awaitCompletion();
    }
  }
  state.SetItemsProcessed(state.iterations() * kRequests);
}

void RawCurlHandOff_1000GETs_SixteenAtATime(benchmark::State& state) {
  CurlWorker worker(kWide);
  while (state.KeepRunning()) {
    // The waiting thread takes each completion and starts the next request, so sixteen stay in
    // flight.
    for (int i = 0; i < kWide; ++i)
      worker.start();
    for (int finished = 0; finished < kRequests; ++finished) {
      worker.awaitCompletion();
      if (finished + kWide < kRequests) worker.start();
    }
  }
  state.SetItemsProcessed(state.iterations() * kRequests);
}

// --- Image downloads: answered by the image cache, or fetched from the server ---

void ZuDownloadManager_ImageCacheHit(benchmark::State& state) {
  const auto manager = ZuDownloadManager::sharedManager();
  // The cache benchmarks leave a thousand entries behind; a lookup walks them all.
  ZuImageDiskCache::cache()->removeAllCaches();
  const auto url = zu::NSURL::URLWithString(zu::Value(server().baseURL() + "/image/png?hit"));
  Countdown primed(1);
  manager->downloadImageWithURL(
      url, [&](const std::shared_ptr<zu::UIImage>&, const std::optional<zu::Data>&,
               const std::shared_ptr<zu::NSError>&, bool) { primed.arrive(); });
  primed.wait();
  // The bytes are stored after the callback, on the delivery queue.
  zu::dispatch_sync(manager->session()->delegateQueue(), [] {});
  const long requests = server().requestCount("/image/png");
  std::size_t images = 0;
  for (auto _ : state) {
    manager->downloadImageWithURL(
        url, [&](const std::shared_ptr<zu::UIImage>& image, const std::optional<zu::Data>&,
                 const std::shared_ptr<zu::NSError>&, bool) { images += image ? 1 : 0; });
  }
  if (server().requestCount("/image/png") != requests) state.SkipWithError("the cache missed");
  if (images != static_cast<std::size_t>(state.iterations())) state.SkipWithError("no image");
}

void ZuDownloadManager_ImageCacheMiss(benchmark::State& state) {
  const auto manager = ZuDownloadManager::sharedManager();
  const auto cache = ZuImageDiskCache::cache();
  cache->removeAllCaches();
  const auto url = zu::NSURL::URLWithString(zu::Value(server().baseURL() + "/image/png?miss"));
  const long requests = server().requestCount("/image/png");
  std::size_t images = 0;
  for (auto _ : state) {
    Countdown done(1);
    manager->downloadImageWithURL(
        url, [&](const std::shared_ptr<zu::UIImage>& image, const std::optional<zu::Data>&,
                 const std::shared_ptr<zu::NSError>&, bool) {
          images += image ? 1 : 0;
          done.arrive();
        });
    done.wait();
    // Outside the measure: the store that follows the callback, and emptying the cache again.
    state.PauseTiming();
    zu::dispatch_sync(manager->session()->delegateQueue(), [] {});
    cache->removeAllCaches();
    state.ResumeTiming();
  }
  if (server().requestCount("/image/png") - requests != state.iterations()) {
    state.SkipWithError("a download was answered without the server");
  }
  if (images != static_cast<std::size_t>(state.iterations())) state.SkipWithError("no image");
}

// Network runs are noisy: five repetitions each, compared by their medians.
void repeated(benchmark::internal::Benchmark* benchmark) {
  benchmark->Repetitions(5)->ReportAggregatesOnly(true);
}
void networkRuns(benchmark::internal::Benchmark* benchmark) {
  repeated(benchmark->Unit(benchmark::kMillisecond)->UseRealTime());
}

BENCHMARK(ZuNetwork_1000GETs_OneAtATime)->Apply(&networkRuns);
BENCHMARK(ZuNetworkSession_1000GETs_OneAtATime)->Apply(&networkRuns);
BENCHMARK(NSURLSession_1000GETs_OneAtATime)->Apply(&networkRuns);
BENCHMARK(RawCurl_1000GETs_OneAtATime)->Apply(&networkRuns);
BENCHMARK(RawCurlHandOff_1000GETs_OneAtATime)->Apply(&networkRuns);
BENCHMARK(ZuNetwork_1000GETs_SixteenAtATime)->Apply(&networkRuns);
BENCHMARK(ZuNetworkSession_1000GETs_SixteenAtATime)->Apply(&networkRuns);
BENCHMARK(NSURLSession_1000GETs_SixteenAtATime)->Apply(&networkRuns);
BENCHMARK(RawCurl_1000GETs_SixteenAtATime)->Apply(&networkRuns);
BENCHMARK(RawCurlHandOff_1000GETs_SixteenAtATime)->Apply(&networkRuns);
BENCHMARK(ZuDownloadManager_ImageCacheHit)->Unit(benchmark::kMicrosecond)->Apply(&repeated);
BENCHMARK(ZuDownloadManager_ImageCacheMiss)->Unit(benchmark::kMicrosecond)->Apply(&repeated);

using zukit::bench::RatioRegistration;

// The goals: ZuNetwork within 1.25x of its own session, and a session within 1.25x of libcurl.
const RatioRegistration kZuOverSessionOne(
    "ZuNetwork_1000GETs_OneAtATime/repeats:5/real_time",
    "ZuNetworkSession_1000GETs_OneAtATime/repeats:5/real_time", 1.25);
const RatioRegistration kZuOverSessionSixteen(
    "ZuNetwork_1000GETs_SixteenAtATime/repeats:5/real_time",
    "ZuNetworkSession_1000GETs_SixteenAtATime/repeats:5/real_time", 1.25);
const RatioRegistration kSessionOne("NSURLSession_1000GETs_OneAtATime/repeats:5/real_time",
                                    "RawCurl_1000GETs_OneAtATime/repeats:5/real_time", 1.25);
const RatioRegistration kSessionSixteen("NSURLSession_1000GETs_SixteenAtATime/repeats:5/real_time",
                                        "RawCurl_1000GETs_SixteenAtATime/repeats:5/real_time",
                                        1.25);
// Where the rest goes: ZuNetwork over libcurl; the default configuration (six connections per
// host, the URL cache) over one like libcurl's; the session over the hand-off; the hand-off over
// direct libcurl.
const RatioRegistration kZuOne("ZuNetwork_1000GETs_OneAtATime/repeats:5/real_time",
                               "RawCurl_1000GETs_OneAtATime/repeats:5/real_time");
const RatioRegistration kZuSixteen("ZuNetwork_1000GETs_SixteenAtATime/repeats:5/real_time",
                                   "RawCurl_1000GETs_SixteenAtATime/repeats:5/real_time");
const RatioRegistration kDefaultsOne("ZuNetworkSession_1000GETs_OneAtATime/repeats:5/real_time",
                                     "NSURLSession_1000GETs_OneAtATime/repeats:5/real_time");
const RatioRegistration kDefaultsSixteen(
    "ZuNetworkSession_1000GETs_SixteenAtATime/repeats:5/real_time",
    "NSURLSession_1000GETs_SixteenAtATime/repeats:5/real_time");
const RatioRegistration kSessionOverHandOffOne(
    "NSURLSession_1000GETs_OneAtATime/repeats:5/real_time",
    "RawCurlHandOff_1000GETs_OneAtATime/repeats:5/real_time");
const RatioRegistration kSessionOverHandOffSixteen(
    "NSURLSession_1000GETs_SixteenAtATime/repeats:5/real_time",
    "RawCurlHandOff_1000GETs_SixteenAtATime/repeats:5/real_time");
const RatioRegistration kHandOffOne("RawCurlHandOff_1000GETs_OneAtATime/repeats:5/real_time",
                                    "RawCurl_1000GETs_OneAtATime/repeats:5/real_time");
const RatioRegistration kHandOffSixteen(
    "RawCurlHandOff_1000GETs_SixteenAtATime/repeats:5/real_time",
    "RawCurl_1000GETs_SixteenAtATime/repeats:5/real_time");
const RatioRegistration kImageMiss("ZuDownloadManager_ImageCacheMiss/repeats:5",
                                   "ZuDownloadManager_ImageCacheHit/repeats:5");

}  // namespace
