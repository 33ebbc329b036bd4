// Preference files: the bytes replace a named suite's file. The suite reads what the file holds
// (nothing when it is not a dictionary property list), a write then keeps every value read
// and adds its own, and a damaged file is kept aside byte for byte, never lost.

#include <filesystem>
#include <string>

#include "tests/fuzz/FuzzSupport.h"
#include "zukit/platform/foundation/NSPropertyListSerialization.h"
#include "zukit/platform/foundation/NSUserDefaults.h"
#include "zukit/storage/ZuUserDefaults.h"

namespace {

constexpr const char* kSuite = "fuzz.suite";
constexpr const char* kAddedKey = "zukit.fuzz.added";

zu::Value plistOf(const std::string& bytes) {
  return zu::NSPropertyListSerialization::propertyListWithData(zu::Data(bytes.begin(), bytes.end()),
                                                               0);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  zukit::fuzz::useTemporaryHome();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using zukit::fuzz::canonicalBytes;
  using zukit::fuzz::check;
  const std::string path = zu::NSUserDefaults::pathForDomain(kSuite);
  const std::string aside = path + ".corrupt";
  const std::string input = zukit::fuzz::textOf(data, size);
  zukit::fuzz::replaceFile(path, input);

  // An empty file is an empty domain; anything else must be a dictionary property list.
  const zu::Value plist = input.empty() ? zu::Value(zu::Dictionary()) : plistOf(input);
  const bool damaged = !plist.isDictionary();
  const zu::Dictionary expected = damaged ? zu::Dictionary() : *plist.asDictionary();

  const auto defaults = zu::NSUserDefaults::initWithSuiteName(zu::Value(kSuite));
  check(canonicalBytes(zu::Value(defaults->dictionaryRepresentation())) ==
            canonicalBytes(zu::Value(expected)),
        "the suite does not read what its file holds");
  if (!expected.empty()) {
    const std::string& key = expected.begin()->first;
    check(canonicalBytes(ZuUserDefaults::initWithName(zu::Value(kSuite))->objectForKey(key)) ==
              canonicalBytes(expected.begin()->second),
          "ZuUserDefaults reads another value than the file holds");
  }

  defaults->setInteger(static_cast<zu::NSInteger>(size), kAddedKey);
  check(defaults->synchronize(), "synchronize failed");
  zu::Dictionary after = expected;
  after.setObject(zu::Value(static_cast<zu::NSInteger>(size)), kAddedKey);
  const auto written = zukit::fuzz::readWholeFile(path);
  check(written && canonicalBytes(plistOf(*written)) == canonicalBytes(zu::Value(after)),
        "a write lost or changed a value that was read");

  const auto kept = zukit::fuzz::readWholeFile(aside);
  check(damaged == kept.has_value(), "a file was kept aside when, and only when, damaged");
  check(!kept || *kept == input, "a damaged file was not kept aside as it was");
  std::filesystem::remove(aside);
  return 0;
}
