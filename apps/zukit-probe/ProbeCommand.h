#pragma once

#include <string>
#include <vector>

namespace zukit::probe {

// One probe command: gets the arguments after its name, returns the exit status.
using ProbeCommand = int (*)(const std::vector<std::string>& arguments);

// Registers a command under `name` at start-up; each command lives in its own source file.
class ProbeRegistration {
 public:
  ProbeRegistration(const char* name, const char* usage, ProbeCommand command);
};

// Writes one line to standard output and flushes it, for the test that reads it.
void printLine(const std::string& text);

// Waits until everything logged so far has reached the log file.
void flushLog();

}  // namespace zukit::probe
