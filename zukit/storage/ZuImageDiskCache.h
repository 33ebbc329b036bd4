#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"
#include "zukit/storage/ZuDiskCache.h"

// The disk cache of downloaded images: the bytes live in the standard preferences under the
// entry of their key, the index under "ZuImageDiskCacheKeys". Keys are valid text (not absent,
// NSNull or empty); an invalid key stores nothing, finds nothing and calls no callback. A key
// whose bytes are not UTF-8 makes no entry, so it is never stored. A key holding "__#Zu#__" is
// cut there when read back, so it is stored but never found. Lookups find
// the oldest entry of a key. Safe from any thread; callbacks run on the calling thread before
// the method returns. The age trims and locking are ZuDiskCache's.
class ZU_EXPORT ZuImageDiskCache final : public ZuDiskCache {
 public:
  ZU_RUNTIME_CLASS(ZuImageDiskCache, ZuDiskCache)
  // Called with (bytes stored, key, bytes or none).
  using ContainsBlock =
      std::function<void(bool contained, const zu::Value& key, const std::optional<zu::Data>&)>;

  // The shared cache: made on first use, with its index read back from the preferences and its
  // trim chain armed; never destroyed.
  static std::shared_ptr<ZuImageDiskCache> cache();

  // Stores `data` under a new entry of `key` stamped with the current second, and indexes it.
  // No data clears any value under that entry but still indexes it.
  void setImageData(const std::optional<zu::Data>& data, const zu::Value& key);
  // The bytes of the oldest entry of `key`, or none.
  std::optional<zu::Data> imageDataForKey(const zu::Value& key) const;
  // Whether an entry of `key` is indexed, whether or not bytes are stored under it.
  bool containsImageDataForKey(const zu::Value& key) const;
  // Calls `block` once with the oldest entry's bytes (contained only when there are bytes), or
  // with (NO, key, none) when no entry matches. An invalid key calls nothing.
  void containsImageDataForKey(const zu::Value& key, const ContainsBlock& block) const;

  // Internal: the bytes stored under `entry`, or none.
  std::optional<zu::Data> _imageDataForKey(const std::string& entry) const;

  // Made only by cache().
  class Passkey {
    friend class ZuImageDiskCache;
    Passkey() = default;
  };
  explicit ZuImageDiskCache(Passkey /*unused*/);
};
