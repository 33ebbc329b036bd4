#include "tests/support/LoopbackServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "zukit/platform/foundation/NSJSONSerialization.h"
#include "zukit/platform/foundation/NSURL.h"

namespace zukit::test {

namespace {

zu::Value counterQuery(int port, const std::string& target) {
  const std::optional<std::string> body = plainHTTPGet(port, target);
  if (!body) return {};
  return zu::NSJSONSerialization::JSONObjectWithData(zu::Data(body->begin(), body->end()), 0);
}

}  // namespace

LoopbackServer::LoopbackServer()
    : _process({std::string(ZUKIT_FIXTURES_DIR) + "/loopback_server.py"}) {}

void LoopbackServer::stop() {
  _process.stop();
}

std::string LoopbackServer::baseURL() const {
  return "http://127.0.0.1:" + std::to_string(port());
}

std::string LoopbackServer::URL(const std::string& pathAndQuery) const {
  return baseURL() + pathAndQuery;
}

long LoopbackServer::requestCount(const std::string& path) const {
  const zu::Value answer =
      counterQuery(port(), "/_counter?path=" + zu::percentEncode(path, "/-_.~"));
  const zu::Dictionary* object = answer.asDictionary();
  if (object == nullptr || object->find("count") == nullptr) return -1;
  return static_cast<long>(object->find("count")->integerValue());
}

long LoopbackServer::totalRequestCount() const {
  const zu::Value answer = counterQuery(port(), "/_counter");
  const zu::Dictionary* object = answer.asDictionary();
  if (object == nullptr || object->find("total") == nullptr) return -1;
  return static_cast<long>(object->find("total")->integerValue());
}

bool LoopbackServer::resetCounters() const {
  return counterQuery(port(), "/_counter/reset").isDictionary();
}

std::optional<std::string> plainHTTPGet(int port, const std::string& target) {
  if (port <= 0) return std::nullopt;
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return std::nullopt;
  timeval timeout{10, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
  setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  std::string reply;
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
    const std::string request = "GET " + target + " HTTP/1.0\r\nHost: 127.0.0.1\r\n\r\n";
    if (send(fd, request.data(), request.size(), MSG_NOSIGNAL) ==
        static_cast<ssize_t>(request.size())) {
      char buffer[4096];
      while (true) {
        const ssize_t got = recv(fd, buffer, sizeof buffer, 0);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        reply.append(buffer, static_cast<std::size_t>(got));
      }
    }
  }
  close(fd);
  const std::size_t split = reply.find("\r\n\r\n");
  if (split == std::string::npos || reply.compare(0, 12, "HTTP/1.1 200") != 0) return std::nullopt;
  return reply.substr(split + 4);
}

int unusedLoopbackPort() {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return 0;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = 0;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  int port = 0;
  socklen_t length = sizeof address;
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
      getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
    port = ntohs(address.sin_port);
  }
  close(fd);
  return port;
}

}  // namespace zukit::test
