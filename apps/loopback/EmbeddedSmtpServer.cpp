#include "apps/loopback/EmbeddedSmtpServer.h"

#include <cctype>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include <asio.hpp>

namespace zukit::loopback {

namespace {

using asio::ip::tcp;

// Lines longer than this end the session (RFC 5321 allows 1000 octets).
constexpr std::size_t kMaximumLine = 64UL * 1024;
// Messages larger than this are refused with 552.
constexpr std::size_t kMaximumMessage = 64UL * 1024 * 1024;

std::string verb(const std::string& line) {
  std::string word = line.substr(0, line.find(' '));
  for (char& c : word)
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return word;
}

// The address inside the angle brackets of "MAIL FROM:<a@b> SIZE=10"; "" for "<>".
std::string pathArgument(const std::string& line) {
  const std::size_t open = line.find('<');
  const std::size_t close = line.find('>', open == std::string::npos ? 0 : open);
  if (open == std::string::npos || close == std::string::npos) {
    const std::size_t colon = line.find(':');
    return colon == std::string::npos ? std::string() : line.substr(colon + 1);
  }
  return line.substr(open + 1, close - open - 1);
}

}  // namespace

struct EmbeddedSmtpServer::State : std::enable_shared_from_this<EmbeddedSmtpServer::State> {
  asio::io_context io;
  tcp::acceptor acceptor{io};
  std::thread thread;
  int port = 0;
  mutable std::mutex mutex;
  mutable std::condition_variable accepted;
  std::vector<Message> messages;
  std::size_t total = 0;

  void keep(Message message) {
    {
      const std::lock_guard<std::mutex> lock(mutex);
      messages.push_back(std::move(message));
      ++total;
    }
    accepted.notify_all();
  }

  void accept();
};

namespace {

class Session : public std::enable_shared_from_this<Session> {
 public:
  Session(tcp::socket socket, EmbeddedSmtpServer::State& state)
      : _socket(std::move(socket)), _buffer(kMaximumLine), _state(state) {}

  void start() { reply("220 zukit-loopback ESMTP ready\r\n", true); }

 private:
  void readLine() {
    auto self = shared_from_this();
    asio::async_read_until(
        _socket, _buffer, "\r\n", [self](const asio::error_code& error, std::size_t length) {
          if (error) return;
          std::string line(
              asio::buffers_begin(self->_buffer.data()),
              asio::buffers_begin(self->_buffer.data()) + static_cast<std::ptrdiff_t>(length - 2));
          self->_buffer.consume(length);
          self->handle(line);
        });
  }

  void handle(const std::string& line) {
    if (_inData) return handleDataLine(line);
    const std::string command = verb(line);
    if (command == "EHLO") {
      reply("250-zukit-loopback\r\n250-8BITMIME\r\n250-SMTPUTF8\r\n250 SIZE " +
            std::to_string(kMaximumMessage) + "\r\n");
    } else if (command == "HELO") {
      reply("250 zukit-loopback\r\n");
    } else if (command == "MAIL") {
      _message = {};
      _message.mailFrom = pathArgument(line);
      _haveSender = true;
      reply("250 2.1.0 OK\r\n");
    } else if (command == "RCPT") {
      if (!_haveSender) return reply("503 5.5.1 MAIL first\r\n");
      _message.recipients.push_back(pathArgument(line));
      reply("250 2.1.5 OK\r\n");
    } else if (command == "DATA") {
      if (_message.recipients.empty()) return reply("503 5.5.1 RCPT first\r\n");
      _inData = true;
      _tooLarge = false;
      reply("354 End data with <CR><LF>.<CR><LF>\r\n");
    } else if (command == "RSET") {
      _message = {};
      _haveSender = false;
      reply("250 2.0.0 OK\r\n");
    } else if (command == "NOOP") {
      reply("250 2.0.0 OK\r\n");
    } else if (command == "QUIT") {
      reply("221 2.0.0 Bye\r\n", false);
    } else {
      reply("502 5.5.2 Command not implemented\r\n");
    }
  }

