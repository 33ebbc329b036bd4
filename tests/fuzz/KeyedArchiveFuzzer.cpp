// Keyed archives: whatever decodes can be described and archived again, to bytes that decode
// to the same value and archive to the same bytes again.

#include <string>

#include "tests/fuzz/FuzzSupport.h"
#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/foundation/NSKeyedArchiver.h"
#include "zukit/platform/foundation/NSKeyedUnarchiver.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using zukit::fuzz::check;
  const zu::Data bytes(data, data + size);
  const zu::Value value = zu::NSKeyedUnarchiver::unarchiveObjectWithData(bytes);
  if (value.isAbsent()) return 0;
  (void)zu::format("%@", value);

  // Decoded text is always UTF-8, and decoded nesting within the archiver's limit.
  const auto first = zu::NSKeyedArchiver::archivedDataWithRootObject(value);
  check(first.has_value(), "a decoded graph cannot be archived");
  const zu::Value reread = zu::NSKeyedUnarchiver::unarchiveObjectWithData(*first);
  check(!reread.isAbsent(), "an archive the archiver wrote does not decode");
  // Binary property lists cannot hold NSNull, descriptions drop fractions of seconds: both.
  check(zukit::fuzz::canonicalBytes(reread) == zukit::fuzz::canonicalBytes(value) &&
            reread.description() == value.description(),
        "a value changed through an archive");
  check(zu::NSKeyedArchiver::archivedDataWithRootObject(reread) == first,
        "archive bytes changed after a decode and an encode");
  return 0;
}
