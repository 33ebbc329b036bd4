#include "zukit/platform/mail/MailRenderer.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cctype>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include "zukit/platform/mail/CurlMailMessage.h"

namespace zu {

namespace {

// How long either side waits for the other before giving up; only a fault could make it wait.
constexpr int kStallSeconds = 30;
// The envelope of a rendering: it does not appear in the message.
constexpr const char* kEnvelopeAddress = "draft@localhost";

struct EasyDeleter {
  void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};

// A socket descriptor, closed when it goes out of scope.
class Socket {
 public:
  explicit Socket(int fd) : _fd(fd) {}
  ~Socket() { reset(); }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;
  int get() const { return _fd; }
  // Closes the descriptor held and holds `fd` instead.
  void reset(int fd = -1) {
    if (_fd >= 0) close(_fd);
    _fd = fd;
  }

 private:
  int _fd;
};

// Reads CRLF-terminated lines from a socket.
class LineReader {
 public:
  explicit LineReader(int fd) : _fd(fd) {}

  // The next line without its CRLF, or none at the end of the stream or on an error.
  std::optional<std::string> next() {
    while (true) {
      const std::size_t end = _buffer.find("\r\n", _scanned);
      if (end != std::string::npos) {
        std::string line = _buffer.substr(0, end);
        _buffer.erase(0, end + 2);
        _scanned = 0;
        return line;
      }
      _scanned = _buffer.empty() ? 0 : _buffer.size() - 1;
      std::array<char, 16384> chunk{};
      const ssize_t got = recv(_fd, chunk.data(), chunk.size(), 0);
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) return std::nullopt;
      _buffer.append(chunk.data(), static_cast<std::size_t>(got));
    }
  }

