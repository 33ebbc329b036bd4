#include "tests/support/FixtureServerProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <optional>

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
    if (ready <= 0) continue;
    char c = 0;
    const ssize_t got = read(fd, &c, 1);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return std::nullopt;
    if (c == '\n') return line;
    line += c;
  }
}

}  // namespace

FixtureServerProcess::FixtureServerProcess(std::vector<std::string> arguments) {
  if (arguments.empty()) return;
  arguments.insert(arguments.begin(), ZUKIT_PYTHON3);
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

FixtureServerProcess::~FixtureServerProcess() {
  stop();
}

void FixtureServerProcess::sendLine(const std::string& line) const {
  if (_input < 0) return;
  const std::string text = line + "\n";
  [[maybe_unused]] const ssize_t written = write(_input, text.data(), text.size());
}

void FixtureServerProcess::stop() {
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

}  // namespace zukit::test
