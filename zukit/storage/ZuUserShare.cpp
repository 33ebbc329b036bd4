#include "zukit/storage/ZuUserShare.h"

#include "zukit/core/ZuLogger.h"
#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/foundation/NSString.h"
#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/platform/foundation/Unicode.h"

namespace {

constexpr const char* kSetObjectFunction = "-[ZuUserShare setObject:forKey:domain:]";

// Valid text that is also UTF-8, since keys and domains name files and containers.
std::optional<std::string> validName(const zu::Value& text) {
  std::optional<std::string> name = zu::validText(text);
  if (name && !zu::isValidUtf8(*name)) return std::nullopt;
  return name;
}

// The file that holds `key` in the container of `domain`; none without a container.
std::shared_ptr<zu::NSURL> fileURL(const std::string& key, const zu::Value& domain) {
  const std::shared_ptr<zu::NSURL> container =
      zu::NSFileManager::defaultManager()->containerURLForSecurityApplicationGroupIdentifier(
          domain);
  if (!container) return nullptr;
  return container->URLByAppendingPathComponent(zu::format("Library/Caches/%@_%@.json", "Zu", key));
}

}  // namespace

std::shared_ptr<ZuUserShare> ZuUserShare::share() {
  static zu::NoDestructor<std::shared_ptr<ZuUserShare>> instance;
  static zu::dispatch_once_t onceToken;
  zu::dispatch_once(&onceToken, [] { *instance = std::make_shared<ZuUserShare>(); });
  return *instance;
}

void ZuUserShare::setObject(const zu::Value& value, const zu::Value& key, const zu::Value& domain) {
  const std::optional<std::string> name = validName(key);
  if (!validName(domain) || !name) return;
  const std::shared_ptr<zu::NSURL> file = fileURL(*name, domain);
  const std::string text = zu::format("%@", value);
  if (zu::NSString::writeToURL(text, file, true, zu::NSUTF8StringEncoding)) {
    ZuLogger::log(ZuLogLevelData, kSetObjectFunction,
                  "数据写入共享文件成功，url : %@, key : %@, value : %@", file->absoluteString(),
                  *name, text);
  } else {
    ZuLogger::log(ZuLogLevelError, kSetObjectFunction, "数据写入共享文件失败，key : %@, value : %@",
                  *name, text);
  }
}

std::optional<std::string> ZuUserShare::objectForKey(const zu::Value& key,
                                                     const zu::Value& domain) {
  const std::optional<std::string> name = validName(key);
  if (!validName(domain) || !name) return std::nullopt;
  return zu::NSString::stringWithContentsOfURL(fileURL(*name, domain), zu::NSUTF8StringEncoding);
}

void ZuUserShare::setInteger(zu::NSInteger value, const zu::Value& key, const zu::Value& domain) {
  const zu::Value number(value);
  setObject(zu::Value(zu::format("%@", number)), key, domain);
}

zu::NSInteger ZuUserShare::integerForKey(const zu::Value& key, const zu::Value& domain) {
  const std::optional<std::string> text = objectForKey(key, domain);
  if (!text) return 0;
  return static_cast<zu::NSInteger>(zu::Value(*text).integerValue());
}
