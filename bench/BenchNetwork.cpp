// The HTTP session beside raw libcurl: 1,000 GETs to the embedded loopback server, one at a time
// and sixteen at a time. The session adds its transfer thread, its delegate queue and the
// request and response objects; the baselines reuse one easy handle (one at a time) or run a
// multi handle directly (sixteen at a time).

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include "apps/loopback/EmbeddedHttpServer.h"
#include "bench/BenchSupport.h"
#include "zukit/platform/network/NSURLSession.h"

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

std::shared_ptr<zu::NSURLSession> benchSession() {
  auto configuration = zu::NSURLSessionConfiguration::defaultSessionConfiguration();
  configuration->setURLCache(nullptr);
  configuration->setHTTPMaximumConnectionsPerHost(kWide);
  return zu::NSURLSession::sessionWithConfiguration(configuration);
}

void NSURLSession_1000GETs_OneAtATime(benchmark::State& state) {
  auto session = benchSession();
  const auto request = zu::NSURLRequest::requestWithURL(zu::NSURL::URLWithString(targetURL()));
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

void RawCurl_1000GETs_OneAtATime(benchmark::State& state) {
  CURL* easy = curl_easy_init();
  const std::string url = targetURL();
  std::size_t bytes = 0;
  curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
  curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &discardBody);
  curl_easy_setopt(easy, CURLOPT_WRITEDATA, &bytes);
  while (state.KeepRunning()) {
    for (int i = 0; i < kRequests; ++i)
      curl_easy_perform(easy);
  }
  curl_easy_cleanup(easy);
  benchmark::DoNotOptimize(bytes);
  state.SetItemsProcessed(state.iterations() * kRequests);
}

void NSURLSession_1000GETs_SixteenAtATime(benchmark::State& state) {
  auto session = benchSession();
  const auto request = zu::NSURLRequest::requestWithURL(zu::NSURL::URLWithString(targetURL()));
  std::atomic<std::size_t> bytes{0};
  while (state.KeepRunning()) {
    Countdown done(kRequests);
    std::atomic<int> started{0};
    // Each completion starts the next request, so sixteen stay in flight.
    std::function<void()> startOne = [&] {
      if (started.fetch_add(1) >= kRequests) return;
      session
          ->dataTaskWithRequest(
              request,
              [&](std::optional<zu::Data> data, const std::shared_ptr<zu::NSURLResponse>&,
                  const std::shared_ptr<zu::NSError>&) {
                if (data) bytes += data->size();
                startOne();
                done.arrive();
              })
          ->resume();
    };
    for (int i = 0; i < kWide; ++i)
      startOne();
    done.wait();
  }
  benchmark::DoNotOptimize(bytes.load());
  state.SetItemsProcessed(state.iterations() * kRequests);
}

void RawCurl_1000GETs_SixteenAtATime(benchmark::State& state) {
  CURLM* multi = curl_multi_init();
  curl_multi_setopt(multi, CURLMOPT_MAX_HOST_CONNECTIONS, static_cast<long>(kWide));
  const std::string url = targetURL();
  std::size_t bytes = 0;
  std::vector<CURL*> handles;
  for (int i = 0; i < kWide; ++i) {
    CURL* easy = curl_easy_init();
    curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &discardBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &bytes);
    handles.push_back(easy);
  }
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

BENCHMARK(NSURLSession_1000GETs_OneAtATime)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(RawCurl_1000GETs_OneAtATime)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(NSURLSession_1000GETs_SixteenAtATime)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(RawCurl_1000GETs_SixteenAtATime)->Unit(benchmark::kMillisecond)->UseRealTime();

const zukit::bench::RatioRegistration kOneAtATime("NSURLSession_1000GETs_OneAtATime/real_time",
                                                  "RawCurl_1000GETs_OneAtATime/real_time", 1.1);
const zukit::bench::RatioRegistration kSixteenAtATime(
    "NSURLSession_1000GETs_SixteenAtATime/real_time", "RawCurl_1000GETs_SixteenAtATime/real_time",
    1.1);

}  // namespace
