#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/foundation/NSURL.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// Text encodings that text files are read and written in.
enum NSStringEncoding : unsigned long {
  NSASCIIStringEncoding = 1,
  NSUTF8StringEncoding = 4,
};

// Error codes of text files, in NSCocoaErrorDomain.
inline constexpr NSInteger NSFileReadInapplicableStringEncodingError = 261;
inline constexpr NSInteger NSFileWriteInapplicableStringEncodingError = 517;

// Text files: the file-reading and file-writing methods of the platform's string class.
// Text is UTF-8 in memory; stateless and safe from any thread.
class ZU_EXPORT NSString {
 public:
  ZU_RUNTIME_CLASS_NAME(NSString, Object)
  // Writes `text` in `encoding` (no byte-order mark) to the file URL `url`. Atomically: through
  // a temporary file that then replaces the target, so readers see the old or the new text
  // whole. Missing directories are not created. False, with an error, for an absent or non-file
  // URL, text that `encoding` cannot hold (bytes that are not UTF-8 included), or a failed write.
  static bool writeToURL(std::string_view text, const std::shared_ptr<NSURL>& url, bool atomically,
                         NSStringEncoding encoding, NSErrorOut error = nullptr);
  // The text of the file at the file URL `url` read in `encoding`; none, with an error, for an
  // absent or non-file URL, a missing or unreadable file, or bytes not valid in `encoding`.
  static std::optional<std::string> stringWithContentsOfURL(const std::shared_ptr<NSURL>& url,
                                                            NSStringEncoding encoding,
                                                            NSErrorOut error = nullptr);
};

}  // namespace zu
