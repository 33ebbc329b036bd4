#include "zukit/storage/ZuDiskCache.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "zukit/platform/foundation/Clock.h"
#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/foundation/NSUserDefaults.h"
#include "zukit/storage/ZuStoreDamageLog.h"
#include "zukit/utils/ZuUtils.h"

namespace {

// The largest limit a trim acts on: a second from 2^31 - 1 on stops it.
constexpr long kLargestTrimLimit = 2147483646;

std::atomic<double>& initialAutoTrimInterval() {
  static std::atomic<double> interval{ZuDiskCache::kDefaultAutoTrimInterval};
  return interval;
}

// Seconds to a dispatch delay, truncated toward zero; NaN counts as no delay and the ends of the
// range saturate.
std::int64_t nanosecondsOf(double seconds) {
  const double nanoseconds = seconds * static_cast<double>(zu::NSEC_PER_SEC);
  if (std::isnan(nanoseconds)) return 0;
  if (nanoseconds >= 9.2e18) return std::numeric_limits<std::int64_t>::max();
  if (nanoseconds <= -9.2e18) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(nanoseconds);
}

}  // namespace

ZuDiskCache::ZuDiskCache(std::string indexKey, const char* queueLabel)
    : _lock(zu::dispatch_semaphore_create(1)),
      _autoTrimInterval(initialAutoTrimInterval().load(std::memory_order_relaxed)),
      _indexKey(std::move(indexKey)) {
  loadIndex();
  _queue = zu::dispatch_queue_create(queueLabel, zu::DISPATCH_QUEUE_CONCURRENT);
}

ZuDiskCache::~ZuDiskCache() = default;

void ZuDiskCache::setInitialAutoTrimIntervalForTesting(double seconds) {
  initialAutoTrimInterval().store(seconds, std::memory_order_relaxed);
}

void ZuDiskCache::reloadIndexForTesting() {
  loadIndex();
}

void ZuDiskCache::loadIndex() {
  Index index;
  const zu::Value stored = zu::NSUserDefaults::standardUserDefaults()->objectForKey(_indexKey);
  if (const zu::Array* list = stored.asArray(); list != nullptr && !list->empty()) {
    // An index edited by hand may hold other values: only its texts can be entries.
    for (const zu::Value& element : *list) {
      if (const std::string* entry = element.asString()) index.append(*entry);
    }
  }
  const zu::MutexLock lock(_keysMutex);
  _index = std::move(index);
}

std::vector<std::string> ZuDiskCache::keys() const {
  const zu::MutexLock lock(_keysMutex);
  return _index.entries();
}

std::optional<std::string> ZuDiskCache::entryAt(std::size_t position) const {
  const zu::MutexLock lock(_keysMutex);
  if (position >= _index.entries().size()) return std::nullopt;
  return _index.entries()[position];
}

const std::string* ZuDiskCache::Index::firstEntryForKey(const std::string& key) const {
  const auto found = _firstEntries.find(key);
  return found == _firstEntries.end() ? nullptr : &found->second;
}

void ZuDiskCache::Index::append(std::string entry) {
  std::vector<std::string> components = componentsOfEntry(entry);
  std::optional<std::string> keyPart;
  if (!components.empty()) keyPart = std::move(components.front());
  // An earlier entry of the same key stays the first.
  if (keyPart) _firstEntries.try_emplace(*keyPart, entry);
  ++_counts[entry];
  _keyParts.push_back(std::move(keyPart));
  _entries.push_back(std::move(entry));
}

void ZuDiskCache::Index::removeAt(std::size_t position) {
  const auto offset = static_cast<std::ptrdiff_t>(position);
  const std::string entry = std::move(_entries[position]);
  const std::optional<std::string> keyPart = std::move(_keyParts[position]);
  _entries.erase(_entries.begin() + offset);
  _keyParts.erase(_keyParts.begin() + offset);
  if (const auto count = _counts.find(entry); count != _counts.end() && --count->second == 0) {
    _counts.erase(count);
  }
  if (!keyPart) return;
  const auto first = _firstEntries.find(*keyPart);
  if (first == _firstEntries.end() || first->second != entry) return;
  // The removed entry may have been the key's first: the first of the same key part now is.
  const auto next = std::find(_keyParts.begin(), _keyParts.end(), keyPart);
  if (next == _keyParts.end()) {
    _firstEntries.erase(first);
  } else {
    first->second = _entries[static_cast<std::size_t>(next - _keyParts.begin())];
  }
}

void ZuDiskCache::Index::clear() {
  _entries.clear();
  _keyParts.clear();
  _firstEntries.clear();
  _counts.clear();
}

std::vector<std::string> ZuDiskCache::componentsOfEntry(const std::string& entry) {
  const auto plain = ZuUtils::base64Decode(zu::Value(entry));
  if (!plain) return {};
  const std::string separator = kEntrySeparator;
  std::vector<std::string> components;
  std::size_t start = 0;
  for (std::size_t found = plain->find(separator); found != std::string::npos;
       found = plain->find(separator, start)) {
    components.push_back(plain->substr(start, found - start));
    start = found + separator.size();
  }
  components.push_back(plain->substr(start));
  return components;
}

