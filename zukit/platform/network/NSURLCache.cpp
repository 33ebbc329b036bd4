#include "zukit/platform/network/NSURLCache.h"

#include <ctime>

#include <curl/curl.h>

#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/platform/network/HTTPHeaderFields.h"
#include "zukit/platform/network/NSHTTPURLResponse.h"
#include "zukit/platform/network/NSURLRequest.h"

namespace zu {

namespace {

constexpr NSUInteger kSharedCapacity = 4UL * 1024 * 1024;

// The key of a request: its URL without the fragment; none for requests the cache ignores.
std::optional<std::string> cacheKey(const NSURLRequest& request) {
  if (!request.URL() || request.HTTPMethod() != "GET") return std::nullopt;
  const std::string& text = request.URL()->absoluteString();
  return text.substr(0, text.find('#'));
}

std::string trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(" \t");
  if (begin == std::string_view::npos) return {};
  const std::size_t end = text.find_last_not_of(" \t");
  return std::string(text.substr(begin, end - begin + 1));
}

std::optional<long long> parseSeconds(const std::string& text) {
  if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos ||
      text.size() > 12) {
    return std::nullopt;
  }
  return std::stoll(text);
}

std::optional<std::time_t> httpDate(const std::optional<std::string>& text) {
  if (!text) return std::nullopt;
  const std::time_t when = curl_getdate(text->c_str(), nullptr);
  if (when < 0) return std::nullopt;
  return when;
}

std::size_t costOf(const NSCachedURLResponse& cached) {
  std::size_t cost = cached.data().size() + 256;
  if (const auto* http = dynamic_cast<const NSHTTPURLResponse*>(cached.response().get())) {
    for (const auto& [name, value] : http->allHeaderFields()) {
      cost += name.size() + (value.isString() ? value.asString()->size() : 0);
    }
  }
  return cost;
}

}  // namespace

std::shared_ptr<NSURLCache> NSURLCache::sharedURLCache() {
  static NoDestructor<std::shared_ptr<NSURLCache>> shared(
      std::make_shared<NSURLCache>(kSharedCapacity));
  return *shared;
}

NSURLCache::NSURLCache(NSUInteger memoryCapacity) : _memoryCapacity(memoryCapacity) {}

NSUInteger NSURLCache::currentMemoryUsage() const {
  MutexLock lock(_mutex);
  return _usage;
}

std::optional<std::chrono::seconds> NSURLCache::freshnessLifetime(
    const NSHTTPURLResponse& response) {
  if (response.statusCode() != 200 || response.valueForHTTPHeaderField("Vary")) {
    return std::nullopt;
  }
  std::optional<long long> maxAge;
  bool noCache = false;
  if (const auto control = response.valueForHTTPHeaderField("Cache-Control")) {
    std::size_t start = 0;
    while (start <= control->size()) {
      const std::size_t comma = std::min(control->find(',', start), control->size());
      const std::string directive =
          trimmed(std::string_view(*control).substr(start, comma - start));
      const std::size_t equals = directive.find('=');
      const std::string name = asciiLowercase(trimmed(directive.substr(0, equals)));
      if (name == "no-store") return std::nullopt;
      if (name == "no-cache") noCache = true;
      if (name == "max-age" && equals != std::string::npos) {
        std::string value = trimmed(directive.substr(equals + 1));
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
          value = value.substr(1, value.size() - 2);
        }
        maxAge = parseSeconds(value);
      }
      start = comma + 1;
    }
  }
  if (noCache) return std::chrono::seconds(0);
  long long lifetime = 0;
  if (maxAge) {
    lifetime = *maxAge;
  } else if (const auto expires = httpDate(response.valueForHTTPHeaderField("Expires"))) {
    const std::time_t date =
        httpDate(response.valueForHTTPHeaderField("Date")).value_or(std::time(nullptr));
    lifetime = *expires - date;
  }
  if (const auto age = response.valueForHTTPHeaderField("Age")) {
    lifetime -= parseSeconds(trimmed(*age)).value_or(0);
  }
  return std::chrono::seconds(std::max(lifetime, 0LL));
}

std::shared_ptr<NSCachedURLResponse> NSURLCache::lookup(const NSURLRequest& request,
                                                        bool freshOnly) const {
  const std::optional<std::string> key = cacheKey(request);
  if (!key) return nullptr;
  MutexLock lock(_mutex);
  const auto found = _index.find(*key);
  if (found == _index.end()) return nullptr;
  const auto entry = found->second;
  if (freshOnly && std::chrono::steady_clock::now() >= entry->expires) return nullptr;
  _entries.splice(_entries.begin(), _entries, entry);
  return entry->cached;
}

std::shared_ptr<NSCachedURLResponse> NSURLCache::cachedResponseForRequest(
    const NSURLRequest& request) const {
  return lookup(request, false);
}

std::shared_ptr<NSCachedURLResponse> NSURLCache::freshCachedResponseForRequest(
    const NSURLRequest& request) const {
  return lookup(request, true);
}

void NSURLCache::storeCachedResponse(const std::shared_ptr<NSCachedURLResponse>& cachedResponse,
                                     const NSURLRequest& request) {
  const std::optional<std::string> key = cacheKey(request);
  if (!key || !cachedResponse) return;
  const auto* http = dynamic_cast<const NSHTTPURLResponse*>(cachedResponse->response().get());
  const std::optional<std::chrono::seconds> lifetime =
      http != nullptr ? freshnessLifetime(*http) : std::nullopt;
  const std::size_t cost = costOf(*cachedResponse);
  MutexLock lock(_mutex);
  removeKey(*key);
  if (!lifetime || cost > _memoryCapacity / 20) return;
  _entries.push_front(
      Entry{*key, cachedResponse, std::chrono::steady_clock::now() + *lifetime, cost});
  _index[*key] = _entries.begin();
  _usage += cost;
  while (_usage > _memoryCapacity && !_entries.empty()) {
    const std::string victim = _entries.back().key;
    removeKey(victim);
  }
}

void NSURLCache::removeCachedResponseForRequest(const NSURLRequest& request) {
  const std::optional<std::string> key = cacheKey(request);
  if (!key) return;
  MutexLock lock(_mutex);
  removeKey(*key);
}

void NSURLCache::removeAllCachedResponses() {
  MutexLock lock(_mutex);
  _entries.clear();
  _index.clear();
  _usage = 0;
}

void NSURLCache::removeKey(const std::string& key) {
  const auto found = _index.find(key);
  if (found == _index.end()) return;
  _usage -= found->second->cost;
  _entries.erase(found->second);
  _index.erase(found);
}

}  // namespace zu
