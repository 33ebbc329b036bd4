// Property lists, XML and binary: whatever reads can be written back as a binary property list,
// and both formats give the same bytes after one more read and write.

#include <string>

#include "tests/fuzz/FuzzSupport.h"
#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/foundation/NSPropertyListSerialization.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using zu::NSPropertyListSerialization;
  using zukit::fuzz::check;
  const zu::Data bytes(data, data + size);
  const zu::Value value = NSPropertyListSerialization::propertyListWithData(bytes, 0);
  if (value.isAbsent()) return 0;
  (void)zu::format("%@", value);
  check(NSPropertyListSerialization::propertyListIsValid(value), "what was read is not valid");

  for (const auto format :
       {zu::NSPropertyListBinaryFormat_v1_0, zu::NSPropertyListXMLFormat_v1_0}) {
    const auto first = NSPropertyListSerialization::dataWithPropertyList(value, format, 0);
    // XML may refuse text holding NUL and far dates; the binary format takes all that reads.
    if (!first) {
      check(format == zu::NSPropertyListXMLFormat_v1_0, "what was read cannot be written");
      continue;
    }
    zu::NSPropertyListFormat read = zu::NSPropertyListOpenStepFormat;
    const zu::Value reread = NSPropertyListSerialization::propertyListWithData(*first, 0, &read);
    check(!reread.isAbsent() && read == format, "a written property list does not read");
    if (format == zu::NSPropertyListBinaryFormat_v1_0) {
      check(zukit::fuzz::canonicalBytes(reread) == zukit::fuzz::canonicalBytes(value),
            "a value changed through the binary format");
    }
    const auto second = NSPropertyListSerialization::dataWithPropertyList(reread, format, 0);
    check(second == first, "property-list bytes changed after a read and a write");
  }
  return 0;
}
