#pragma once

#include <functional>
#include <memory>
#include <string>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/foundation/NSURL.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"
#include "zukit/storage/ZuDiskCache.h"

// The disk cache of downloaded videos, indexed under "ZuVideoDiskCacheKeys". Storing moves the
// file to Documents/Zu_Video + entry + ".mp4" (beside the Zu_Video directory, no separator);
// lookups hand out Documents/Zu_Video/ + entry + ".mp4" (inside it) without looking at the
// disk. Hosts that rely on one path must keep to that pair. An entry holding "/" adds path
// components, so its move fails, yet it is indexed all the same. Removal drops index entries
// only: the files stay. Keys follow ZuImageDiskCache's rules. Safe from any thread; callbacks
// run on the calling thread before the method returns.
class ZU_EXPORT ZuVideoDiskCache final : public ZuDiskCache {
 public:
  ZU_RUNTIME_CLASS(ZuVideoDiskCache, ZuDiskCache)
  // Called with (an entry matched, key, the file URL it names or none).
  using ContainsBlock = std::function<void(bool contained, const zu::Value& key,
                                           const std::shared_ptr<zu::NSURL>& path)>;

  // The shared cache: made on first use, with its index read back from the preferences, the
  // video directory created and its trim chain armed; never destroyed.
  static std::shared_ptr<ZuVideoDiskCache> cache();

  // Moves the file at `path` (a finished download) beside the video directory under a new entry
  // of `key`, then indexes the entry even when the move failed. Nothing for an absent URL.
  void setVideoPath(const std::shared_ptr<zu::NSURL>& path, const zu::Value& key);
  // The file URL that the oldest entry of `key` names inside the video directory, or none.
  std::shared_ptr<zu::NSURL> videoPathForKey(const zu::Value& key) const;
  // Calls `block` once with (YES, key, URL) for the oldest entry of `key`, or (NO, key, none).
  // An invalid key calls nothing.
  void containsVideoPathForKey(const zu::Value& key, const ContainsBlock& block) const;

  // The absolute path of the video directory, Documents/Zu_Video.
  const std::string& videoDirectory() const { return _videoDirectory; }

  // Internal: the file URL that `entry` names inside the video directory, or none.
  std::shared_ptr<zu::NSURL> _videoPathForKey(const std::string& entry) const;

  // Made only by cache().
  class Passkey {
    friend class ZuVideoDiskCache;
    Passkey() = default;
  };
  explicit ZuVideoDiskCache(Passkey /*unused*/);

 private:
  std::shared_ptr<zu::NSFileManager> _fileManager;
  std::string _videoDirectory;
};
