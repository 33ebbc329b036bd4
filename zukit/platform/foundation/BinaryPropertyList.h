#pragma once

// Internal to libzukit (not installed, not exported): the binary property-list reader and writer.

#include <cstdint>
#include <optional>
#include <span>

#include "zukit/platform/foundation/Value.h"

namespace zu {

// The platform's binary property-list format ("bplist00"), read and written here rather than
// through libplist, so that every value comes back exactly as it was written: dates keep their
// full double (libplist keeps whole seconds and microseconds, within 68 years of 2001), text may
// hold NUL (which libplist's accessors assert on), and integers keep their 64 bits.
//
// Reading is strict about the file's structure (header, trailer, offsets and references in
// range, no reference cycles, nesting of at most 512 levels, shared objects expanding to no more
// than 262,144 values and sixteen per byte of the file, nor to more than 16 MiB and 64 bytes per
// byte of the file of text and data) and lenient about text:
// text that the platform would store as Latin-1 bytes in an ASCII string reads as those Latin-1
// characters, and a UTF-16 surrogate without its partner reads as U+FFFD, so that whatever is
// read is valid UTF-8 and can be written back. Keyed-archive UIDs read as {"CF$UID": n}; sets as
// arrays; integers beyond the 64-bit range as reals. Stateless and safe from any thread.
class BinaryPropertyList {
 public:
  // True when `bytes` begin with the signature "bplist00".
  static bool hasSignature(std::span<const std::uint8_t> bytes);
  // The value that `bytes` hold; none when they are not a well-formed binary property list, or
  // hold NSNull or a dictionary key that is not text.
  static std::optional<Value> read(std::span<const std::uint8_t> bytes);
  // How write() treats a dictionary that holds only "CF$UID" and an integer from 0 to 2^32 - 1.
  enum class UidDictionaries : std::uint8_t {
    // As any other dictionary.
    Keep,
    // As the UID it reads as: what keyed archives refer to their objects by.
    WriteAsUids,
  };

  // The bytes of `value`; none when it holds what a property list cannot: an absent value (in
  // a collection or at the top), NSNull, an object, text that is not UTF-8, or nesting deeper
  // than 512 levels. Everything read() gives can be written. The same value always gives the
  // same bytes.
  static std::optional<Data> write(const Value& value,
                                   UidDictionaries uids = UidDictionaries::Keep);
  // The deepest nesting read or written: the top level is 0.
  static constexpr int kMaximumDepth = 512;
};

}  // namespace zu
