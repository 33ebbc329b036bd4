#include "tests/support/StderrCapture.h"

#include <fcntl.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "tests/support/TestHome.h"

namespace zukit::test {

StderrCapture::StderrCapture()
    : _savedFd(dup(STDERR_FILENO)),
      _path(TestHome::current() + "/stderr-" + std::to_string(getpid()) + ".txt") {
  const int fd = open(_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (fd >= 0) {
    dup2(fd, STDERR_FILENO);
    close(fd);
  }
}

StderrCapture::~StderrCapture() {
  if (_savedFd >= 0) {
    dup2(_savedFd, STDERR_FILENO);
    close(_savedFd);
  }
}

std::string StderrCapture::text() const {
  return readFile(_path);
}

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

}  // namespace zukit::test
