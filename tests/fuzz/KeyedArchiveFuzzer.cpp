// Keyed archives: whatever decodes can be described, and, when the archiver takes it, archives
// to bytes that decode to the same value and archive to the same bytes again.

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

  // Text holding NUL or not UTF-8 is refused by the archiver; everything else it takes.
  const auto first = zu::NSKeyedArchiver::archivedDataWithRootObject(value);
  if (!first) return 0;
  const zu::Value reread = zu::NSKeyedUnarchiver::unarchiveObjectWithData(*first);
  check(!reread.isAbsent(), "an archive the archiver wrote does not decode");
  check(reread.description() == value.description(), "a value changed through an archive");
  check(zu::NSKeyedArchiver::archivedDataWithRootObject(reread) == first,
        "archive bytes changed after a decode and an encode");
  return 0;
}
