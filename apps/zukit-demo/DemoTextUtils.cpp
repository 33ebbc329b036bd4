// The tour's text-utility section: dates, base64, placeholders, links, the circle test and
// dictionary JSON.

#include <string>

#include "apps/zukit-demo/DemoSection.h"
#include "zukit/platform/foundation/Date.h"
#include "zukit/platform/ui/Geometry.h"
#include "zukit/utils/NSDictionary+ZuJson.h"
#include "zukit/utils/ZuUtils.h"

namespace zukit::demo {

namespace {

void showTextUtilities(DemoContext& /*context*/) {
  const auto now = zu::Date::date();
  sayf("now, local: %@; day: %@", ZuUtils::stringFromDate(now).value_or("?"),
       ZuUtils::stringFromDate(now, zu::Value("yyyy-MM-dd")).value_or("?"));
  const auto parsed = ZuUtils::dateFromString(zu::Value("2020-01-01 10:05:00"));
  const auto other = ZuUtils::dateFromString(zu::Value("2021-07-09 10:59:59"));
  sayf("10:05:00 and 10:59:59 on other days: same hour %@, same minute %@",
       ZuUtils::isSameHour(parsed, other) ? "YES" : "NO",
       ZuUtils::isSameMinute(parsed, other) ? "YES" : "NO");
  sayf("an empty text parses as now: %@",
       ZuUtils::dateFromString(zu::Value("")).has_value() ? "yes" : "no");
  sayf("compareOneDay (prints its console line first): %d", ZuUtils::compareOneDay(parsed, other));

  const auto encoded = ZuUtils::base64Encode(zu::Value("k1__#Zu#__1600000000"));
  sayf("base64 of \"k1__#Zu#__1600000000\": %@", encoded.value_or("(none)"));
  sayf("decoded back across a line break: %@",
       ZuUtils::base64Decode(zu::Value("azFfXyNadSNf\nXzE2MDAwMDAwMDA=")).value_or("(none)"));

  const auto placeholders =
      ZuUtils::getStringInBracesWithString(zu::Value("Hello ${name}, you have ${count} messages"));
  std::string list;
  for (const std::string& placeholder : placeholders.value_or(std::vector<std::string>{})) {
    list += (list.empty() ? "" : ", ") + placeholder;
  }
  sayf("placeholders: %@", list);
  sayf("universal links: https://a %@, HTTP://a %@, NSObject %@",
       ZuUtils::isUniversalLink(zu::Value("https://a")) ? "YES" : "NO",
       ZuUtils::isUniversalLink(zu::Value("HTTP://a")) ? "YES" : "NO",
       ZuUtils::isUniversalLink(zu::Value("NSObject")) ? "YES" : "NO");
  sayf("(50, 95) in the circle of (0, 0, 100, 40): %@",
       ZuUtils::point(zu::CGPointMake(50, 95), zu::CGRectMake(0, 0, 100, 40)) ? "YES" : "NO");

  zu::Dictionary body;
  body.setObject(zu::Value("ZuKit"), "name");
  body.setObject(zu::Value(zu::Array{zu::Value(1), zu::Value("a/b")}), "list");
  say("a dictionary as JSON:");
  say(zu_dictionaryToJson(body).value_or("(none)"));
}

const DemoRegistration kTextUtilities(20, "Date, text and JSON utilities", &showTextUtilities);

}  // namespace

}  // namespace zukit::demo
