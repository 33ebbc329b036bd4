#pragma once

#include <memory>
#include <string>

namespace zukit::loopback {

// A small HTTP/1.1 server on Asio, listening on a free port of 127.0.0.1, for the demo and the
// bench (which run without Python). It serves the routes of tests/fixtures/loopback_server.py
// that they use, with keep-alive connections:
//   /echo[/...]          any method: JSON of method, path, query, headers and body
//   /status/<code>       that status, body "status <code>"
//   /image/png|jpeg|gif  the sample images; /image/corrupt: bytes that are no image
//   /video/mp4?size=N    an MP4 file type box and the payload pattern, N bytes in all
//   /bytes?size=N        N bytes of the payload pattern
//   /slow?delay=S        answers "slow" after S seconds (default 2)
//   /drop, /drop/early   a connection closed mid-body, or before any answer
//   /redirect?to=P&code=C, /cacheable?max-age=N
//   /_counter?path=P, /_counter, /_counter/reset   the per-path request counter
class EmbeddedHttpServer {
 public:
  // Starts serving with `threads` threads (at least one). port() is 0 if it could not listen.
  explicit EmbeddedHttpServer(int threads = 1);
  // Stops serving and closes every connection.
  ~EmbeddedHttpServer();
  EmbeddedHttpServer(const EmbeddedHttpServer&) = delete;
  EmbeddedHttpServer& operator=(const EmbeddedHttpServer&) = delete;

  // The port listened on.
  int port() const;
  // "http://127.0.0.1:<port>".
  std::string baseURL() const;
  // The number of requests for `path` (without query) since the last reset.
  long requestCount(const std::string& path) const;
  // The number of counted requests for every path.
  long totalRequestCount() const;
  // Forgets every count.
  void resetCounters();

  struct State;

 private:
  std::shared_ptr<State> _state;
};

}  // namespace zukit::loopback
