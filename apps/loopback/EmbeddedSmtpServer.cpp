#include "apps/loopback/EmbeddedSmtpServer.h"

#include <array>
#include <cctype>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <ostream>
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
// The size of one read of DATA.
constexpr std::size_t kChunk = 64UL * 1024;

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

  void start() { reply("220 zukit-loopback ESMTP ready\r\n"); }

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
      _data.clear();
      reply("354 End data with <CR><LF>.<CR><LF>\r\n", Next::Data);
    } else if (command == "RSET") {
      _message = {};
      _haveSender = false;
      reply("250 2.0.0 OK\r\n");
    } else if (command == "NOOP") {
      reply("250 2.0.0 OK\r\n");
    } else if (command == "QUIT") {
      reply("221 2.0.0 Bye\r\n", Next::Close);
    } else {
      reply("502 5.5.2 Command not implemented\r\n");
    }
  }

  // Gathers DATA in large reads until the line "." ends it; what follows stays buffered for
  // the next command.
  void readData() {
    const std::size_t buffered = _buffer.size();
    if (buffered > 0) {
      _data.append(asio::buffers_begin(_buffer.data()), asio::buffers_end(_buffer.data()));
      _buffer.consume(buffered);
    }
    const std::size_t end = endOfData();
    if (end != std::string::npos) return finishData(end);
    if (_data.size() > kMaximumMessage) return reply("552 5.3.4 Message too big\r\n", Next::Close);
    auto self = shared_from_this();
    auto chunk = std::make_shared<std::array<char, kChunk>>();
    _socket.async_read_some(asio::buffer(*chunk),
                            [self, chunk](const asio::error_code& error, std::size_t length) {
                              if (error) return;
                              self->_data.append(chunk->data(), length);
                              const std::size_t found = self->endOfData();
                              if (found != std::string::npos) return self->finishData(found);
                              self->readData();
                            });
  }

  // Where the terminating "." line starts in _data (the CRLF before it kept in the message), or
  // npos while it has not come.
  std::size_t endOfData() const {
    if (_data.starts_with(".\r\n")) return 0;
    const std::size_t found = _data.find("\r\n.\r\n");
    return found == std::string::npos ? found : found + 2;
  }

  void finishData(std::size_t end) {
    // Bytes after the terminator are the next commands.
    std::ostream rest(&_buffer);
    rest.write(_data.data() + end + 3, static_cast<std::streamsize>(_data.size() - end - 3));
    _data.resize(end);
    // Undo the dot-stuffing: a line that starts with "." was sent with one more.
    std::string& out = _message.data;
    out.reserve(_data.size());
    std::size_t start = 0;
    while (start < _data.size()) {
      std::size_t next = _data.find("\r\n", start);
      next = next == std::string::npos ? _data.size() : next + 2;
      out.append(_data, _data[start] == '.' ? start + 1 : start,
                 next - (_data[start] == '.' ? start + 1 : start));
      start = next;
    }
    _data.clear();
    _haveSender = false;
    _state.keep(std::exchange(_message, {}));
    reply("250 2.0.0 Message accepted\r\n");
  }

  // What the session does once a reply is written.
  enum class Next : std::uint8_t { Command, Data, Close };

  void reply(std::string text, Next next = Next::Command) {
    auto self = shared_from_this();
    auto message = std::make_shared<std::string>(std::move(text));
    asio::async_write(_socket, asio::buffer(*message),
                      [self, message, next](const asio::error_code& error, std::size_t) {
                        if (error) return;
                        if (next == Next::Command) return self->readLine();
                        if (next == Next::Data) return self->readData();
                        asio::error_code ignored;
                        self->_socket.shutdown(tcp::socket::shutdown_both, ignored);
                        self->_socket.close(ignored);
                      });
  }

  tcp::socket _socket;
  asio::streambuf _buffer;
  EmbeddedSmtpServer::State& _state;
  EmbeddedSmtpServer::Message _message;
  // DATA as it arrives, before the dot-stuffing is undone.
  std::string _data;
  bool _haveSender = false;
};

}  // namespace

void EmbeddedSmtpServer::State::accept() {
  auto self = shared_from_this();
  acceptor.async_accept([self](const asio::error_code& error, tcp::socket socket) {
    if (error) return;
    // Replies are small writes that the client waits for: no Nagle delay.
    asio::error_code ignored;
    socket.set_option(tcp::no_delay(true), ignored);
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