  void handleDataLine(const std::string& line) {
    if (line == ".") {
      _inData = false;
      _haveSender = false;
      if (_tooLarge) return reply("552 5.3.4 Message too big\r\n");
      _state.keep(std::exchange(_message, {}));
      return reply("250 2.0.0 Message accepted\r\n");
    }
    if (_message.data.size() + line.size() > kMaximumMessage) _tooLarge = true;
    if (!_tooLarge) {
      _message.data.append(line.starts_with('.') ? line.substr(1) : line).append("\r\n");
    }
    readLine();
  }

  void reply(std::string text, bool thenRead = true) {
    auto self = shared_from_this();
    auto message = std::make_shared<std::string>(std::move(text));
    asio::async_write(_socket, asio::buffer(*message),
                      [self, message, thenRead](const asio::error_code& error, std::size_t) {
                        if (error) return;
                        if (thenRead) {
                          self->readLine();
                        } else {
                          asio::error_code ignored;
                          self->_socket.shutdown(tcp::socket::shutdown_both, ignored);
                          self->_socket.close(ignored);
                        }
                      });
  }

  tcp::socket _socket;
  asio::streambuf _buffer;
  EmbeddedSmtpServer::State& _state;
  EmbeddedSmtpServer::Message _message;
  bool _haveSender = false;
  bool _inData = false;
  bool _tooLarge = false;
};

}  // namespace

void EmbeddedSmtpServer::State::accept() {
  auto self = shared_from_this();
  acceptor.async_accept([self](const asio::error_code& error, tcp::socket socket) {
    if (error) return;
    std::make_shared<Session>(std::move(socket), *self)->start();
    self->accept();
  });
}

EmbeddedSmtpServer::EmbeddedSmtpServer() : _state(std::make_shared<State>()) {
  asio::error_code error;
  const tcp::endpoint endpoint(asio::ip::make_address("127.0.0.1"), 0);
  _state->acceptor.open(endpoint.protocol(), error);
  if (!error) _state->acceptor.set_option(tcp::acceptor::reuse_address(true), error);
  if (!error) _state->acceptor.bind(endpoint, error);
  if (!error) _state->acceptor.listen(asio::socket_base::max_listen_connections, error);
  if (error) return;
  _state->port = _state->acceptor.local_endpoint().port();
  _state->accept();
  _state->thread = std::thread([state = _state.get()] { state->io.run(); });
}

EmbeddedSmtpServer::~EmbeddedSmtpServer() {
  _state->io.stop();
  if (_state->thread.joinable()) _state->thread.join();
  // Pending handlers hold the state; dropping them here ends the cycle.
  asio::error_code ignored;
  _state->acceptor.close(ignored);
  _state->io.restart();
  _state->io.poll();
}

int EmbeddedSmtpServer::port() const {
  return _state->port;
}

std::string EmbeddedSmtpServer::url() const {
  return "smtp://127.0.0.1:" + std::to_string(_state->port);
}

std::vector<EmbeddedSmtpServer::Message> EmbeddedSmtpServer::messages() const {
  const std::lock_guard<std::mutex> lock(_state->mutex);
  return _state->messages;
}

std::size_t EmbeddedSmtpServer::messageCount() const {
  const std::lock_guard<std::mutex> lock(_state->mutex);
  return _state->total;
}

bool EmbeddedSmtpServer::waitForMessages(std::size_t count,
                                         std::chrono::milliseconds timeout) const {
  std::unique_lock<std::mutex> lock(_state->mutex);
  return _state->accepted.wait_for(lock, timeout, [this, count] { return _state->total >= count; });
}

void EmbeddedSmtpServer::clear() {
  const std::lock_guard<std::mutex> lock(_state->mutex);
  _state->messages.clear();
}

}  // namespace zukit::loopback
