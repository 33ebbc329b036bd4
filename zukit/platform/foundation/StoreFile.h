#pragma once

// Internal to libzukit (not installed, not exported): how the stores read, keep aside and replace
// their files.

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "zukit/platform/foundation/Value.h"

namespace zu {

// The file behind a store (a keychain access group, a preferences domain), as read once, and
// what a store does with one it cannot make sense of: it keeps the file aside under a name of
// its own, never replaces or overwrites it, and says so on the console. A higher layer that
// wants those reports too (the ZuKit wrappers log them at level 5; this layer cannot reach the
// logger) collects them on its thread with a StoreFile::Reports for the length of its call.
class StoreFile {
 public:
  // What reading found.
  enum class State : std::uint8_t {
    // No file: the store is empty.
    Missing,
    // The bytes were read.
    Read,
    // A file is there but could not be read (permissions, a directory): leave it alone.
    Unreadable,
  };

  // A file's identity and time stamp: a file replaced atomically gets a new inode.
  struct Signature {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    long long modified = 0;
    bool operator==(const Signature&) const = default;
  };

  // Collects the reports made on this thread while it lives; collectors nest, and the innermost
  // one collects.
  class Reports {
   public:
    Reports();
    ~Reports();
    Reports(const Reports&) = delete;
    Reports& operator=(const Reports&) = delete;

    // The reports so far, in order.
    const std::vector<std::string>& messages() const { return _messages; }

   private:
    friend class StoreFile;
    Reports* _outer;
    std::vector<std::string> _messages;
  };

  // Reads the whole file at `path`, with the signature of what was read.
  static StoreFile read(const std::string& path);
  // The signature of the file at `path` now; none when there is none.
  static std::optional<Signature> signatureAt(const std::string& path);
  // Renames `path` to the first free name of "<path>.corrupt", "<path>.corrupt-2", ...; that
  // name, or none (errno set) when it could not be renamed. The caller holds the store's lock.
  static std::optional<std::string> keepAside(const std::string& path);
  // Writes `message` to the console (NSLog) and hands it to this thread's innermost Reports.
  static void report(const std::string& message);

  State state = State::Missing;
  // The bytes, when read.
  Data bytes;
  // The errno value, when unreadable.
  int error = 0;
  // The signature of the file read; none when missing or unreadable.
  std::optional<Signature> signature;
};

}  // namespace zu
