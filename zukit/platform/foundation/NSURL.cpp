#include "zukit/platform/foundation/NSURL.h"

#include <unistd.h>

#include <cctype>
#include <climits>
#include <functional>

namespace zu {

namespace {

constexpr const char* kPathAllowed = "-._~!$&'()*+,;=:@/";

bool isHex(char c) {
  return std::isxdigit(static_cast<unsigned char>(c)) != 0;
}

// Characters that may stand unescaped somewhere in a URL reference.
bool isUrlCharacter(char c) {
  const auto byte = static_cast<unsigned char>(c);
  if (byte >= 0x80 || std::iscntrl(byte) || c == ' ') return false;
  if (std::isalnum(byte)) return true;
  return std::string_view("-._~:/?#[]@!$&'()*+,;=%").find(c) != std::string_view::npos;
}

bool hasValidEscapes(const std::string& text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') continue;
    if (i + 2 >= text.size() || !isHex(text[i + 1]) || !isHex(text[i + 2])) return false;
    i += 2;
  }
  return true;
}

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  return (std::tolower(static_cast<unsigned char>(c)) - 'a') + 10;
}

}  // namespace

std::string percentEncode(const std::string& text, const std::string& allowed) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  for (char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte < 0x80 && std::isalnum(byte)) || allowed.find(c) != std::string::npos) {
      out += c;
    } else {
      out += '%';
      out += kHex[byte >> 4];
      out += kHex[byte & 0xF];
    }
  }
  return out;
}

std::string percentDecode(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size() && isHex(text[i + 1]) && isHex(text[i + 2])) {
      out += static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2]));
      i += 2;
    } else {
      out += text[i];
    }
  }
  return out;
}

std::shared_ptr<NSURL> NSURL::URLWithString(const Value& text) {
  const std::optional<std::string> string = validText(text);
  if (!string) return nullptr;
  auto url = std::make_shared<NSURL>(Passkey(), *string);
  return url->parse() ? url : nullptr;
}

std::shared_ptr<NSURL> NSURL::fileURLWithPath(const std::string& path) {
  if (path.empty()) return nullptr;
  std::string absolute = path;
  if (absolute.front() != '/') {
    char directory[PATH_MAX];
    if (getcwd(directory, sizeof directory) == nullptr) return nullptr;
    absolute = std::string(directory) + "/" + absolute;
  }
  auto url = std::make_shared<NSURL>(Passkey(), "file://" + percentEncode(absolute, kPathAllowed));
  return url->parse() ? url : nullptr;
}

bool NSURL::parse() {
  const std::string& text = _text;
  for (char c : text) {
    if (!isUrlCharacter(c)) return false;
  }
  if (!hasValidEscapes(text)) return false;
  std::size_t i = 0;
  // Scheme: a letter, then letters, digits, "+", "-", "." up to ":", before any "/?#".
  const std::size_t colon = text.find(':');
  const std::size_t delimiter = text.find_first_of("/?#");
  if (colon != std::string::npos && colon > 0 &&
      (delimiter == std::string::npos || colon < delimiter) &&
      std::isalpha(static_cast<unsigned char>(text[0]))) {
    bool schemeValid = true;
    for (std::size_t k = 1; k < colon; ++k) {
      const auto byte = static_cast<unsigned char>(text[k]);
      if (!std::isalnum(byte) && text[k] != '+' && text[k] != '-' && text[k] != '.') {
        schemeValid = false;
      }
    }
    if (schemeValid) {
      _scheme = text.substr(0, colon);
      for (char& c : _scheme)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
      i = colon + 1;
    }
  }
  if (text.compare(i, 2, "//") == 0) {
    i += 2;
    const std::size_t end = std::min(text.find_first_of("/?#", i), text.size());
    std::string authority = text.substr(i, end - i);
    i = end;
    const std::size_t at = authority.rfind('@');
    if (at != std::string::npos) authority = authority.substr(at + 1);
    std::string portText;
    if (!authority.empty() && authority.front() == '[') {
      const std::size_t close = authority.find(']');
      if (close == std::string::npos) return false;
      _host = authority.substr(0, close + 1);
      const std::string rest = authority.substr(close + 1);
      if (!rest.empty() && rest.front() != ':') return false;
      if (!rest.empty()) portText = rest.substr(1);
    } else {
      if (authority.find_first_of("[]") != std::string::npos) return false;
      const std::size_t portColon = authority.rfind(':');
      _host = authority.substr(0, portColon);
      if (portColon != std::string::npos) portText = authority.substr(portColon + 1);
    }
    if (!portText.empty()) {
      if (portText.size() > 5) return false;
      for (char c : portText) {
        if (!std::isdigit(static_cast<unsigned char>(c))) return false;
      }
      const int port = std::stoi(portText);
      if (port > 65535) return false;
      _port = port;
    }
  }
  const std::size_t pathEnd = std::min(text.find_first_of("?#", i), text.size());
  _path = text.substr(i, pathEnd - i);
  if (_path.find_first_of("[]") != std::string::npos) return false;
  i = pathEnd;
  if (i < text.size() && text[i] == '?') {
    const std::size_t queryEnd = std::min(text.find('#', i), text.size());
    _query = text.substr(i + 1, queryEnd - i - 1);
    if (_query->find_first_of("[]") != std::string::npos) return false;
    i = queryEnd;
  }
  if (i < text.size() && text[i] == '#') {
    _fragment = text.substr(i + 1);
    if (_fragment->find_first_of("#[]") != std::string::npos) return false;
  }
  return true;
}

std::string NSURL::path() const {
  return percentDecode(_path);
}

std::shared_ptr<NSURL> NSURL::URLByAppendingPathComponent(const std::string& component) const {
  std::string text = _scheme.empty() ? "" : _scheme + ":";
  if (!_host.empty() || isFileURL()) {
    text += "//" + _host;
    if (_port) text += ":" + std::to_string(*_port);
  }
  std::string path = _path;
  if (path.empty() || path.back() != '/') path += '/';
  text += path + percentEncode(component, kPathAllowed);
  if (_query) text += "?" + *_query;
  if (_fragment) text += "#" + *_fragment;
  auto url = std::make_shared<NSURL>(Passkey(), text);
  return url->parse() ? url : nullptr;
}

bool NSURL::isEqual(const Object& other) const {
  const auto* url = dynamic_cast<const NSURL*>(&other);
  return url != nullptr && url->_text == _text;
}

std::size_t NSURL::hash() const {
  return std::hash<std::string>{}(_text);
}

}  // namespace zu
