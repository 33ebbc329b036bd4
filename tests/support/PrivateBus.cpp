#include "tests/support/PrivateBus.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <map>

#include "tests/support/TestHome.h"

extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace zukit::test {

namespace {

constexpr auto kLineTimeout = std::chrono::seconds(10);

std::vector<std::string> mergedEnvironment(const std::vector<std::string>& overrides) {
  std::map<std::string, std::string> variables;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string text(*entry);
    variables[text.substr(0, text.find('='))] = text;
  }
  for (const std::string& text : overrides)
    variables[text.substr(0, text.find('='))] = text;
  std::vector<std::string> list;
  list.reserve(variables.size());
  for (auto& [name, text] : variables)
    list.push_back(std::move(text));
  return list;
}

std::vector<char*> pointers(std::vector<std::string>& strings) {
  std::vector<char*> list;
  list.reserve(strings.size() + 1);
  for (std::string& text : strings)
    list.push_back(text.data());
  list.push_back(nullptr);
  return list;
}

std::string makeDirectory() {
  std::string pattern = TestHome::current() + "/bus.XXXXXX";
  return mkdtemp(pattern.data()) != nullptr ? pattern : TestHome::current();
}

}  // namespace

BackgroundProgram::BackgroundProgram(const std::string& program,
                                     const std::vector<std::string>& arguments,
                                     const std::vector<std::string>& environment) {
  std::array<int, 2> out{};
  if (pipe2(out.data(), O_CLOEXEC) != 0) return;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
  std::vector<std::string> argv{program};
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  std::vector<std::string> envp = mergedEnvironment(environment);
  std::vector<char*> argvPointers = pointers(argv);
  std::vector<char*> envPointers = pointers(envp);
  const int spawned = posix_spawn(&_pid, program.c_str(), &actions, nullptr, argvPointers.data(),
                                  envPointers.data());
  posix_spawn_file_actions_destroy(&actions);
  close(out[1]);
  if (spawned != 0) {
    _pid = -1;
    close(out[0]);
    return;
  }
  _output = out[0];
}

BackgroundProgram::~BackgroundProgram() {
  if (_output >= 0) close(_output);
  if (_pid <= 0) return;
  kill(_pid, SIGTERM);
  int status = 0;
  while (waitpid(_pid, &status, 0) < 0 && errno == EINTR) {
  }
}

std::string BackgroundProgram::readLine() {
  const auto deadline = std::chrono::steady_clock::now() + kLineTimeout;
  while (_pending.find('\n') == std::string::npos && _output >= 0) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) return {};
    pollfd descriptor{_output, POLLIN, 0};
    const int ready = poll(&descriptor, 1, static_cast<int>(left.count()));
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) return {};
    std::array<char, 4096> buffer{};
    const ssize_t got = read(_output, buffer.data(), buffer.size());
    if (got <= 0) return {};
    _pending.append(buffer.data(), static_cast<std::size_t>(got));
  }
  const std::size_t end = _pending.find('\n');
  if (end == std::string::npos) return {};
  std::string line = _pending.substr(0, end);
  _pending.erase(0, end + 1);
  return line;
}

PrivateBus::PrivateBus()
    : _directory(makeDirectory()),
      _daemon(ZUKIT_DBUS_DAEMON,
              {"--session", "--nofork", "--nopidfile", "--syslog-only", "--print-address=1",
               "--address=unix:path=" + _directory + "/bus"}),
      _address(_daemon.readLine()) {}

ModemManagerStandIn::ModemManagerStandIn(const PrivateBus& bus,
                                         const std::vector<std::string>& modems, bool malformed)
    : _program(ZUKIT_MODEM_MANAGER_STANDIN,
               [&] {
                 std::vector<std::string> arguments;
                 if (malformed) arguments.emplace_back("--malformed");
                 for (const std::string& modem : modems) {
                   arguments.emplace_back("--modem");
                   arguments.push_back(modem);
                 }
                 return arguments;
               }(),
               {"DBUS_SYSTEM_BUS_ADDRESS=" + bus.address()}),
      _ready(_program.readLine() == "ready") {}

}  // namespace zukit::test
