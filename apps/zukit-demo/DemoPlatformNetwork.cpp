// The tour's look at the platform HTTP session that the network subsystem stands on: requests
// to the embedded loopback server, an HTTP error status, a transport error, a download's
// temporary file, and images decoded from the bytes.

#include <atomic>
#include <filesystem>
#include <mutex>
#include <string>

#include "apps/loopback/EmbeddedHttpServer.h"
#include "apps/zukit-demo/DemoSection.h"
#include "zukit/platform/dispatch/RunLoop.h"
#include "zukit/platform/network/NSHTTPURLResponse.h"
#include "zukit/platform/network/NSMutableURLRequest.h"
#include "zukit/platform/network/NSURLSession.h"
#include "zukit/platform/ui/UIImage.h"

namespace zukit::demo {

namespace {

struct Outcome {
  std::mutex mutex;
  std::atomic<bool> done{false};
  std::string line;
};

// Runs a data task and waits on the main loop; returns a one-line summary.
std::string summarise(const std::shared_ptr<zu::NSURLSession>& session,
                      const std::shared_ptr<zu::NSURLRequest>& request) {
  auto outcome = std::make_shared<Outcome>();
  session
      ->dataTaskWithRequest(
          request,
          [outcome](std::optional<zu::Data> data,
                    const std::shared_ptr<zu::NSURLResponse>& response,
                    const std::shared_ptr<zu::NSError>& error) {
            std::string line;
            if (error) {
              line = zu::format("error %@ %ld \"%@\"", error->domain(), error->code(),
                                error->localizedDescription());
            } else if (auto http = std::dynamic_pointer_cast<zu::NSHTTPURLResponse>(response)) {
              line = zu::format("status %ld, %@, %lu bytes%@", http->statusCode(), http->MIMEType(),
                                data ? data->size() : 0UL,
                                zu::RunLoop::isMainThread() ? "" : ", off the main thread");
            }
            const std::lock_guard<std::mutex> lock(outcome->mutex);
            outcome->line = line;
            outcome->done = true;
          })
      ->resume();
  if (!waitOnMainLoop([&] { return outcome->done.load(); })) return "no completion in time";
  const std::lock_guard<std::mutex> lock(outcome->mutex);
  return outcome->line;
}

void showSession(DemoContext& /*context*/) {
  const loopback::EmbeddedHttpServer server;
  if (server.port() == 0) {
    say("the embedded loopback server could not listen; skipped");
    return;
  }
  sayf("embedded loopback server at %@", server.baseURL());
  auto session = zu::NSURLSession::sessionWithConfiguration(
      zu::NSURLSessionConfiguration::defaultSessionConfiguration());

  auto post = zu::NSMutableURLRequest::requestWithURL(
      zu::NSURL::URLWithString(server.baseURL() + "/echo/demo?from=tour"));
  post->setHTTPMethod("POST");
  post->setValue("application/json", "Content-Type");
  const std::string body = R"({"hello" : "world"})";
  post->setHTTPBody(zu::Data(body.begin(), body.end()));
  sayf("POST /echo/demo: %@", summarise(session, post));
  sayf("GET /status/500 (a response, not an error): %@",
       summarise(session, zu::NSURLRequest::requestWithURL(
                              zu::NSURL::URLWithString(server.baseURL() + "/status/500"))));
  auto slow = zu::NSMutableURLRequest::requestWithURL(
      zu::NSURL::URLWithString(server.baseURL() + "/slow?delay=3"));
  slow->setTimeoutInterval(0.5);
  sayf("GET /slow with a 0.5 s timeout: %@", summarise(session, slow));
  sayf("a relative URL: %@",
       summarise(session, zu::NSURLRequest::requestWithURL(zu::NSURL::URLWithString("/echo"))));

  std::atomic<bool> done{false};
  std::string path;
  bool existed = false;
  std::size_t size = 0;
  session
      ->downloadTaskWithURL(
          zu::NSURL::URLWithString(server.baseURL() + "/video/mp4?size=100000"),
          [&](const std::shared_ptr<zu::NSURL>& location, const std::shared_ptr<zu::NSURLResponse>&,
              const std::shared_ptr<zu::NSError>&) {
            if (location) {
              path = location->path();
              std::error_code ignored;
              existed = std::filesystem::exists(path, ignored);
              size = std::filesystem::file_size(path, ignored);
            }
            done = true;
          })
      ->resume();
  waitOnMainLoop([&] { return done.load(); });
  waitOnMainLoop([&] { return !path.empty() && !std::filesystem::exists(path); });
  sayf("download: %@ held %lu bytes during the handler (%@), removed afterwards: %@",
       std::filesystem::path(path).filename().string(), size, existed ? "present" : "missing",
       std::filesystem::exists(path) ? "no" : "yes");

  for (const char* kind : {"png", "jpeg", "gif"}) {
    auto image = zu::UIImage::imageWithData([&] {
      std::atomic<bool> fetched{false};
      zu::Data bytes;
      session
          ->dataTaskWithURL(
              zu::NSURL::URLWithString(server.baseURL() + "/image/" + kind),
              [&](std::optional<zu::Data> data, const std::shared_ptr<zu::NSURLResponse>&,
                  const std::shared_ptr<zu::NSError>&) {
                if (data) bytes = std::move(*data);
                fetched = true;
              })
          ->resume();
      waitOnMainLoop([&] { return fetched.load(); });
      return bytes;
    }());
    if (image) {
      sayf("image/%@ decodes to %gx%g", kind, image->size().width, image->size().height);
    } else {
      sayf("image/%@ did not decode", kind);
    }
  }
  sayf("bytes that are no image decode to none: %@",
       zu::UIImage::imageWithData(zu::Data{'<', 'h', 't', 'm', 'l', '>'}) ? "no" : "yes");
  sayf("requests the server counted: %ld", server.totalRequestCount());
}

const DemoRegistration kSession(50, "Platform HTTP session (libcurl) and images", &showSession);

}  // namespace

}  // namespace zukit::demo
