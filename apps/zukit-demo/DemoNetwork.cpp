// The tour's network section: the HTTP client switched between three servers by the "envType"
// value of the shared store, then images and a video through the download manager and the disk
// caches, and an image view loading its image. Every server is an embedded loopback server of
// this process: the tour needs no outside network.

#include <array>
#include <atomic>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>

#include "apps/loopback/EmbeddedHttpServer.h"
#include "apps/zukit-demo/DemoSection.h"
#include "zukit/network/UIImageView+ZuWebCache.h"
#include "zukit/network/ZuDownloadManager.h"
#include "zukit/network/ZuNetwork.h"
#include "zukit/network/ZuNetworkConfig.h"
#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/foundation/NSJSONSerialization.h"
#include "zukit/platform/network/NSHTTPURLResponse.h"
#include "zukit/storage/ZuUserShare.h"
#include "zukit/utils/ZuUtils.h"

namespace zukit::demo {

namespace {

// The app group that the demo's Info.plist declares under "ZuKitAppGroups".
constexpr const char* kGroup = "group.cn.com.quorvel.ZuKitDemo";

// One request's outcome as a line of the tour, filled in by whichever callback runs.
class Reply {
 public:
  ZuNetworkSuccessBlock success() {
    return
        [state = _state](const std::shared_ptr<zu::NSURLResponse>& response, const zu::Data& data) {
          const auto http = std::dynamic_pointer_cast<zu::NSHTTPURLResponse>(response);
          finish(*state,
                 zu::format("status %ld, %lu bytes", http ? http->statusCode() : 0L, data.size()),
                 data);
        };
  }
  ZuNetworkFailureBlock failure() {
    return [state = _state](const std::shared_ptr<zu::NSError>& error) {
      finish(*state,
             zu::format("failed: %@ %ld \"%@\"", error->domain(), error->code(),
                        error->localizedDescription()),
             {});
    };
  }
  // Waits on the main loop for the outcome.
  std::string wait() const {
    if (!waitOnMainLoop([this] { return _state->done.load(); })) return "no answer in time";
    const std::lock_guard<std::mutex> lock(_state->mutex);
    return _state->line;
  }
  // A member of the JSON that the echo route answered (`inner`: a member of that member).
  std::string echoed(const std::string& key, const std::string& inner = {}) const {
    const std::lock_guard<std::mutex> lock(_state->mutex);
    zu::Value value = zu::NSJSONSerialization::JSONObjectWithData(_state->data, 0);
    for (const std::string& name : {key, inner}) {
      if (name.empty()) break;
      value = value.isDictionary() ? value.asDictionary()->objectForKey(name) : zu::Value();
    }
    return value.isString() ? *value.asString() : value.description();
  }

 private:
  struct State {
    std::mutex mutex;
    std::string line;
    zu::Data data;
    std::atomic<bool> done{false};
  };
  static void finish(State& state, std::string line, zu::Data data) {
    const std::lock_guard<std::mutex> lock(state.mutex);
    state.line = std::move(line);
    state.data = std::move(data);
    state.done = true;
  }

