#include "tests/support/LoopbackServer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <vector>

#include "zukit/platform/foundation/NSJSONSerialization.h"
#include "zukit/platform/foundation/NSURL.h"

extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace zukit::test {

namespace {

constexpr auto kStartTimeout = std::chrono::seconds(20);

// Reads one line from `fd`, waiting until `deadline`; none on time-out or end of file.
std::optional<std::string> readLine(int fd, std::chrono::steady_clock::time_point deadline) {
  std::string line;
  while (true) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) return std::nullopt;
    pollfd descriptor{fd, POLLIN, 0};
    const int ready = poll(&descriptor, 1, static_cast<int>(left.count()));
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) continue;
    char c = 0;
    const ssize_t got = read(fd, &c, 1);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return std::nullopt;
    if (c == '\n') return line;
    line += c;
  }
}

zu::Value counterQuery(int port, const std::string& target) {
  const std::optional<std::string> body = plainHTTPGet(port, target);
  if (!body) return {};
  return zu::NSJSONSerialization::JSONObjectWithData(zu::Data(body->begin(), body->end()), 0);
}

}  // namespace

LoopbackServer::LoopbackServer() {
  std::array<int, 2> input{};
  std::array<int, 2> output{};
  if (pipe2(input.data(), O_CLOEXEC) != 0) return;
  if (pipe2(output.data(), O_CLOEXEC) != 0) {
    close(input[0]);
    close(input[1]);
    return;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
  std::string python = ZUKIT_PYTHON3;
  std::string script = std::string(ZUKIT_FIXTURES_DIR) + "/loopback_server.py";
  std::vector<char*> argv{python.data(), script.data(), nullptr};
  const int spawned = posix_spawn(&_pid, python.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(input[0]);
  close(output[1]);
  _input = input[1];
  _output = output[0];
  if (spawned != 0) {
    _pid = -1;
    stop();
    return;
  }
  const std::optional<std::string> line =
      readLine(_output, std::chrono::steady_clock::now() + kStartTimeout);
  try {
    _port = line ? std::stoi(*line) : 0;
  } catch (const std::exception&) {
    _port = 0;
  }
  if (_port <= 0) stop();
}

LoopbackServer::~LoopbackServer() {
  stop();
}

void LoopbackServer::stop() {
  if (_input >= 0) close(_input);  // the server's cue to end
  _input = -1;
  if (_pid > 0) {
    kill(_pid, SIGTERM);
    int status = 0;
    while (waitpid(_pid, &status, 0) < 0 && errno == EINTR) {
    }
  }
  _pid = -1;
  if (_output >= 0) close(_output);
  _output = -1;
  _port = 0;
}

std::string LoopbackServer::baseURL() const {
  return "http://127.0.0.1:" + std::to_string(_port);
}

std::string LoopbackServer::URL(const std::string& pathAndQuery) const {
  return baseURL() + pathAndQuery;
}

long LoopbackServer::requestCount(const std::string& path) const {
  const zu::Value answer =
      counterQuery(_port, "/_counter?path=" + zu::percentEncode(path, "/-_.~"));
  const zu::Dictionary* object = answer.asDictionary();
  if (object == nullptr || object->find("count") == nullptr) return -1;
  return static_cast<long>(object->find("count")->integerValue());
}

long LoopbackServer::totalRequestCount() const {
  const zu::Value answer = counterQuery(_port, "/_counter");
  const zu::Dictionary* object = answer.asDictionary();
  if (object == nullptr || object->find("total") == nullptr) return -1;
  return static_cast<long>(object->find("total")->integerValue());
}

bool LoopbackServer::resetCounters() const {
  return counterQuery(_port, "/_counter/reset").isDictionary();
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
