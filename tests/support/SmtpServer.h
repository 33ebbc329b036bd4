#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "tests/support/FixtureServerProcess.h"
#include "zukit/platform/foundation/Value.h"

namespace zukit::test {

// A real SMTP server on loopback for one test: tests/fixtures/smtp_server.py (aiosmtpd) run by
// the system's python3 as a child process on a free port of 127.0.0.1. It keeps every message it
// accepts in a spool directory of its own under the test's home. It stops when this object is
// destroyed, and also when the test process dies (it watches its standard input).
class SmtpServer {
 public:
  struct Options {
    // Recipients whose RCPT TO the server refuses with "550 5.1.1 <address>: Recipient address
    // rejected: User unknown".
    std::vector<std::string> refusedRecipients;
    // "user:password" to require AUTH with; "" for none.
    std::string login;
    // Holds the reply to DATA until releaseData().
    bool holdData = false;
  };

  // Starts the server and waits (up to 20 seconds) until it prints its port.
  SmtpServer() : SmtpServer(Options()) {}
  explicit SmtpServer(const Options& options);

  // True when the server started and has not been stopped.
  bool isRunning() const { return port() > 0; }
  // The port, or 0.
  int port() const { return _process.port(); }
  // "smtp://127.0.0.1:<port>".
  std::string url() const;
  // Waits until the server has accepted `count` messages in all; false on time-out.
  bool waitForMessages(std::size_t count,
                       std::chrono::milliseconds timeout = std::chrono::seconds(20)) const;
  // The number of messages accepted so far.
  std::size_t messageCount() const;
  // The file holding the `index`-th accepted message (from 1), as received.
  std::string messagePath(std::size_t index) const;
  // The envelope of the `index`-th message: {"mail_from", "rcpt_tos", "login"}.
  zu::Value envelope(std::size_t index) const;
  // Lets a held DATA command be answered.
  void releaseData() const;
  // Stops the server and waits for it to exit.
  void stop();

 private:
  std::string _spool;
  FixtureServerProcess _process;
};

// The message in `path` as Python's email package reads it (tests/fixtures/parse_mail.py): a
// dictionary with subject, from, to, cc, bcc, date, message_id, mime_version, content_type, texts
// [{content_type, text}], attachments [{filename, content_type, base64}] and defects; absent when
// the file could not be parsed.
zu::Value parseMailFile(const std::string& path);

}  // namespace zukit::test
