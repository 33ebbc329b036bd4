#include "zukit/platform/foundation/NSString.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <span>

#include "zukit/platform/foundation/AtomicFile.h"
#include "zukit/platform/foundation/Unicode.h"

namespace zu {

namespace {

// Mode of text files written here, as the platform's file writes leave them.
constexpr mode_t kTextFileMode = 0644;

bool fail(NSErrorOut error, std::shared_ptr<NSError> made) {
  if (error != nullptr) *error = std::move(made);
  return false;
}

bool encodable(std::string_view text, NSStringEncoding encoding) {
  if (encoding == NSUTF8StringEncoding) return isValidUtf8(text);
  if (encoding == NSASCIIStringEncoding) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
  }
  return false;
}

std::shared_ptr<NSError> encodingError(NSInteger code, const std::string& path) {
  return NSError::errorWithDomain(
      NSCocoaErrorDomain, code,
      Dictionary{{NSLocalizedDescriptionKey,
                  Value(std::string("The text cannot be represented in the requested encoding."))},
                 {"NSFilePath", Value(path)}});
}

int writeDirectly(const std::string& path, std::string_view text) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kTextFileMode);
  if (fd < 0) return errno;
  std::size_t written = 0;
  int result = 0;
  while (written < text.size()) {
    const ssize_t count = ::write(fd, text.data() + written, text.size() - written);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) {
      result = count < 0 ? errno : EIO;
      break;
    }
    written += static_cast<std::size_t>(count);
  }
  if (::close(fd) != 0 && result == 0) result = errno;
  return result;
}

}  // namespace

bool NSString::writeToURL(std::string_view text, const std::shared_ptr<NSURL>& url, bool atomically,
                          NSStringEncoding encoding, NSErrorOut error) {
  if (!url || !url->isFileURL()) {
    return fail(error, fileError(EINVAL, url ? url->absoluteString() : std::string()));
  }
  const std::string path = url->path();
  if (!encodable(text, encoding)) {
    return fail(error, encodingError(NSFileWriteInapplicableStringEncodingError, path));
  }
  const int result =
      atomically
          ? writeFileAtomically(
                path, std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()),
                kTextFileMode)
          : writeDirectly(path, text);
  return result == 0 ? true : fail(error, fileError(result, path));
}

std::optional<std::string> NSString::stringWithContentsOfURL(const std::shared_ptr<NSURL>& url,
                                                             NSStringEncoding encoding,
                                                             NSErrorOut error) {
  if (!url || !url->isFileURL()) {
    fail(error, fileError(EINVAL, url ? url->absoluteString() : std::string()));
    return std::nullopt;
  }
  const std::string path = url->path();
  const auto bytes = NSFileManager::defaultManager()->contentsAtPath(path);
  if (!bytes) {
    fail(error, fileError(errno != 0 ? errno : ENOENT, path));
    return std::nullopt;
  }
  std::string text(bytes->begin(), bytes->end());
  if (!encodable(text, encoding)) {
    fail(error, encodingError(NSFileReadInapplicableStringEncodingError, path));
    return std::nullopt;
  }
  return text;
}

}  // namespace zu
