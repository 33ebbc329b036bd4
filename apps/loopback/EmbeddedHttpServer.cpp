#include "apps/loopback/EmbeddedHttpServer.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include <asio.hpp>
#include <nlohmann/json.hpp>

#include "apps/loopback/LoopbackPayloads.h"

namespace zukit::loopback {

namespace {

using asio::ip::tcp;
using Fields = std::vector<std::pair<std::string, std::string>>;

constexpr std::size_t kMaximumHead = 64UL * 1024;
constexpr std::size_t kMaximumBody = 64UL * 1024 * 1024;
constexpr std::size_t kMaximumPayload = 64UL * 1024 * 1024;

struct Request {
  std::string method;
  std::string path;
  std::string query;
  std::string version;
  Fields headers;
  std::string body;
};

struct Response {
  enum class Ending : std::uint8_t { KeepOpen, Close, DropMidBody, DropAtOnce };
  int status = 200;
  std::string contentType = "text/plain; charset=utf-8";
  std::string body;
  Fields headers;
  Ending ending = Ending::KeepOpen;
  std::chrono::milliseconds delay{0};
};

std::string lowercase(std::string text) {
  for (char& c : text)
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

std::string trimmed(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(" \t\r");
  if (begin == std::string::npos) return {};
  return text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

std::optional<std::string> header(const Fields& fields, const std::string& name) {
  for (const auto& [key, value] : fields) {
    if (lowercase(key) == lowercase(name)) return value;
  }
  return std::nullopt;
}

std::string percentDecode(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '+') {
      out += ' ';
    } else if (text[i] == '%' && i + 2 < text.size() &&
               std::isxdigit(static_cast<unsigned char>(text[i + 1])) &&
               std::isxdigit(static_cast<unsigned char>(text[i + 2]))) {
      out += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      out += text[i];
    }
  }
  return out;
}

std::map<std::string, std::string> queryItems(const std::string& query) {
  std::map<std::string, std::string> items;
  std::size_t start = 0;
  while (start < query.size()) {
    const std::size_t end = std::min(query.find('&', start), query.size());
    const std::string pair = query.substr(start, end - start);
    const std::size_t equals = pair.find('=');
    const std::string key = percentDecode(pair.substr(0, equals));
    if (!items.contains(key)) {
      items[key] = equals == std::string::npos ? "" : percentDecode(pair.substr(equals + 1));
    }
    start = end + 1;
  }
  return items;
}

long number(const std::map<std::string, std::string>& items, const std::string& key,
            long fallback) {
  const auto found = items.find(key);
  if (found == items.end()) return fallback;
  try {
    return std::stol(found->second);
  } catch (const std::exception&) {
    return fallback;
  }
}

std::string base64(const std::string& bytes) {
  static constexpr char kAlphabet[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  std::size_t i = 0;
  for (; i + 2 < bytes.size(); i += 3) {
    const unsigned n = (static_cast<unsigned char>(bytes[i]) << 16) |
                       (static_cast<unsigned char>(bytes[i + 1]) << 8) |
                       static_cast<unsigned char>(bytes[i + 2]);
    out += {kAlphabet[(n >> 18) & 63], kAlphabet[(n >> 12) & 63], kAlphabet[(n >> 6) & 63],
            kAlphabet[n & 63]};
  }
  if (i + 1 == bytes.size()) {
    const unsigned n = static_cast<unsigned char>(bytes[i]) << 16;
    out += {kAlphabet[(n >> 18) & 63], kAlphabet[(n >> 12) & 63], '=', '='};
  } else if (i + 2 == bytes.size()) {
    const unsigned n = (static_cast<unsigned char>(bytes[i]) << 16) |
                       (static_cast<unsigned char>(bytes[i + 1]) << 8);
    out += {kAlphabet[(n >> 18) & 63], kAlphabet[(n >> 12) & 63], kAlphabet[(n >> 6) & 63], '='};
  }
  return out;
}

std::string reason(int status) {
  static constexpr std::pair<int, const char*> kReasons[] = {
      {200, "OK"},
      {201, "Created"},
      {204, "No Content"},
      {301, "Moved Permanently"},
      {302, "Found"},
      {303, "See Other"},
      {304, "Not Modified"},
      {307, "Temporary Redirect"},
      {400, "Bad Request"},
      {404, "Not Found"},
      {411, "Length Required"},
      {500, "Internal Server Error"},
      {503, "Service Unavailable"},
  };
  for (const auto& [code, phrase] : kReasons) {
    if (code == status) return phrase;
  }
  return "Status";
}

std::string text(std::span<const std::uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

struct EmbeddedHttpServer::State : std::enable_shared_from_this<EmbeddedHttpServer::State> {
  asio::io_context io;
  tcp::acceptor acceptor{io};
  std::vector<std::thread> threads;
  int port = 0;
  mutable std::mutex mutex;
  std::map<std::string, long> counts;

  long hit(const std::string& path) {
    const std::lock_guard<std::mutex> lock(mutex);
    return ++counts[path];
  }

  Response route(const Request& request);
  void accept();
};

namespace {

class Connection : public std::enable_shared_from_this<Connection> {
 public:
  Connection(tcp::socket socket, EmbeddedHttpServer::State& state)
      : _socket(std::move(socket)),
        _timer(_socket.get_executor()),
        _buffer(kMaximumHead),
        _state(state) {}

  void readHead() {
    auto self = shared_from_this();
    asio::async_read_until(_socket, _buffer, "\r\n\r\n",
                           [self](const asio::error_code& error, std::size_t length) {
                             if (!error) self->parseHead(length);
                           });
  }

 private:
  void parseHead(std::size_t length) {
    std::string head(asio::buffers_begin(_buffer.data()),
                     asio::buffers_begin(_buffer.data()) + static_cast<std::ptrdiff_t>(length));
    _buffer.consume(length);
    Request request;
    std::size_t lineEnd = head.find("\r\n");
    const std::string requestLine = head.substr(0, lineEnd);
    const std::size_t firstSpace = requestLine.find(' ');
    const std::size_t lastSpace = requestLine.rfind(' ');
    if (firstSpace == std::string::npos || lastSpace == firstSpace) return;
    request.method = requestLine.substr(0, firstSpace);
    const std::string target = requestLine.substr(firstSpace + 1, lastSpace - firstSpace - 1);
    request.version = requestLine.substr(lastSpace + 1);
    const std::size_t question = target.find('?');
    request.path = target.substr(0, question);
    if (question != std::string::npos) request.query = target.substr(question + 1);
    while (lineEnd != std::string::npos) {
      const std::size_t start = lineEnd + 2;
      lineEnd = head.find("\r\n", start);
      const std::string line =
          head.substr(start, lineEnd == std::string::npos ? std::string::npos : lineEnd - start);
      const std::size_t colon = line.find(':');
      if (line.empty() || colon == std::string::npos) continue;
      const std::string name = trimmed(line.substr(0, colon));
      const std::string value = trimmed(line.substr(colon + 1));
      bool joined = false;
      for (auto& [key, existing] : request.headers) {
        if (lowercase(key) == lowercase(name)) {
          existing += ", " + value;
          joined = true;
        }
      }
      if (!joined) request.headers.emplace_back(name, value);
    }
    if (lowercase(header(request.headers, "Transfer-Encoding").value_or("")) == "chunked") {
      Response response;
      response.status = 411;
      response.body = "chunked request bodies are not served";
      response.ending = Response::Ending::Close;
      return send(std::move(response), false);
    }
    std::size_t bodyLength = 0;
    try {
      bodyLength = std::stoul(header(request.headers, "Content-Length").value_or("0"));
    } catch (const std::exception&) {
      return;
    }
    if (bodyLength > kMaximumBody) return;
    const std::size_t buffered = std::min(bodyLength, _buffer.size());
    request.body.assign(
        asio::buffers_begin(_buffer.data()),
        asio::buffers_begin(_buffer.data()) + static_cast<std::ptrdiff_t>(buffered));
    _buffer.consume(buffered);
    if (buffered == bodyLength) return handle(request);
    auto self = shared_from_this();
    auto pending = std::make_shared<Request>(std::move(request));
    pending->body.resize(bodyLength);
    asio::async_read(_socket, asio::buffer(pending->body.data() + buffered, bodyLength - buffered),
                     [self, pending](const asio::error_code& error, std::size_t /*length*/) {
                       if (!error) self->handle(*pending);
                     });
  }

  void handle(const Request& request) {
    const std::string connection = lowercase(header(request.headers, "Connection").value_or(""));
    const bool keepAlive =
        request.version == "HTTP/1.1" ? connection != "close" : connection == "keep-alive";
    Response response = _state.route(request);
    if (request.method == "HEAD") response.body.clear();
    if (response.delay.count() > 0) {
      auto self = shared_from_this();
      _timer.expires_after(response.delay);
      _timer.async_wait(
          [self, response = std::move(response), keepAlive](const asio::error_code& error) mutable {
            if (!error) self->send(std::move(response), keepAlive);
          });
      return;
    }
    send(std::move(response), keepAlive);
  }

  void send(Response response, bool keepAlive) {
    if (response.ending == Response::Ending::DropAtOnce) return close();
    if (response.ending != Response::Ending::KeepOpen) keepAlive = false;
    std::string out = "HTTP/1.1 " + std::to_string(response.status) + " " +
                      reason(response.status) + "\r\nServer: ZuKitEmbedded/1.0\r\n";
    std::string body = std::move(response.body);
    std::size_t announced = body.size();
    if (response.ending == Response::Ending::DropMidBody) {
      announced = body.size() * 10;
    }
    if (response.status != 204 && response.status != 304) {
      out += "Content-Type: " + response.contentType + "\r\n";
      out += "Content-Length: " + std::to_string(announced) + "\r\n";
    }
    for (const auto& [name, value] : response.headers) {
      out.append(name).append(": ").append(value).append("\r\n");
    }
    if (!keepAlive) out += "Connection: close\r\n";
    out.append("\r\n").append(body);
    auto self = shared_from_this();
    auto message = std::make_shared<std::string>(std::move(out));
    asio::async_write(_socket, asio::buffer(*message),
                      [self, message, keepAlive](const asio::error_code& error, std::size_t) {
                        if (error || !keepAlive) return self->close();
                        self->readHead();
                      });
  }

  void close() {
    asio::error_code ignored;
    _socket.shutdown(tcp::socket::shutdown_both, ignored);
    _socket.close(ignored);
  }

  tcp::socket _socket;
  asio::steady_timer _timer;
  asio::streambuf _buffer;
  EmbeddedHttpServer::State& _state;
};

}  // namespace

Response EmbeddedHttpServer::State::route(const Request& request) {
  const std::map<std::string, std::string> items = queryItems(request.query);
  Response response;
  if (request.path == "/_counter/reset") {
    const std::lock_guard<std::mutex> lock(mutex);
    counts.clear();
    response.contentType = "application/json; charset=utf-8";
    response.body = R"({"reset": true})";
    return response;
  }
  if (request.path == "/_counter") {
    nlohmann::ordered_json json;
    const std::lock_guard<std::mutex> lock(mutex);
    if (items.contains("path")) {
      const auto found = counts.find(items.at("path"));
      json["path"] = items.at("path");
      json["count"] = found == counts.end() ? 0 : found->second;
    } else {
      long total = 0;
      json["counts"] = nlohmann::ordered_json::object();
      for (const auto& [path, count] : counts) {
        json["counts"][path] = count;
        total += count;
      }
      json["total"] = total;
    }
    response.contentType = "application/json; charset=utf-8";
    response.body = json.dump();
    return response;
  }
  const long count = hit(request.path);
  if (request.path == "/echo" || request.path.rfind("/echo/", 0) == 0) {
    nlohmann::ordered_json json;
    json["method"] = request.method;
    json["path"] = request.path;
    json["query"] = request.query;
    json["headers"] = nlohmann::ordered_json::object();
    for (const auto& [name, value] : request.headers)
      json["headers"][name] = value;
    try {
      json["body"] = nlohmann::json(request.body).dump();  // throws for text that is not UTF-8
      json["body"] = request.body;
    } catch (const nlohmann::json::exception&) {
      json["body"] = nullptr;
    }
    json["bodyBase64"] = base64(request.body);
    json["bodyLength"] = request.body.size();
    response.contentType = "application/json; charset=utf-8";
    response.body = json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    return response;
  }
  if (request.path.rfind("/status/", 0) == 0) {
    int code = 0;
    try {
      code = std::stoi(request.path.substr(8));
    } catch (const std::exception&) {
      code = 0;
    }
    if (code < 200 || code > 599) {
      response.status = 400;
      response.body = "bad status code";
      return response;
    }
    response.status = code;
    response.body = "status " + std::to_string(code);
    return response;
  }
  if (request.path.rfind("/image/", 0) == 0) {
    const std::string kind = request.path.substr(7);
    if (kind == "corrupt") {
      response.contentType = "image/png";
      response.body = "\x89PNG\r\n\x1a\nthis is no image";
    } else if (!sampleImage(kind).empty()) {
      response.contentType = sampleImageType(kind);
      response.body = text(sampleImage(kind));
    } else {
      response.status = 404;
      response.body = "no such image";
    }
    return response;
  }
  if (request.path == "/video/mp4" || request.path == "/bytes") {
    const bool video = request.path == "/video/mp4";
    const auto size = static_cast<std::size_t>(
        std::clamp<long>(number(items, "size", video ? 65536 : 1024), 0, kMaximumPayload));
    response.contentType = video ? "video/mp4" : "application/octet-stream";
    response.body = text(video ? videoPayload(size) : payloadBytes(0, size));
    return response;
  }
  if (request.path == "/slow") {
    double seconds = 2;
    try {
      if (items.contains("delay")) seconds = std::stod(items.at("delay"));
    } catch (const std::exception&) {
      seconds = 2;
    }
    response.delay =
        std::chrono::milliseconds(static_cast<long>(std::clamp(seconds, 0.0, 60.0) * 1000));
    response.body = "slow";
    return response;
  }
  if (request.path == "/drop") {
    response.contentType = "application/octet-stream";
    response.body = text(payloadBytes(0, 100));
    response.ending = Response::Ending::DropMidBody;
    return response;
  }
  if (request.path == "/drop/early") {
    response.ending = Response::Ending::DropAtOnce;
    return response;
  }
  if (request.path == "/redirect") {
    response.status = static_cast<int>(number(items, "code", 302));
    response.headers.emplace_back("Location", items.contains("to") ? items.at("to") : "/echo");
    return response;
  }
  if (request.path == "/cacheable") {
    response.headers.emplace_back(
        "Cache-Control", "max-age=" + (items.contains("max-age") ? items.at("max-age") : "60"));
    response.body = "cacheable " + std::to_string(count);
    return response;
  }
  response.status = 404;
  response.body = "no such route";
  return response;
}

void EmbeddedHttpServer::State::accept() {
  auto self = shared_from_this();
  acceptor.async_accept([self](const asio::error_code& error, tcp::socket socket) {
    if (error) return;
    asio::error_code ignored;
    socket.set_option(tcp::no_delay(true), ignored);
    std::make_shared<Connection>(std::move(socket), *self)->readHead();
    self->accept();
  });
}

EmbeddedHttpServer::EmbeddedHttpServer(int threads) : _state(std::make_shared<State>()) {
  asio::error_code error;
  const tcp::endpoint endpoint(asio::ip::make_address("127.0.0.1"), 0);
  _state->acceptor.open(endpoint.protocol(), error);
  if (!error) _state->acceptor.set_option(tcp::acceptor::reuse_address(true), error);
  if (!error) _state->acceptor.bind(endpoint, error);
  if (!error) _state->acceptor.listen(asio::socket_base::max_listen_connections, error);
  if (error) return;
  _state->port = _state->acceptor.local_endpoint().port();
  _state->accept();
  for (int i = 0; i < std::max(threads, 1); ++i) {
    _state->threads.emplace_back([state = _state.get()] { state->io.run(); });
  }
}

EmbeddedHttpServer::~EmbeddedHttpServer() {
  _state->io.stop();
  for (std::thread& thread : _state->threads)
    thread.join();
  // Pending handlers hold the state; dropping them here ends the cycle.
  asio::error_code ignored;
  _state->acceptor.close(ignored);
  _state->io.restart();
  _state->io.poll();
}

int EmbeddedHttpServer::port() const {
  return _state->port;
}

std::string EmbeddedHttpServer::baseURL() const {
  return "http://127.0.0.1:" + std::to_string(_state->port);
}

long EmbeddedHttpServer::requestCount(const std::string& path) const {
  const std::lock_guard<std::mutex> lock(_state->mutex);
  const auto found = _state->counts.find(path);
  return found == _state->counts.end() ? 0 : found->second;
}

long EmbeddedHttpServer::totalRequestCount() const {
  const std::lock_guard<std::mutex> lock(_state->mutex);
  long total = 0;
  for (const auto& [path, count] : _state->counts)
    total += count;
  return total;
}

void EmbeddedHttpServer::resetCounters() {
  const std::lock_guard<std::mutex> lock(_state->mutex);
  _state->counts.clear();
}

}  // namespace zukit::loopback