 private:
  int _fd;
  std::string _buffer;
  std::size_t _scanned = 0;
};

bool reply(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t sent = send(fd, text.data(), text.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

std::string verb(const std::string& line) {
  std::string word = line.substr(0, line.find(' '));
  for (char& c : word)
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return word;
}

// Serves one SMTP session on `fd`, accepting every command, and keeps in `message` what DATA
// carried, with the dot-stuffing undone. `complete` tells that the whole of DATA arrived.
void serveSession(int fd, std::string& message, bool& complete) {
  LineReader reader(fd);
  if (!reply(fd, "220 zukit-draft ESMTP\r\n")) return;
  while (const std::optional<std::string> line = reader.next()) {
    const std::string command = verb(*line);
    bool sent = true;
    if (command == "EHLO") {
      sent = reply(fd, "250-zukit-draft\r\n250-8BITMIME\r\n250 SMTPUTF8\r\n");
    } else if (command == "HELO" || command == "MAIL" || command == "RCPT" || command == "RSET" ||
               command == "NOOP") {
      sent = reply(fd, "250 OK\r\n");
    } else if (command == "DATA") {
      if (!reply(fd, "354 End data with <CR><LF>.<CR><LF>\r\n")) return;
      while (const std::optional<std::string> data = reader.next()) {
        if (*data == ".") {
          complete = true;
          break;
        }
        message += data->starts_with('.') ? data->substr(1) : *data;
        message += "\r\n";
      }
      if (!complete) return;
      sent = reply(fd, "250 OK\r\n");
    } else if (command == "QUIT") {
      reply(fd, "221 Bye\r\n");
      return;
    } else {
      sent = reply(fd, "502 Command not implemented\r\n");
    }
    if (!sent) return;
  }
}

const sockaddr* asSocketAddress(const sockaddr_un& address) {
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): the sockets API's generic form
  return reinterpret_cast<const sockaddr*>(&address);
}

// A listening socket in the abstract Unix namespace under an unguessable name: private to this
// process in all but name, leaves no file behind, and needs no port.
class PrivateListener {
 public:
  PrivateListener() {
    std::random_device random;
    _name = "zukit-mail-draft-";
    for (int i = 0; i < 4; ++i) {
      std::array<char, 9> word{};
      std::snprintf(word.data(), word.size(), "%08x", random());
      _name += word.data();
    }
    _socket.reset(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address = this->address();
    if (_socket.get() < 0 || bind(_socket.get(), asSocketAddress(address), addressLength()) != 0 ||
        listen(_socket.get(), 1) != 0) {
      _socket.reset();
    }
  }

  bool isListening() const { return _socket.get() >= 0; }
  // The name without its leading NUL, as CURLOPT_ABSTRACT_UNIX_SOCKET takes it.
  const std::string& name() const { return _name; }

  // Waits for the first connection made by this process (others are turned away), then stops
  // listening; -1 when none came within the stall time-out.
  int acceptOwn() {
    while (isListening()) {
      pollfd waiting{_socket.get(), POLLIN, 0};
      const int ready = poll(&waiting, 1, kStallSeconds * 1000);
      if (ready < 0 && errno == EINTR) continue;
      if (ready <= 0) break;
      const int connection = accept4(_socket.get(), nullptr, nullptr, SOCK_CLOEXEC);
      if (connection < 0) continue;
      ucred peer{};
      socklen_t length = sizeof peer;
      if (getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 &&
          peer.pid == getpid()) {
        _socket.reset();
        return connection;
      }
      close(connection);
    }
    _socket.reset();
    return -1;
  }

  // Connects to the listener and hangs up at once, so that a wait in acceptOwn() ends.
  void poke() const {
    const Socket knock(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_un address = this->address();
    // Refused when nothing listens any more, which is fine: then nobody waits.
    if (knock.get() >= 0) {
      static_cast<void>(connect(knock.get(), asSocketAddress(address), addressLength()));
    }
  }

 private:
  sockaddr_un address() const {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    // sun_path[0] stays NUL: the abstract namespace.
    std::memcpy(&address.sun_path[1], _name.data(), _name.size());
    return address;
  }
  socklen_t addressLength() const {
    return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + _name.size());
  }

  std::string _name;
  Socket _socket{-1};
};

void setStallTimeout(int fd) {
  const timeval timeout{kStallSeconds, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
  setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
}

}  // namespace

std::optional<std::string> renderMail(const MailMessage& message, std::string& problem) {
  ensureCurlInitialised();
  PrivateListener listener;
  if (!listener.isListening()) {
    problem = std::string("no private socket: ") + std::strerror(errno);
    return std::nullopt;
  }
  std::string rendered;
  bool complete = false;
  std::thread responder([&listener, &rendered, &complete] {
    const Socket connection(listener.acceptOwn());
    if (connection.get() < 0) return;
    setStallTimeout(connection.get());
    serveSession(connection.get(), rendered, complete);
  });

  CURLcode code = CURLE_FAILED_INIT;
  {
    const std::unique_ptr<CURL, EasyDeleter> easy(curl_easy_init());
    if (easy) {
      std::array<char, CURL_ERROR_SIZE> detail{};
      CURL* handle = easy.get();
      curl_easy_setopt(handle, CURLOPT_URL, "smtp://localhost");
      curl_easy_setopt(handle, CURLOPT_ABSTRACT_UNIX_SOCKET, listener.name().c_str());
      curl_easy_setopt(handle, CURLOPT_NOPROXY, "*");
      curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
      curl_easy_setopt(handle, CURLOPT_FORBID_REUSE, 1L);
      curl_easy_setopt(handle, CURLOPT_LOW_SPEED_LIMIT, 1L);
      curl_easy_setopt(handle, CURLOPT_LOW_SPEED_TIME, static_cast<long>(kStallSeconds));
      curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, detail.data());
      const CurlMailMessage curlMessage(handle, message, kEnvelopeAddress,
                                        std::vector<std::string>{kEnvelopeAddress});
      code = curl_easy_perform(handle);
      if (code != CURLE_OK) {
        problem = curl_easy_strerror(code);
        if (detail[0] != '\0') problem += std::string(": ") + detail.data();
      }
    }
  }
  // Ends the responder's wait when libcurl never connected; otherwise nothing listens any more.
  listener.poke();
  responder.join();
  if (code == CURLE_FAILED_INIT && problem.empty()) problem = "libcurl could not make a transfer";
  if (code != CURLE_OK) return std::nullopt;
  if (!complete) {
    problem = "the message was cut short";
    return std::nullopt;
  }
  return rendered;
}

}  // namespace zu
