// A host SDK's first steps with ZuKit: it logs, fetches a document from its server with the
// HTTP client, and keeps the bytes in the image disk cache.
//
//   host-sdk SERVER [PATH]     e.g. host-sdk http://127.0.0.1:8000 /hello.txt

#include <zukit/ZuKit.h>

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fputs("usage: host-sdk SERVER [PATH]\n", stderr);
    return 2;
  }
  const std::string server = argv[1];
  const std::string path = argc > 2 ? argv[2] : "/";

  // Everything but the per-request data lines also goes to the console.
  ZuLogger::configLogLevel(ZuLogLevelAll);
  ZuLogger::log(ZuLogLevelLog, "-[HostSDK start]", "ZuKit %@ for %@", ZuKitVersionNumber, server);

  // Requests go to the distribution server unless the app group's store says otherwise.
  const auto config = std::make_shared<ZuNetworkConfig>();
  config->setDistributionEnvironmentHostName(zu::Value(server));
  ZuNetwork::configEnvironment(config);

  // Completions arrive on the session's own queue; this program simply waits for one.
  const auto finished = zu::dispatch_semaphore_create(0);
  std::optional<zu::Data> body;
  ZuNetwork::network()->getRequestWithRelativeURLStr(
      zu::Value(path), zu::Value(),
      [&](const std::shared_ptr<zu::NSURLResponse>& /*response*/, const zu::Data& data) {
        body = data;
        finished->signal();
      },
      [&](const std::shared_ptr<zu::NSError>& error) {
        ZuLogger::log(ZuLogLevelError, "-[HostSDK fetch]", "fetch failed: %@", error);
        finished->signal();
      });
  finished->wait(
      zu::dispatch_time(zu::DISPATCH_TIME_NOW, static_cast<std::int64_t>(30 * zu::NSEC_PER_SEC)));
  if (!body) return 1;

  // Kept across launches, under the URL's text, until the cache's age limit passes.
  const zu::Value key(server + path);
  ZuImageDiskCache::cache()->setImageData(body, key);
  const std::optional<zu::Data> cached = ZuImageDiskCache::cache()->imageDataForKey(key);
  ZuLogger::log(ZuLogLevelLog, "-[HostSDK finish]", "cached %@ bytes under %@",
                cached ? cached->size() : 0, key);
  std::printf("fetched %zu bytes: %s\n", body->size(), cached == body ? "cached" : "not cached");
  return cached == body ? 0 : 1;
}
