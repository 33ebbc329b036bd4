// Disk-cache index entries: any text splits into parts without fault, the parts put together
// again are the decoded entry, and an entry made from a key and a second gives them back.

#include <cstring>
#include <string>
#include <vector>

#include "tests/fuzz/FuzzSupport.h"
#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/foundation/Unicode.h"
#include "zukit/storage/ZuDiskCache.h"
#include "zukit/utils/ZuUtils.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using zukit::fuzz::check;
  const std::string separator = ZuDiskCache::kEntrySeparator;
  const std::string text = zukit::fuzz::textOf(data, size);

  const std::vector<std::string> parts = ZuDiskCache::componentsOfEntry(text);
  const auto second = ZuDiskCache::storingSecondOfComponents(parts);
  check(second.has_value() == (parts.size() >= 2), "a second without a second part");
  if (!parts.empty()) {
    std::string joined = parts.front();
    for (std::size_t i = 1; i < parts.size(); ++i)
      joined += separator + parts[i];
    check(ZuUtils::base64Decode(zu::Value(text)) == joined,
          "the parts do not make up the decoded entry");
  }

  // A key: the input as UTF-8 text (Latin-1 when it is not), without the separator.
  if (size < sizeof(long)) return 0;
  long stored = 0;
  std::memcpy(&stored, data, sizeof stored);
  std::string key = text.substr(sizeof stored);
  if (!zu::isValidUtf8(key)) key = zu::utf8FromLatin1(key);
  for (std::size_t at = key.find(separator); at != std::string::npos; at = key.find(separator))
    key.erase(at, separator.size());
  // A key whose end and the separator make an earlier separator is cut there, by design.
  const std::string plain = zu::format("%@%@%ld", key, separator, stored);
  if (key.empty() || plain.find(separator) != key.size()) return 0;
  const auto entry = ZuUtils::base64Encode(zu::Value(plain));
  check(entry.has_value(), "an entry could not be made");
  const std::vector<std::string> made = ZuDiskCache::componentsOfEntry(*entry);
  check(made == std::vector<std::string>{key, std::to_string(stored)},
        "an entry does not give back its key and second");
  check(ZuDiskCache::storingSecondOfComponents(made) == stored,
        "an entry does not give back its second");
  return 0;
}
