// Probe commands for platform services seen across processes.

#include <string>
#include <vector>

#include "apps/zukit-probe/ProbeCommand.h"
#include "zukit/platform/foundation/NSUserDefaults.h"

namespace zukit::probe {

namespace {

// platform-defaults set SUITE KEY TEXT | defaults get SUITE KEY | defaults count SUITE N PREFIX
// SUITE "-" is the standard store. "get" prints the value's description; "count" sets N keys
// PREFIX<i> one synchronize at a time, to race another process.
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
                                  "set SUITE KEY TEXT | get SUITE KEY | count SUITE N PREFIX",
                                  &runDefaults);

}  // namespace

}  // namespace zukit::probe
