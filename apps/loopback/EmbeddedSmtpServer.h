#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace zukit::loopback {

// A small SMTP receiver on Asio, listening on a free port of 127.0.0.1, for the demo and the
// bench (which run without Python). It speaks enough ESMTP for a submission client (EHLO, MAIL,
// RCPT, DATA, RSET, NOOP, QUIT; no TLS, no AUTH), accepts every message and keeps it in memory.
class EmbeddedSmtpServer {
 public:
  // One accepted message.
  struct Message {
    std::string mailFrom;
    std::vector<std::string> recipients;
    // The message as DATA carried it, dot-stuffing undone, lines ending in CRLF.
    std::string data;
  };

  // Starts serving on one thread. port() is 0 if it could not listen.
  EmbeddedSmtpServer();
  // Stops serving and closes every connection.
  ~EmbeddedSmtpServer();
  EmbeddedSmtpServer(const EmbeddedSmtpServer&) = delete;
  EmbeddedSmtpServer& operator=(const EmbeddedSmtpServer&) = delete;

  // The port listened on.
  int port() const;
  // "smtp://127.0.0.1:<port>".
  std::string url() const;
  // The messages accepted so far, in order.
  std::vector<Message> messages() const;
  // The number of messages accepted since the start (clear() does not lower it).
  std::size_t messageCount() const;
  // Waits until `count` messages have been accepted in all; false on time-out.
  bool waitForMessages(std::size_t count, std::chrono::milliseconds timeout) const;
  // Forgets the messages kept so far, so that a benchmark's memory stays flat.
  void clear();

  struct State;

 private:
  std::shared_ptr<State> _state;
};

}  // namespace zukit::loopback
