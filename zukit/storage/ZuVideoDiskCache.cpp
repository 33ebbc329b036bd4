#include "zukit/storage/ZuVideoDiskCache.h"

#include <vector>

#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/foundation/NSSearchPath.h"
#include "zukit/storage/ZuStoreDamageLog.h"

namespace {

std::string documentsPathWithComponent(const std::string& component) {
  const std::vector<std::string> paths =
      zu::NSSearchPathForDirectoriesInDomains(zu::NSDocumentDirectory, zu::NSUserDomainMask, true);
  std::string path = paths.empty() ? std::string() : paths.front();
  if (!path.empty() && path.back() != '/') path += '/';
  return path + component;
}

}  // namespace

ZuVideoDiskCache::ZuVideoDiskCache(Passkey /*unused*/)
    : ZuDiskCache("ZuVideoDiskCacheKeys", "cn.com.Zu.videoDiskCache"),
      _fileManager(zu::NSFileManager::defaultManager()),
      _videoDirectory(documentsPathWithComponent("Zu_Video")) {
  if (!_fileManager->fileExistsAtPath(_videoDirectory)) {
    _fileManager->createDirectoryAtPath(_videoDirectory, true, nullptr);
  }
}

std::shared_ptr<ZuVideoDiskCache> ZuVideoDiskCache::cache() {
  return sharedCache<ZuVideoDiskCache>(Passkey());
}

void ZuVideoDiskCache::setVideoPath(const std::shared_ptr<zu::NSURL>& path, const zu::Value& key) {
  if (!path) return;
  const auto entry = entryForKey(key);
  if (!entry) return;
  // Plain concatenation: the file lands beside the directory, not in it.
  const auto destination =
      zu::NSURL::fileURLWithPath(_videoDirectory + zu::format("%@.mp4", *entry));
  if (destination) _fileManager->moveItemAtURL(*path, *destination, nullptr);
  const ZuStoreDamageLog damage("-[ZuVideoDiskCache setVideoPath:forKey:]");
  indexEntry(*entry);
}

std::shared_ptr<zu::NSURL> ZuVideoDiskCache::videoPathForKey(const zu::Value& key) const {
  const auto text = zu::validText(key);
  if (!text) return nullptr;
  const auto entry = firstEntryForKey(*text);
  if (!entry) return nullptr;
  return _videoPathForKey(*entry);
}

void ZuVideoDiskCache::containsVideoPathForKey(const zu::Value& key,
                                               const ContainsBlock& block) const {
  const auto text = zu::validText(key);
  if (!text) return;
  const auto entry = firstEntryForKey(*text);
  if (!block) return;
  if (!entry) {
    block(false, key, nullptr);
    return;
  }
  const auto path = _videoPathForKey(*entry);
  block(path != nullptr, key, path);
}

std::shared_ptr<zu::NSURL> ZuVideoDiskCache::_videoPathForKey(const std::string& entry) const {
  if (entry.empty()) return nullptr;
  return zu::NSURL::fileURLWithPath(_videoDirectory + zu::format("/%@.mp4", entry));
}
