#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace zukit::test {

// A program running beside the test, stopped (SIGTERM, then waited for) when destroyed.
class BackgroundProgram {
 public:
  // Starts `program` with `arguments`, plus `environment` ("NAME=value") over this process's.
  BackgroundProgram(const std::string& program, const std::vector<std::string>& arguments,
                    const std::vector<std::string>& environment = {});
  ~BackgroundProgram();
  BackgroundProgram(const BackgroundProgram&) = delete;
  BackgroundProgram& operator=(const BackgroundProgram&) = delete;

  // The next line the program writes to its standard output, without the line feed; "" when it
  // writes none within 10 seconds or has ended.
  std::string readLine();

 private:
  pid_t _pid = -1;
  int _output = -1;
  std::string _pending;
};

// A D-Bus bus of the test's own (dbus-daemon with the session configuration), listening on a
// socket file in the test's temporary directory, so that processes in other network
// namespaces reach it too. Tests point DBUS_SYSTEM_BUS_ADDRESS at it; no system service is
// touched.
class PrivateBus {
 public:
  PrivateBus();

  // The bus's address, "unix:path=...,guid=..."; "" when dbus-daemon did not start.
  const std::string& address() const { return _address; }

 private:
  std::string _directory;
  BackgroundProgram _daemon;
  std::string _address;
};

// The stand-in modem manager (tests/standins) serving `modems` ("PORT:BITS" each) on `bus`.
class ModemManagerStandIn {
 public:
  ModemManagerStandIn(const PrivateBus& bus, const std::vector<std::string>& modems,
                      bool malformed = false);

  // True once it owns the modem manager's name on the bus.
  bool ready() const { return _ready; }

 private:
  BackgroundProgram _program;
  bool _ready = false;
};

}  // namespace zukit::test
