// The tour's storage section: the vendor UUID kept in the keychain, the environment value in the
// shared app-group store, named defaults and a keyed archive. The sandbox persists between runs,
// so a second run finds what the first one stored.

#include <string>
#include <vector>

#include "apps/zukit-demo/DemoSection.h"
#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/foundation/NSSearchPath.h"
#include "zukit/platform/security/SecItem.h"
#include "zukit/storage/ZuDataArchiver.h"
#include "zukit/storage/ZuUserDefaults.h"
#include "zukit/storage/ZuUserShare.h"
#include "zukit/utils/ZuUtils.h"

namespace zukit::demo {

namespace {

// The app group that the demo's Info.plist declares under "ZuKitAppGroups".
constexpr const char* kGroup = "group.cn.com.quorvel.ZuKitDemo";

void showIdentity(DemoContext& /*context*/) {
  sayf("system version %@, bundle identifier %@", ZuUtils::getOSVersion(),
       ZuUtils::getAppBundleId().value_or("(none)"));
  const zu::Value uuid(ZuUtils::getUUID().value_or(""));
  sayf("vendor UUID (kept in the data home): %@", uuid);
  const zu::Value before = ZuUtils::getUUIDWithKeychain();
  const bool stored = before.isString() && before.count() > 0;
  sayf("keychain item \"UUID\" before saving: %@",
       stored ? before : zu::Value("empty (first run)"));
  ZuUtils::saveUUIDWithKeyChain();
  const zu::Value after = ZuUtils::getUUIDWithKeychain();
  sayf("keychain item \"UUID\" after saving:  %@", after);
  sayf("the keychain holds the vendor UUID: %@", after == uuid ? "yes" : "no");
  sayf(stored ? "found from an earlier run: saving wrote nothing"
              : "saved now: the next run will find this same UUID");
}

// The name of an environment value, as the HTTP client reads it.
const char* environmentName(zu::NSInteger value) {
  switch (value) {
    case 0:
      return "distribution";
    case 1:
      return "test";
    case 2:
      return "development";
    default:
      return "unknown";
  }
}

void showSharedStore(DemoContext& /*context*/) {
  const auto share = ZuUserShare::share();
  const zu::Value key("envType");
  const zu::Value group(kGroup);
  const auto container =
      zu::NSFileManager::defaultManager()->containerURLForSecurityApplicationGroupIdentifier(group);
  sayf("container of %@: %@", kGroup, container ? container->path() : std::string("none"));
  const zu::NSInteger current = ZuUtils::getEnvironmentWithGroupIdentifier(group);
  const zu::NSInteger next = current >= 0 && current < 2 ? current + 1 : 0;
  sayf("environment read: %ld (%@)", current, environmentName(current));
  share->setInteger(next, key, group);
  sayf("switched envType to %ld; the file holds \"%@\"", next,
       share->objectForKey(key, group).value_or("(nothing)"));
  const zu::NSInteger readBack = ZuUtils::getEnvironmentWithGroupIdentifier(group);
  sayf("environment read back: %ld (%@)", readBack, environmentName(readBack));
  sayf("an app outside the group reads: %ld",
       ZuUtils::getEnvironmentWithGroupIdentifier(zu::Value("group.not.ours")));
}

void showDefaultsAndArchive(DemoContext& /*context*/) {
  const auto defaults =
      ZuUserDefaults::defaultsWithName(zu::Value("cn.com.quorvel.ZuKitDemo.suite"));
  const zu::NSInteger runs = defaults->integerForKey("runs") + 1;
  defaults->setInteger(runs, "runs");
  sayf("named defaults %@: this is run %ld", defaults->name(), runs);
  sayf("a later defaultsWithName with another name returns the same suite: %@",
       ZuUserDefaults::defaultsWithName(zu::Value("Other")) == defaults ? "yes" : "no");

  const std::vector<std::string> documents =
      zu::NSSearchPathForDirectoriesInDomains(zu::NSDocumentDirectory, zu::NSUserDomainMask, true);
  const std::string path =
      (documents.empty() ? std::string(".") : documents.front()) + "/demo.archive";
  zu::NSFileManager::defaultManager()->createDirectoryAtPath(
      documents.empty() ? std::string(".") : documents.front(), true);
  const zu::Value graph(zu::Dictionary{
      {"run", zu::Value(runs)},
      {"savedAt", zu::Value(zu::Date::date())},
      {"tags", zu::Value(zu::Array{zu::Value("keyed"), zu::Value("archive"), zu::Value::null()})}});
  sayf("archive written to %@: %@", path, ZuDataArchiver::setData(graph, path) ? "YES" : "NO");
  sayf("archive read back equals what was written: %@",
       ZuDataArchiver::getDataForPath(path) == graph ? "yes" : "no");
  sayf("archiving no object gives %@", ZuDataArchiver::setData(zu::Value(), path) ? "YES" : "NO");
}

const DemoRegistration kIdentity(30, "Device identity and the keychain", &showIdentity);
const DemoRegistration kSharedStore(31, "Shared app-group store", &showSharedStore);
const DemoRegistration kDefaults(32, "Named defaults and keyed archives", &showDefaultsAndArchive);

}  // namespace

}  // namespace zukit::demo
