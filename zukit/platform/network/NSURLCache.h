#pragma once

#include <chrono>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/network/NSCachedURLResponse.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

class NSURLRequest;
class NSHTTPURLResponse;

// An in-memory cache of responses to GET requests, keyed by URL (without fragment), evicting
// the least recently used entries beyond its capacity. A response is kept when its status is
// 200, it carries no "Cache-Control: no-store" and no Vary field, and it takes at most 5% of
// the capacity. It counts as fresh for its Cache-Control max-age, else for Expires minus Date,
// less any Age; otherwise (or with "no-cache") it is kept but stale. Safe from any thread.
class ZU_EXPORT NSURLCache final : public Object {
 public:
  ZU_RUNTIME_CLASS(NSURLCache, Object)
  // The process-wide cache that default configurations use: 4 MiB.
  static std::shared_ptr<NSURLCache> sharedURLCache();
  // A cache holding up to `memoryCapacity` bytes of bodies and header fields.
  explicit NSURLCache(NSUInteger memoryCapacity);

  // The capacity in bytes.
  NSUInteger memoryCapacity() const { return _memoryCapacity; }
  // The bytes in use now.
  NSUInteger currentMemoryUsage() const;
  // The entry for the request's URL, whatever its age; none for other methods than GET.
  std::shared_ptr<NSCachedURLResponse> cachedResponseForRequest(const NSURLRequest& request) const;
  // The entry for the request's URL while it is fresh; none otherwise.
  std::shared_ptr<NSCachedURLResponse> freshCachedResponseForRequest(
      const NSURLRequest& request) const;
  // Stores `cachedResponse` for the request when the rules above allow it; otherwise removes
  // any older entry for the URL.
  void storeCachedResponse(const std::shared_ptr<NSCachedURLResponse>& cachedResponse,
                           const NSURLRequest& request);
  // Removes the entry for the request's URL.
  void removeCachedResponseForRequest(const NSURLRequest& request);
  // Removes every entry.
  void removeAllCachedResponses();

  // How long a response stays fresh by its header fields; none when it must not be stored.
  static std::optional<std::chrono::seconds> freshnessLifetime(const NSHTTPURLResponse& response);

 private:
  struct Entry {
    std::string key;
    std::shared_ptr<NSCachedURLResponse> cached;
    std::chrono::steady_clock::time_point expires;
    std::size_t cost = 0;
  };
  using EntryList = std::list<Entry>;

  std::shared_ptr<NSCachedURLResponse> lookup(const NSURLRequest& request, bool freshOnly) const;
  void removeKey(const std::string& key) ZU_REQUIRES(_mutex);

  const NSUInteger _memoryCapacity;
  mutable Mutex _mutex;
  // Most recently used first.
  mutable EntryList _entries ZU_GUARDED_BY(_mutex);
  std::unordered_map<std::string, EntryList::iterator> _index ZU_GUARDED_BY(_mutex);
  NSUInteger _usage ZU_GUARDED_BY(_mutex) = 0;
};

}  // namespace zu
