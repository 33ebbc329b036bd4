#include "zukit/storage/ZuUserDefaults.h"

#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/foundation/NSUserDefaults.h"
#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/storage/ZuStoreDamageLog.h"

namespace {

// The store of one call: the named suite when the name is usable, else the standard store;
// none when the name cannot name a suite.
std::shared_ptr<zu::NSUserDefaults> storeFor(const zu::Value& name) {
  if (zu::isValidText(name)) return zu::NSUserDefaults::initWithSuiteName(name);
  return zu::NSUserDefaults::standardUserDefaults();
}

}  // namespace

std::shared_ptr<ZuUserDefaults> ZuUserDefaults::defaultsWithName(const zu::Value& name) {
  static zu::NoDestructor<std::shared_ptr<ZuUserDefaults>> defaults;
  static zu::dispatch_once_t onceToken;
  zu::dispatch_once(&onceToken, [&name] { *defaults = initWithName(name); });
  return *defaults;
}

std::shared_ptr<ZuUserDefaults> ZuUserDefaults::initWithName(const zu::Value& name) {
  return std::make_shared<ZuUserDefaults>(Passkey(), name);
}

void ZuUserDefaults::setObject(const zu::Value& value, const std::string& key) {
  const ZuStoreDamageLog damage("-[ZuUserDefaults setObject:forKey:]");
  const std::shared_ptr<zu::NSUserDefaults> store = storeFor(_name);
  if (!store) return;
  store->setObject(value, key);
  store->synchronize();
}

zu::Value ZuUserDefaults::objectForKey(const std::string& key) {
  const std::shared_ptr<zu::NSUserDefaults> store = storeFor(_name);
  return store ? store->objectForKey(key) : zu::Value();
}

void ZuUserDefaults::setInteger(zu::NSInteger value, const std::string& key) {
  const ZuStoreDamageLog damage("-[ZuUserDefaults setInteger:forKey:]");
  const std::shared_ptr<zu::NSUserDefaults> store = storeFor(_name);
  if (!store) return;
  store->setInteger(value, key);
  store->synchronize();
}

zu::NSInteger ZuUserDefaults::integerForKey(const std::string& key) {
  const std::shared_ptr<zu::NSUserDefaults> store = storeFor(_name);
  return store ? store->integerForKey(key) : 0;
}
