// JSON: whatever reads, and can be written, writes the same text again after one more read and
// write; the dictionary category writes what the writer writes.

#include <optional>
#include <string>

#include "tests/fuzz/FuzzSupport.h"
#include "zukit/platform/foundation/NSJSONSerialization.h"
#include "zukit/utils/NSDictionary+ZuJson.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using zu::NSJSONSerialization;
  using zukit::fuzz::check;
  const zu::Data bytes(data, data + size);
  const zu::Value value =
      NSJSONSerialization::JSONObjectWithData(bytes, zu::NSJSONReadingFragmentsAllowed);
  if (value.isAbsent()) return 0;
  (void)value.description();

  for (const unsigned long options :
       {0UL, static_cast<unsigned long>(zu::NSJSONWritingPrettyPrinted),
        static_cast<unsigned long>(zu::NSJSONWritingSortedKeys |
                                   zu::NSJSONWritingWithoutEscapingSlashes)}) {
    const unsigned long writing = options | zu::NSJSONWritingFragmentsAllowed;
    const auto first = NSJSONSerialization::dataWithJSONObject(value, writing);
    if (!first) continue;
    const zu::Value reread =
        NSJSONSerialization::JSONObjectWithData(*first, zu::NSJSONReadingFragmentsAllowed);
    check(!reread.isAbsent(), "written JSON does not read");
    const auto second = NSJSONSerialization::dataWithJSONObject(reread, writing);
    check(second == first, "JSON text changed after a read and a write");
  }

  if (const zu::Dictionary* dictionary = value.asDictionary()) {
    const auto text = zu_dictionaryToJson(*dictionary);
    const auto pretty =
        NSJSONSerialization::dataWithJSONObject(value, zu::NSJSONWritingPrettyPrinted);
    check(text.has_value() == pretty.has_value() &&
              (!text || *text == std::string(pretty->begin(), pretty->end())),
          "zu_dictionaryToJson differs from the pretty-printing writer");
  }
  return 0;
}
