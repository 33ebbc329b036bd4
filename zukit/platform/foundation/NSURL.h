#pragma once

#include <memory>
#include <optional>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// A URL reference (RFC 3986): absolute ("https://host/a?b") or relative ("/a?b"). Like the
// platform it refuses text with characters that a URL may not hold unescaped (blanks, controls,
// non-ASCII, quotes, angle brackets, braces, "|", "\", "^", "`", stray "%", a second "#").
class ZU_EXPORT NSURL final : public Object {
 public:
  ZU_RUNTIME_CLASS(NSURL, Object)
  // The URL for `text`; none when the text is not valid text or not a well-formed URL.
  static std::shared_ptr<NSURL> URLWithString(const Value& text);
  // A "file://" URL for the path, percent-escaping what a path may not hold; a relative path is
  // taken from the current directory. None for an empty path.
  static std::shared_ptr<NSURL> fileURLWithPath(const std::string& path);

  // The whole URL as text.
  const std::string& absoluteString() const { return _text; }
  // The scheme ("https"), empty for a relative reference.
  const std::string& scheme() const { return _scheme; }
  // The host, empty when there is no authority.
  const std::string& host() const { return _host; }
  // The port, when the authority names one.
  std::optional<int> port() const { return _port; }
  // The path with percent escapes decoded.
  std::string path() const;
  // The path as written.
  const std::string& percentEncodedPath() const { return _path; }
  // The query after "?", when there is one.
  const std::optional<std::string>& query() const { return _query; }
  // The fragment after "#", when there is one.
  const std::optional<std::string>& fragment() const { return _fragment; }
  // True for the "file" scheme.
  bool isFileURL() const { return _scheme == "file"; }
  // True when the URL has a scheme.
  bool isAbsolute() const { return !_scheme.empty(); }
  // The URL with "/" and the escaped component added to its path.
  std::shared_ptr<NSURL> URLByAppendingPathComponent(const std::string& component) const;

  // The absolute text.
  std::string description() const override { return _text; }
  bool isEqual(const Object& other) const override;
  std::size_t hash() const override;

  // Made by URLWithString() and fileURLWithPath() only.
  class Passkey {
    friend class NSURL;
    Passkey() = default;
  };
  NSURL(Passkey /*unused*/, std::string text) : _text(std::move(text)) {}

 private:
  bool parse();

  std::string _text;
  std::string _scheme;
  std::string _host;
  std::optional<int> _port;
  std::string _path;
  std::optional<std::string> _query;
  std::optional<std::string> _fragment;
};

// `text` with every byte outside `allowed` (and outside ASCII letters and digits) written as
// "%XX".
ZU_EXPORT std::string percentEncode(const std::string& text, const std::string& allowed);
// `text` with "%XX" escapes decoded; malformed escapes stay as they are.
ZU_EXPORT std::string percentDecode(const std::string& text);

}  // namespace zu