  std::shared_ptr<State> _state = std::make_shared<State>();
};

void showEnvironments(DemoContext& /*context*/) {
  const loopback::EmbeddedHttpServer distribution;
  const loopback::EmbeddedHttpServer test;
  const loopback::EmbeddedHttpServer development;
  if (distribution.port() == 0 || test.port() == 0 || development.port() == 0) {
    say("the embedded loopback servers could not listen; skipped");
    return;
  }
  auto config = std::make_shared<ZuNetworkConfig>();
  config->setDistributionEnvironmentHostName(zu::Value(distribution.baseURL()));
  config->setTestEnvironmentHostName(zu::Value(test.baseURL()));
  config->setDevEnvironmentHostName(zu::Value(development.baseURL()));
  ZuNetwork::configEnvironment(config);
  const auto network = ZuNetwork::networkWithGroupIdentifier(zu::Value(kGroup));
  sayf("servers: distribution %@, test %@, development %@", distribution.baseURL(), test.baseURL(),
       development.baseURL());

  const zu::Value envType("envType");
  const zu::NSInteger before = ZuUtils::getEnvironmentWithGroupIdentifier(zu::Value(kGroup));
  const std::array<const char*, 3> names{"distribution", "test", "development"};
  for (zu::NSInteger environment = 0; environment < 3; ++environment) {
    ZuUserShare::share()->setInteger(environment, envType, zu::Value(kGroup));
    Reply reply;
    network->getRequestWithRelativeURLStr(zu::Value("/echo/hello"),
                                          zu::Dictionary{{"env", environment}}, reply.success(),
                                          reply.failure());
    const std::string line = reply.wait();
    sayf(
        "envType %ld (%@) -> GET /echo/hello?env=%ld: %@; counted by distribution %ld, "
        "test %ld, development %ld",
        environment, names.at(static_cast<std::size_t>(environment)), environment, line,
        distribution.requestCount("/echo/hello"), test.requestCount("/echo/hello"),
        development.requestCount("/echo/hello"));
  }

  ZuUserShare::share()->setInteger(1, envType, zu::Value(kGroup));
  Reply posted;
  network->postRequestWithRelativeURLStr(
      zu::Value("/echo/order"), zu::Dictionary{{"Content-Type", "text/plain"}},
      zu::Dictionary{{"item", "tea"}, {"count", 2}}, posted.success(), posted.failure());
  sayf("POST /echo/order to the test server: %@", posted.wait());
  sayf("  it went out with Content-Type %@ (the header dictionary said text/plain), body:\n%@",
       posted.echoed("headers", "Content-Type"), posted.echoed("body"));
  Reply failed;
  network->getRequestWithRelativeURLStr(zu::Value("/status/500"), zu::Value(), failed.success(),
                                        failed.failure());
  sayf("GET /status/500 reaches success: %@", failed.wait());
  Reply blanks;
  network->getRequestWithRelativeURLStr(zu::Value("/echo"), zu::Dictionary{{"q", "two words"}},
                                        blanks.success(), blanks.failure());
  sayf("GET with an unescaped blank in a parameter: %@", blanks.wait());
  Reply absolute;
  network->getRequestWithRelativeURLStr(zu::Value(distribution.baseURL() + "/echo/direct"),
                                        zu::Value(), absolute.success(), absolute.failure());
  const std::string direct = absolute.wait();
  sayf("an absolute URL skips the environment (envType is 1): %@, counted by distribution %ld",
       direct, distribution.requestCount("/echo/direct"));

  ZuUserShare::share()->setInteger(before, envType, zu::Value(kGroup));
  sayf("envType restored to %ld; each request was logged at level 10010", before);
}

void showDownloads(DemoContext& /*context*/) {
  const loopback::EmbeddedHttpServer server;
  if (server.port() == 0) {
    say("the embedded loopback server could not listen; skipped");
    return;
  }
  const auto manager = ZuDownloadManager::sharedManager();
  const auto imageURL = zu::NSURL::URLWithString(zu::Value(server.baseURL() + "/image/png"));
  for (const char* attempt : {"first", "second"}) {
    std::atomic<bool> done{false};
    std::string line;
    manager->downloadImageWithURL(imageURL, [&](const std::shared_ptr<zu::UIImage>& image,
                                                const std::optional<zu::Data>& data,
                                                const std::shared_ptr<zu::NSError>& error,
                                                bool finished) {
      line = error
                 ? zu::format("error %ld", error->code())
                 : zu::format("%gx%g image, %lu bytes, finished %@",
                              image ? image->size().width : 0.0, image ? image->size().height : 0.0,
                              data ? data->size() : 0UL, finished ? "YES" : "NO");
      done = true;
    });
    waitOnMainLoop([&] { return done.load(); });
    sayf("%@ image download: %@; the server has counted %ld request(s)", attempt, line,
         server.requestCount("/image/png"));
    // The image is stored after its callback: let the delivery queue finish before asking again.
    zu::dispatch_sync(manager->session()->delegateQueue(), [] {});
  }

  std::atomic<bool> fetched{false};
  std::string video;
  manager->downloadVideoWithURL(
      zu::NSURL::URLWithString(zu::Value(server.baseURL() + "/video/mp4?size=200000")),
      [&](const std::shared_ptr<zu::NSURL>& filePath, const std::shared_ptr<zu::NSError>& error,
          bool finished) {
        video = error ? zu::format("error %ld, finished %@", error->code(), finished ? "YES" : "NO")
                      : zu::format("stored before the callback; the cache names %@ (%@)",
                                   filePath->path(),
                                   std::filesystem::exists(filePath->path())
                                       ? "present"
                                       : "absent: the cache moves files beside its directory");
        fetched = true;
      });
  waitOnMainLoop([&] { return fetched.load(); });
  sayf("video download: %@", video);

  const auto view = std::make_shared<zu::UIImageView>();
  const auto gif = zu::NSURL::URLWithString(zu::Value(server.baseURL() + "/image/gif"));
  zu_setImageWithURL(view, gif);
  const bool shown = waitOnMainLoop([&] { return view->image() != nullptr; });
  sayf("image view: zu_imageURL %@, image %@", zu_imageURL(view)->absoluteString(),
       shown ? zu::format("%gx%g, set on the main thread", view->image()->size().width,
                          view->image()->size().height)
             : std::string("not set"));
  zu_setImageWithURL(view, nullptr);
  sayf("no URL: zu_imageURL cleared (%@), image kept (%@)", zu_imageURL(view) ? "no" : "yes",
       view->image() ? "yes" : "no");
}

const DemoRegistration kEnvironments(50, "HTTP client: three environments switched by envType",
                                     &showEnvironments);
const DemoRegistration kDownloads(51, "Download manager, disk caches and image views",
                                  &showDownloads);

}  // namespace

}  // namespace zukit::demo
