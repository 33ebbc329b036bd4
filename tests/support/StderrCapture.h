#pragma once

#include <string>

namespace zukit::test {

// Sends this process's standard error to a temporary file for the capture's lifetime, so a test
// can read what NSLog printed. Restores the previous standard error when destroyed.
class StderrCapture {
 public:
  StderrCapture();
  ~StderrCapture();
  StderrCapture(const StderrCapture&) = delete;
  StderrCapture& operator=(const StderrCapture&) = delete;

  // Everything written to standard error so far during the capture.
  std::string text() const;

 private:
  int _savedFd = -1;
  std::string _path;
};

// The whole content of a file, or "" when it cannot be read.
std::string readFile(const std::string& path);

}  // namespace zukit::test
