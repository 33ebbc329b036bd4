#include "tests/support/SmtpServer.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): mkdtemp
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>

#include "tests/support/MainLoop.h"
#include "tests/support/Probe.h"
#include "tests/support/TestHome.h"
#include "zukit/platform/foundation/NSJSONSerialization.h"

extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace zukit::test {

namespace {

constexpr auto kStartTimeout = std::chrono::seconds(20);

std::optional<std::string> readLine(int fd, std::chrono::steady_clock::time_point deadline) {
  std::string line;
  while (true) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) return std::nullopt;
    pollfd descriptor{fd, POLLIN, 0};
    const int ready = poll(&descriptor, 1, static_cast<int>(left.count()));
    if (ready <= 0) continue;
    char c = 0;
    const ssize_t got = read(fd, &c, 1);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return std::nullopt;
    if (c == '\n') return line;
    line += c;
  }
}

std::string readWholeFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

zu::Value parseJson(const std::string& text) {
  return zu::NSJSONSerialization::JSONObjectWithData(zu::Data(text.begin(), text.end()), 0);
}

std::string newSpool() {
  const std::string base = TestHome::current().empty() ? std::filesystem::temp_directory_path()
                                                       : std::filesystem::path(TestHome::current());
  std::string pattern = base + "/smtp-spool.XXXXXX";
  std::vector<char> buffer(pattern.begin(), pattern.end());
  buffer.push_back('\0');
  if (mkdtemp(buffer.data()) == nullptr) return {};
  return buffer.data();
}

}  // namespace

SmtpServer::SmtpServer(const Options& options) : _spool(newSpool()) {
  if (_spool.empty()) return;
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
  std::vector<std::string> arguments{
      ZUKIT_PYTHON3, std::string(ZUKIT_FIXTURES_DIR) + "/smtp_server.py", "--spool", _spool};
  for (const std::string& refused : options.refusedRecipients) {
    arguments.insert(arguments.end(), {"--refuse", refused});
  }
  if (!options.login.empty()) arguments.insert(arguments.end(), {"--login", options.login});
  if (options.holdData) arguments.emplace_back("--hold");
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (std::string& argument : arguments)
    argv.push_back(argument.data());
  argv.push_back(nullptr);
  const int spawned = posix_spawn(&_pid, argv[0], &actions, nullptr, argv.data(), environ);
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

SmtpServer::~SmtpServer() {
  stop();
}

void SmtpServer::stop() {
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

std::string SmtpServer::url() const {
  return "smtp://127.0.0.1:" + std::to_string(_port);
}

std::size_t SmtpServer::messageCount() const {
  std::size_t count = 0;
  while (std::filesystem::exists(_spool + "/" + std::to_string(count + 1) + ".json"))
    ++count;
  return count;
}

bool SmtpServer::waitForMessages(std::size_t count, std::chrono::milliseconds timeout) const {
  return waitUntil([this, count] { return messageCount() >= count; }, timeout);
}

std::string SmtpServer::messagePath(std::size_t index) const {
  return _spool + "/" + std::to_string(index) + ".eml";
}

zu::Value SmtpServer::envelope(std::size_t index) const {
  return parseJson(readWholeFile(_spool + "/" + std::to_string(index) + ".json"));
}

void SmtpServer::releaseData() const {
  if (_input < 0) return;
  const std::string line = "release\n";
  [[maybe_unused]] const ssize_t written = write(_input, line.data(), line.size());
}

zu::Value parseMailFile(const std::string& path) {
  const ProbeResult result =
      runProgram(ZUKIT_PYTHON3, {std::string(ZUKIT_FIXTURES_DIR) + "/parse_mail.py", path});
  if (result.exitCode != 0) return {};
  return parseJson(result.standardOutput);
}

}  // namespace zukit::test