std::optional<std::int64_t> ZuDiskCache::storingSecondOfComponents(
    const std::vector<std::string>& components) {
  if (components.size() < 2) return std::nullopt;
  return zu::Value(components[1]).integerValue();
}

std::optional<std::string> ZuDiskCache::entryForKey(const zu::Value& key) {
  if (!zu::isValidText(key)) return std::nullopt;
  const auto now = static_cast<long>(zu::Clock::time());
  return ZuUtils::base64Encode(zu::Value(zu::format("%@%@%ld", key, kEntrySeparator, now)));
}

std::optional<std::string> ZuDiskCache::firstEntryForKey(const std::string& key) const {
  const zu::MutexLock lock(_keysMutex);
  const std::string* entry = _index.firstEntryForKey(key);
  if (entry == nullptr) return std::nullopt;
  return *entry;
}

void ZuDiskCache::storeIndex() {
  zu::Array list;
  {
    const zu::MutexLock lock(_keysMutex);
    list.assign(_index.entries().begin(), _index.entries().end());
  }
  zu::NSUserDefaults::standardUserDefaults()->setObject(zu::Value(std::move(list)), _indexKey);
}

void ZuDiskCache::writeIndex() {
  storeIndex();
  zu::NSUserDefaults::standardUserDefaults()->synchronize();
}

void ZuDiskCache::indexEntry(const std::string& entry) {
  {
    const zu::MutexLock lock(_keysMutex);
    if (_index.contains(entry)) return;
  }
  zu::dispatch_semaphore_wait(_lock, zu::DISPATCH_TIME_FOREVER);
  {
    const zu::MutexLock lock(_keysMutex);
    _index.append(entry);
  }
  zu::dispatch_semaphore_signal(_lock);
  writeIndex();
}

void ZuDiskCache::removeCachesEalierThanTime(long time) {
  if (!entryAt(0)) return;
  const ZuStoreDamageLog damage("-[" + className() + " removeCachesEalierThanTime:]");
  const auto defaults = zu::NSUserDefaults::standardUserDefaults();
  // The count is read again before each element; after a removal the next entry slides into
  // slot i and is left for a later pass.
  for (std::size_t i = 0;; ++i) {
    const std::optional<std::string> entry = entryAt(i);
    if (!entry) break;
    const auto second = storingSecondOfComponents(componentsOfEntry(*entry));
    if (!second || *second >= time) continue;
    defaults->removeObjectForKey(*entry);
    defaults->synchronize();
    const zu::MutexLock lock(_keysMutex);
    // Someone may have changed the index since it was read: remove the entry where it is now.
    const std::vector<std::string>& list = _index.entries();
    if (i < list.size() && list[i] == *entry) {
      _index.removeAt(i);
    } else if (const auto found = std::find(list.begin(), list.end(), *entry);
               found != list.end()) {
      _index.removeAt(static_cast<std::size_t>(found - list.begin()));
    }
  }
  writeIndex();
}

void ZuDiskCache::trimToAge(double age) {
  _trimToAge(age);
}

void ZuDiskCache::_trimToAge(double age) {
  if (age <= 0) {
    removeAllCaches();
    return;
  }
  const auto now = static_cast<double>(zu::Clock::time());
  // Also stops for an age that is not a number.
  if (!(now > age)) return;
  const auto limit = static_cast<long>(now - age);
  if (limit > kLargestTrimLimit) return;
  removeCachesEalierThanTime(limit);
}

void ZuDiskCache::removeAllCaches() {
  const ZuStoreDamageLog damage("-[" + className() + " removeAllCaches]");
  const auto defaults = zu::NSUserDefaults::standardUserDefaults();
  // A copy is walked: a trim may change the index meanwhile.
  for (const std::string& entry : keys())
    defaults->removeObjectForKey(entry);
  defaults->synchronize();
  defaults->setObject(zu::Value(), _indexKey);
  defaults->synchronize();
  zu::dispatch_semaphore_wait(_lock, zu::DISPATCH_TIME_FOREVER);
  {
    const zu::MutexLock lock(_keysMutex);
    _index.clear();
  }
  zu::dispatch_semaphore_signal(_lock);
}

void ZuDiskCache::_trimRecursively() {
  auto self = std::static_pointer_cast<ZuDiskCache>(shared_from_this());
  const zu::dispatch_time_t when =
      zu::dispatch_time(zu::DISPATCH_TIME_NOW, nanosecondsOf(autoTrimInterval()));
  zu::dispatch_after(when, zu::dispatch_get_global_queue(zu::DISPATCH_QUEUE_PRIORITY_BACKGROUND, 0),
                     [self] {
                       self->_trimInBackground();
                       self->_trimRecursively();
                     });
}

void ZuDiskCache::_trimInBackground() {
  auto self = std::static_pointer_cast<ZuDiskCache>(shared_from_this());
  zu::dispatch_async(_queue, [self] {
    zu::dispatch_semaphore_wait(self->_lock, zu::DISPATCH_TIME_FOREVER);
    self->_trimToAge(self->ageLimit());
    zu::dispatch_semaphore_signal(self->_lock);
  });
}
