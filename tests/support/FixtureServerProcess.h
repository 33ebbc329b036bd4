#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace zukit::test {

// A fixture server script run by the system's python3 as a child process. The script prints the
// port it listens on as its first line, and ends when its standard input closes, so it also ends
// when the test process dies.
class FixtureServerProcess {
 public:
  // Runs python3 with `arguments` (the script, then its options) and waits (up to 20 seconds)
  // until it prints its port. Empty arguments start nothing.
  explicit FixtureServerProcess(std::vector<std::string> arguments);
  ~FixtureServerProcess();
  FixtureServerProcess(const FixtureServerProcess&) = delete;
  FixtureServerProcess& operator=(const FixtureServerProcess&) = delete;

  // The port the server printed, or 0 when it did not start or was stopped.
  int port() const { return _port; }
  // Writes `line` and a newline to the server's standard input; nothing once stopped.
  void sendLine(const std::string& line) const;
  // Stops the server and waits for it to exit.
  void stop();

 private:
  pid_t _pid = -1;
  int _input = -1;
  int _output = -1;
  int _port = 0;
};

}  // namespace zukit::test
