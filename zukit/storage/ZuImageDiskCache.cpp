#include "zukit/storage/ZuImageDiskCache.h"

#include "zukit/platform/foundation/NSUserDefaults.h"
#include "zukit/storage/ZuStoreDamageLog.h"

ZuImageDiskCache::ZuImageDiskCache(Passkey /*unused*/)
    : ZuDiskCache("ZuImageDiskCacheKeys", "cn.com.Zu.imageDiskCache") {}

std::shared_ptr<ZuImageDiskCache> ZuImageDiskCache::cache() {
  return sharedCache<ZuImageDiskCache>(Passkey());
}

void ZuImageDiskCache::setImageData(const std::optional<zu::Data>& data, const zu::Value& key) {
  const auto entry = entryForKey(key);
  if (!entry) return;
  const ZuStoreDamageLog damage("-[ZuImageDiskCache setImageData:forKey:]");
  const auto defaults = zu::NSUserDefaults::standardUserDefaults();
  defaults->setObject(data ? zu::Value(*data) : zu::Value(), *entry);
  // The bytes reach the file first, then the index entry that names them, each with its own
  // synchronize: another process may see the bytes before their entry, never an entry without.
  defaults->synchronize();
  indexEntry(*entry);
}

std::optional<zu::Data> ZuImageDiskCache::imageDataForKey(const zu::Value& key) const {
  const auto text = zu::validText(key);
  if (!text) return std::nullopt;
  const auto entry = firstEntryForKey(*text);
  if (!entry) return std::nullopt;
  return _imageDataForKey(*entry);
}

bool ZuImageDiskCache::containsImageDataForKey(const zu::Value& key) const {
  const auto text = zu::validText(key);
  return text && firstEntryForKey(*text);
}

void ZuImageDiskCache::containsImageDataForKey(const zu::Value& key,
                                               const ContainsBlock& block) const {
  const auto text = zu::validText(key);
  if (!text) return;
  const auto entry = firstEntryForKey(*text);
  if (!block) return;
  if (!entry) {
    block(false, key, std::nullopt);
    return;
  }
  const auto data = _imageDataForKey(*entry);
  block(data.has_value(), key, data);
}

std::optional<zu::Data> ZuImageDiskCache::_imageDataForKey(const std::string& entry) const {
  if (entry.empty()) return std::nullopt;
  const zu::Value stored = zu::NSUserDefaults::standardUserDefaults()->objectForKey(entry);
  if (const zu::Data* data = stored.asData()) return *data;
  return std::nullopt;
}
