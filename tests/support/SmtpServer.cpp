#include "tests/support/SmtpServer.h"

#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): mkdtemp

#include <filesystem>

#include "tests/support/MainLoop.h"
#include "tests/support/Probe.h"
#include "tests/support/StderrCapture.h"
#include "tests/support/TestHome.h"
#include "zukit/platform/foundation/NSJSONSerialization.h"

namespace zukit::test {

namespace {

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

// The script and its options for `options`, keeping mail in `spool`; none without a spool.
std::vector<std::string> serverArguments(const std::string& spool,
                                         const SmtpServer::Options& options) {
  if (spool.empty()) return {};
  std::vector<std::string> arguments{std::string(ZUKIT_FIXTURES_DIR) + "/smtp_server.py", "--spool",
                                     spool};
  for (const std::string& refused : options.refusedRecipients)
    arguments.insert(arguments.end(), {"--refuse", refused});
  if (!options.login.empty()) arguments.insert(arguments.end(), {"--login", options.login});
  if (options.holdData) arguments.emplace_back("--hold");
  return arguments;
}

}  // namespace

SmtpServer::SmtpServer(const Options& options)
    : _spool(newSpool()), _process(serverArguments(_spool, options)) {}

void SmtpServer::stop() {
  _process.stop();
}

std::string SmtpServer::url() const {
  return "smtp://127.0.0.1:" + std::to_string(port());
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
  return parseJson(readFile(_spool + "/" + std::to_string(index) + ".json"));
}

void SmtpServer::releaseData() const {
  _process.sendLine("release");
}

zu::Value parseMailFile(const std::string& path) {
  const ProbeResult result =
      runProgram(ZUKIT_PYTHON3, {std::string(ZUKIT_FIXTURES_DIR) + "/parse_mail.py", path});
  if (result.exitCode != 0) return {};
  return parseJson(result.standardOutput);
}

}  // namespace zukit::test
