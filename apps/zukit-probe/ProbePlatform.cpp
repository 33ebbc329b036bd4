// Probe commands for platform services seen across processes.

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "apps/zukit-probe/ProbeCommand.h"
#include "zukit/platform/foundation/NSUserDefaults.h"

namespace zukit::probe {

namespace {

// platform-defaults set SUITE KEY TEXT | get SUITE KEY | count SUITE N PREFIX
//   | date SUITE KEY SECONDS | seconds SUITE KEY
// SUITE "-" is the standard store. "get" prints the value's description; "count" sets N keys
// PREFIX<i> one synchronize at a time, to race another process; "date" stores the date SECONDS
// after 1970 and "seconds" prints a stored date's seconds to the last bit ("%.17g").
int runDefaults(const std::vector<std::string>& arguments) {
  if (arguments.size() < 3) return 2;
  const std::string& op = arguments[0];
  const zu::Value suite = arguments[1] == "-" ? zu::Value() : zu::Value(arguments[1]);
  const auto defaults = zu::NSUserDefaults::initWithSuiteName(suite);
  if (!defaults) {
    printLine("no store");
    return 3;
  }
  if (op == "set" && arguments.size() == 4) {
    defaults->setObject(zu::Value(arguments[3]), arguments[2]);
    return defaults->synchronize() ? 0 : 4;
  }
  if (op == "get") {
    printLine(defaults->objectForKey(arguments[2]).description());
    return 0;
  }
  if (op == "date" && arguments.size() == 4) {
    const double seconds = std::strtod(arguments[3].c_str(), nullptr);
    defaults->setObject(zu::Value(zu::Date::dateWithTimeIntervalSince1970(seconds)), arguments[2]);
    return defaults->synchronize() ? 0 : 4;
  }
  if (op == "seconds") {
    const zu::Value value = defaults->objectForKey(arguments[2]);
    if (!value.isDate()) {
      printLine("no date");
      return 0;
    }
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", value.asDate()->timeIntervalSince1970());
    printLine(text);
    return 0;
  }
  if (op == "count" && arguments.size() == 4) {
    const int count = std::stoi(arguments[2]);
    for (int i = 0; i < count; ++i) {
      defaults->setInteger(i, arguments[3] + std::to_string(i));
      if (!defaults->synchronize()) return 4;
    }
    return 0;
  }
  return 2;
}

const ProbeRegistration kDefaults("platform-defaults",
                                  "set SUITE KEY TEXT | get SUITE KEY | count SUITE N PREFIX | "
                                  "date SUITE KEY SECONDS | seconds SUITE KEY",
                                  &runDefaults);

}  // namespace

}  // namespace zukit::probe
