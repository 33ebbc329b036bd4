#pragma once

#include <optional>
#include <string>

#include "tests/support/FixtureServerProcess.h"

namespace zukit::test {

// A real HTTP server on loopback for one test: tests/fixtures/loopback_server.py run by the
// system's python3 as a child process on a free port of 127.0.0.1 (see the script for its
// routes). Several may run at once. The server stops when this object is destroyed, and also
// when the test process dies (it watches its standard input).
class LoopbackServer {
 public:
  // Starts the server and waits (up to 20 seconds) until it prints its port.
  LoopbackServer();

  // True when the server started and has not been stopped.
  bool isRunning() const { return port() > 0; }
  // The port, or 0 when the server did not start.
  int port() const { return _process.port(); }
  // "http://127.0.0.1:<port>".
  std::string baseURL() const;
  // The base URL followed by `pathAndQuery` ("/echo?a=b").
  std::string URL(const std::string& pathAndQuery) const;
  // Requests the server counted for `path` (without query); -1 when it could not be asked.
  long requestCount(const std::string& path) const;
  // Requests the server counted for every path; -1 when it could not be asked.
  long totalRequestCount() const;
  // Forgets every count; false when the server could not be asked.
  bool resetCounters() const;
  // Stops the server and waits for it to exit.
  void stop();

 private:
  FixtureServerProcess _process;
};

// The body of a plain HTTP/1.0 GET of `target` on 127.0.0.1:`port`, made over a bare socket
// (no libcurl, no session), so that tests can ask the server things independently of the code
// under test; none on failure or a status other than 200.
std::optional<std::string> plainHTTPGet(int port, const std::string& target);

// A port of 127.0.0.1 that nothing listens on (bound, then released).
int unusedLoopbackPort();

}  // namespace zukit::test
