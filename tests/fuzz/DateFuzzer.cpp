// Dates from text: any pattern and text (the bytes before the first NUL are the pattern) parse
// and format without fault, and under the default pattern a parsed date survives a round trip
// through its text. The first eight bytes, read as a double, are also formatted and described.

#include <cstring>
#include <optional>
#include <string>

#include "tests/fuzz/FuzzSupport.h"
#include "zukit/platform/foundation/Format.h"
#include "zukit/utils/ZuUtils.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  zukit::fuzz::useTemporaryHome();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using zukit::fuzz::check;
  const std::string input = zukit::fuzz::textOf(data, size);
  const std::size_t nul = input.find('\0');
  const std::string pattern = nul == std::string::npos ? std::string() : input.substr(0, nul);
  const std::string text = nul == std::string::npos ? input : input.substr(nul + 1);

  if (const auto date = ZuUtils::dateFromString(zu::Value(text), zu::Value(pattern))) {
    (void)ZuUtils::stringFromDate(date, zu::Value(pattern));
    (void)date->description();
  }

  // "yyyy-MM-dd HH:mm:ss" in UTC names each second once: text made from a date reads back as it.
  if (const auto date = ZuUtils::dateFromString(zu::Value(text)); date && !text.empty()) {
    const auto written = ZuUtils::stringFromDate(date);
    check(written.has_value(), "a parsed date has no text");
    const auto reread = ZuUtils::dateFromString(zu::Value(*written));
    check(reread == date, "a date's text does not read back as the date");
    check(ZuUtils::stringFromDate(reread) == written, "a date's text is not stable");
  }

  if (size >= sizeof(double)) {
    double seconds = 0;
    std::memcpy(&seconds, data, sizeof seconds);
    const zu::Date date = zu::Date::dateWithTimeIntervalSince1970(seconds);
    (void)zu::format("%@", zu::Value(date));
    (void)ZuUtils::stringFromDate(date, zu::Value(pattern));
  }
  return 0;
}
