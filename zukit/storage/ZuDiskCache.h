#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/Object.h"
#include "zukit/platform/runtime/RuntimeClass.h"

// The index, age trims and lock that ZuImageDiskCache and ZuVideoDiskCache share; the two
// differ only in where the payload of an entry lives.
//
// The index is an ordered list of entries, oldest first. An entry is the base64 of the key, the
// separator "__#Zu#__" and the storing second ("%@%@%ld"), so that a key may hold any text. The
// whole index is mirrored into the standard preferences under the cache's index key, rewritten
// and synchronised after every change, and read back when the cache is made. A chain of
// one-shot jobs on the background global queue wakes every autoTrimInterval() seconds and
// removes, on the cache's own concurrent queue and under `_lock`, the entries older than
// ageLimit().
//
// Lookups find the first (oldest) entry whose key part equals the key: entries that do not
// decode never match, and a key holding the separator never matches, since its key part ends
// at the separator. So that lookups, membership tests and the already-indexed test of a store
// do not grow with the number of entries, the index keeps beside its list a map from each key
// part to its first entry and a count of each entry, updated with every change of the list.
//
// Any thread may call any method. `_lock` (a semaphore of count 1, not re-entrant) guards the
// append of a store, the emptying of removeAllCaches() and the whole of each periodic trim, and
// nothing else: lookups, the already-indexed test, direct removals and every write of the
// preferences go without it. The index and its maps change together under `_keysMutex`, which
// is held only for the change or the look-up itself.
class ZU_EXPORT ZuDiskCache : public zu::Object {
 public:
  ZU_RUNTIME_CLASS(ZuDiskCache, zu::Object)
  // The text between a key and its storing second in an entry.
  static constexpr const char* kEntrySeparator = "__#Zu#__";
  // The age limit of a new cache: three days.
  static constexpr double kDefaultAgeLimit = 259200.0;
  // The trim interval of a new cache: one minute.
  static constexpr double kDefaultAutoTrimInterval = 60.0;

  ~ZuDiskCache() override;

  // Removes the entries stored strictly before second `time`, with any preference value under
  // them, then rewrites the index. A removal shifts the next entry into the examined slot, and
  // that entry waits for a later pass. Entries that do not decode are never removed by age.
  void removeCachesEalierThanTime(long time);
  // _trimToAge() on the calling thread, without the lock.
  void trimToAge(double age);
  // Removes every entry and the preference values under them, and the index key itself. Video
  // files stay on disk.
  void removeAllCaches();

  // Entries older than this many seconds go at the next periodic trim; 0 or less empties the
  // cache at that trim, which then waits on its own lock for good and blocks the cache.
  double ageLimit() const { return _ageLimit.load(std::memory_order_relaxed); }
  // Sets ageLimit().
  void setAgeLimit(double seconds) { _ageLimit.store(seconds, std::memory_order_relaxed); }
  // Seconds between periodic trims, read each time the next one is armed.
  double autoTrimInterval() const { return _autoTrimInterval.load(std::memory_order_relaxed); }
  // Sets autoTrimInterval(); takes effect from the next arming.
  void setAutoTrimInterval(double seconds) {
    _autoTrimInterval.store(seconds, std::memory_order_relaxed);
  }

  // The index, oldest entry first, as it stands now.
  std::vector<std::string> keys() const;

  // The parts of an entry split at every "__#Zu#__": the key, then the storing second as text;
  // empty when the entry is not base64 of UTF-8 text.
  static std::vector<std::string> componentsOfEntry(const std::string& entry);
  // The storing second in an entry's parts: the leading decimal digits of part 1 (0 without
  // digits); none when there is no part 1.
  static std::optional<std::int64_t> storingSecondOfComponents(
      const std::vector<std::string>& components);

  // Test hook: caches made from now on arm their first trim after `seconds` instead of 60.
  static void setInitialAutoTrimIntervalForTesting(double seconds);
  // Test hook: reads the index back from the preferences, as a new cache would.
  void reloadIndexForTesting();

  // Internal: arms the next periodic trim, autoTrimInterval() from now.
  void _trimRecursively();
  // Internal: queues one trim to ageLimit() on the cache's queue, under `_lock`.
  void _trimInBackground();
  // Internal: removes what is older than `age` seconds. 0 or less removes everything; nothing
  // happens when the clock reads no more than `age`, or when now - age reaches 2147483647.
  void _trimToAge(double age);

 protected:
  // A cache whose index lives under `indexKey`, trimmed on a concurrent queue `queueLabel`.
  ZuDiskCache(std::string indexKey, const char* queueLabel);

  // The process-wide cache of type `Cache`, made once with `key` and its periodic trim started.
  template <class Cache, class Key>
  static std::shared_ptr<Cache> sharedCache(Key key) {
    static zu::dispatch_once_t onceToken;
    static zu::NoDestructor<std::shared_ptr<Cache>> cache;
    zu::dispatch_once(&onceToken, [key] {
      *cache = std::make_shared<Cache>(key);
      (*cache)->_trimRecursively();
    });
    return *cache;
  }

  // The entry of `key` stored at the clock's current second; none for a key that is not valid
  // text or not UTF-8.
  static std::optional<std::string> entryForKey(const zu::Value& key);
  // The first (oldest) entry whose key part equals `key` exactly; none when there is none.
  std::optional<std::string> firstEntryForKey(const std::string& key) const;
  // Appends `entry` under `_lock` unless the index holds it already, then rewrites the index and
  // synchronises.
  void indexEntry(const std::string& entry);

 private:
  // The ordered entries and what is derived from them.
  class Index {
   public:
    const std::vector<std::string>& entries() const { return _entries; }
    // The first entry whose key part is `key`; none when there is none.
    const std::string* firstEntryForKey(const std::string& key) const;
    // Whether `entry` is in the list.
    bool contains(const std::string& entry) const { return _counts.contains(entry); }
    // Appends `entry`.
    void append(std::string entry);
    // Removes the entry at `position`.
    void removeAt(std::size_t position);
    // Removes every entry.
    void clear();

   private:
    std::vector<std::string> _entries;
    // The key part of each entry, in the same order; none for one that does not decode.
    std::vector<std::optional<std::string>> _keyParts;
    std::unordered_map<std::string, std::string> _firstEntries;
    std::unordered_map<std::string, std::size_t> _counts;
  };

  // Fills the index from the preferences.
  void loadIndex();
  // The entry at `position` now; none past the end.
  std::optional<std::string> entryAt(std::size_t position) const;
  // Sets the whole index as the preferences value under the index key, without synchronising.
  void storeIndex();
  // storeIndex(), then synchronize.
  void writeIndex();

  mutable zu::Mutex _keysMutex;
  Index _index ZU_GUARDED_BY(_keysMutex);
  zu::dispatch_queue_t _queue;
  zu::dispatch_semaphore_t _lock;
  std::atomic<double> _ageLimit{kDefaultAgeLimit};
  std::atomic<double> _autoTrimInterval;
  const std::string _indexKey;
};
