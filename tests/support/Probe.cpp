#include "tests/support/Probe.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace zukit::test {

namespace {

std::vector<std::string> mergedEnvironment(const std::map<std::string, std::string>& overrides) {
  std::map<std::string, std::string> variables;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string text(*entry);
    const std::size_t equals = text.find('=');
    if (equals != std::string::npos) variables[text.substr(0, equals)] = text.substr(equals + 1);
  }
  for (const auto& [name, value] : overrides)
    variables[name] = value;
  std::vector<std::string> list;
  list.reserve(variables.size());
  for (const auto& [name, value] : variables)
    list.emplace_back(name + "=").append(value);
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

}  // namespace

std::string probePath() {
  return ZUKIT_PROBE_PATH;
}

ProbeResult runProbe(const std::vector<std::string>& arguments,
                     const std::map<std::string, std::string>& environment,
                     std::chrono::milliseconds timeout) {
  return runProgram(probePath(), arguments, environment, timeout);
}

ProbeResult runProgram(const std::string& program, const std::vector<std::string>& arguments,
                       const std::map<std::string, std::string>& environment,
                       std::chrono::milliseconds timeout) {
  ProbeResult result;
  std::array<int, 2> out{};
  std::array<int, 2> err{};
  if (pipe2(out.data(), O_CLOEXEC) != 0 || pipe2(err.data(), O_CLOEXEC) != 0) return result;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);
  std::vector<std::string> argv{program};
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  std::vector<std::string> envp = mergedEnvironment(environment);
  std::vector<char*> argvPointers = pointers(argv);
  std::vector<char*> envPointers = pointers(envp);
  pid_t child = 0;
  const int spawned = posix_spawn(&child, program.c_str(), &actions, nullptr, argvPointers.data(),
                                  envPointers.data());
  posix_spawn_file_actions_destroy(&actions);
  close(out[1]);
  close(err[1]);
  if (spawned != 0) {
    close(out[0]);
    close(err[0]);
    result.standardError = "spawn failed";
    return result;
  }
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  std::array<pollfd, 2> fds{pollfd{out[0], POLLIN, 0}, pollfd{err[0], POLLIN, 0}};
  int open = 2;
  while (open > 0) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) {
      result.timedOut = true;
      kill(child, SIGKILL);
      break;
    }
    const int ready = poll(fds.data(), fds.size(), static_cast<int>(left.count()));
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) continue;
    for (std::size_t i = 0; i < fds.size(); ++i) {
      if (fds[i].fd < 0 || fds[i].revents == 0) continue;
      char buffer[65536];
      const ssize_t got = read(fds[i].fd, buffer, sizeof buffer);
      if (got > 0) {
        (i == 0 ? result.standardOutput : result.standardError)
            .append(buffer, static_cast<std::size_t>(got));
      } else if (got == 0 || errno != EINTR) {
        close(fds[i].fd);
        fds[i].fd = -1;
        --open;
      }
    }
  }
  for (pollfd& fd : fds) {
    if (fd.fd >= 0) close(fd.fd);
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (!result.timedOut && WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
  return result;
}

}  // namespace zukit::test
