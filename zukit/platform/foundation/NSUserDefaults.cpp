#include "zukit/platform/foundation/NSUserDefaults.h"

#include "zukit/platform/foundation/Environment.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NSBundle.h"
#include "zukit/platform/foundation/NSLog.h"
#include "zukit/platform/foundation/NSPropertyListSerialization.h"
#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/platform/foundation/PreferenceDomain.h"

namespace zu {

namespace {

constexpr std::size_t kMaximumDomainLength = 200;

// The main bundle never changes, and so neither does the app's own domain.
const std::string& standardDomain() {
  static NoDestructor<std::string> domain(
      NSBundle::mainBundle()->bundleIdentifier().value_or("org.zukit.app"));
  return *domain;
}

// The standard store last handed out, and the configuration directory whose file it reads.
struct StandardStore {
  Mutex mutex;
  std::string configHome ZU_GUARDED_BY(mutex);
  std::shared_ptr<NSUserDefaults> defaults ZU_GUARDED_BY(mutex);
};

}  // namespace

std::string NSUserDefaults::pathForDomain(const std::string& domain) {
  return xdgConfigHome() + "/zukit/preferences/" + domain + ".plist";
}

std::shared_ptr<NSUserDefaults> NSUserDefaults::standardUserDefaults() {
  static NoDestructor<StandardStore> standard;
  // The directory is looked up on every call, so a changed environment gives the new file.
  std::string configHome = xdgConfigHome();
  MutexLock lock(standard->mutex);
  if (!standard->defaults || standard->configHome != configHome) {
    standard->defaults = std::make_shared<NSUserDefaults>(
        PreferenceDomain::domainAtPath(pathForDomain(standardDomain())));
    standard->configHome = std::move(configHome);
  }
  return standard->defaults;
}

std::shared_ptr<NSUserDefaults> NSUserDefaults::initWithSuiteName(const Value& suiteName) {
  const std::optional<std::string> name = validText(suiteName);
  if (!name) return standardUserDefaults();
  if (name->find('/') != std::string::npos || name->front() == '.' ||
      name->size() > kMaximumDomainLength || *name == "NSGlobalDomain" ||
      *name == standardDomain()) {
    return nullptr;
  }
  return std::make_shared<NSUserDefaults>(PreferenceDomain::domainAtPath(pathForDomain(*name)));
}

const std::string& NSUserDefaults::path() const {
  return _domain->path();
}

NSUserDefaults::NSUserDefaults(std::shared_ptr<PreferenceDomain> domain)
    : _domain(std::move(domain)) {}

Value NSUserDefaults::objectForKey(const std::string& key) const {
  return _domain->objectForKey(key);
}

void NSUserDefaults::setObject(const Value& value, const std::string& key) {
  if (!value.isAbsent() && !NSPropertyListSerialization::propertyListIsValid(value)) {
    NSLog("Attempt to set a non-property-list object %@ as a preferences value for key %@", value,
          key);
    return;
  }
  _domain->setObject(value, key);
}

void NSUserDefaults::removeObjectForKey(const std::string& key) {
  _domain->setObject({}, key);
}

NSInteger NSUserDefaults::integerForKey(const std::string& key) const {
  const Value value = objectForKey(key);
  return value.isNumber() || value.isString() ? static_cast<NSInteger>(value.integerValue()) : 0;
}

void NSUserDefaults::setInteger(NSInteger value, const std::string& key) {
  _domain->setObject(Value(value), key);
}

double NSUserDefaults::doubleForKey(const std::string& key) const {
  const Value value = objectForKey(key);
  return value.isNumber() || value.isString() ? value.doubleValue() : 0.0;
}

void NSUserDefaults::setDouble(double value, const std::string& key) {
  _domain->setObject(Value(value), key);
}

bool NSUserDefaults::boolForKey(const std::string& key) const {
  const Value value = objectForKey(key);
  return (value.isNumber() || value.isString()) && value.boolValue();
}

void NSUserDefaults::setBool(bool value, const std::string& key) {
  _domain->setObject(Value(value), key);
}

std::optional<std::string> NSUserDefaults::stringForKey(const std::string& key) const {
  const Value value = objectForKey(key);
  if (value.isString()) return *value.asString();
  if (value.isNumber()) return value.description();
  return std::nullopt;
}

std::optional<Array> NSUserDefaults::arrayForKey(const std::string& key) const {
  const Value value = objectForKey(key);
  if (const Array* array = value.asArray()) return *array;
  return std::nullopt;
}

std::optional<Data> NSUserDefaults::dataForKey(const std::string& key) const {
  const Value value = objectForKey(key);
  if (const Data* data = value.asData()) return *data;
  if (const std::string* text = value.asString()) return Data(text->begin(), text->end());
  return std::nullopt;
}

std::optional<Dictionary> NSUserDefaults::dictionaryForKey(const std::string& key) const {
  const Value value = objectForKey(key);
  if (const Dictionary* dictionary = value.asDictionary()) return *dictionary;
  return std::nullopt;
}

Dictionary NSUserDefaults::dictionaryRepresentation() const {
  return _domain->dictionaryRepresentation();
}

bool NSUserDefaults::synchronize() {
  return _domain->synchronize();
}

}  // namespace zu
