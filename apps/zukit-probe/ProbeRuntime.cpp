// Probe commands for the object runtime as a fresh process first sees it.

#include <string>
#include <vector>

#include "apps/zukit-probe/ProbeCommand.h"
#include "zukit/platform/runtime/Runtime.h"
#include "zukit/utils/ZuUtils.h"

namespace zukit::probe {

namespace {

// runtime-classes NAME...: as the process's first runtime calls, prints for each name its
// superclass chain ("NSNumber < NSValue < NSObject"), or "NAME: unknown".
int runClasses(const std::vector<std::string>& arguments) {
  for (const std::string& name : arguments) {
    const zu::Class* cls = zu::NSClassFromString(zu::Value(name));
    if (cls == nullptr) {
      printLine(name + ": unknown");
      continue;
    }
    std::string chain = cls->name();
    for (cls = cls->superclass(); cls != nullptr; cls = cls->superclass())
      chain += " < " + cls->name();
    printLine(chain);
  }
  return 0;
}

// runtime-universal-links TEXT...: ZuUtils isUniversalLink: of each text, as the process's first
// calls, "TEXT: YES" or "TEXT: NO".
int runUniversalLinks(const std::vector<std::string>& arguments) {
  for (const std::string& text : arguments)
    printLine(text + (ZuUtils::isUniversalLink(zu::Value(text)) ? ": YES" : ": NO"));
  return 0;
}

const ProbeRegistration kClasses("runtime-classes", "NAME...", &runClasses);
const ProbeRegistration kUniversalLinks("runtime-universal-links", "TEXT...", &runUniversalLinks);

}  // namespace

}  // namespace zukit::probe
