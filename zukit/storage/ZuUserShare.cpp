#include "zukit/storage/ZuUserShare.h"

#include <memory>
#include <unordered_map>
#include <utility>

#include "zukit/core/ZuLogger.h"
#include "zukit/platform/dispatch/Dispatch.h"
#include "zukit/platform/foundation/FileChangeWatch.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/foundation/NSString.h"
#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/platform/foundation/StoreFile.h"
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

// The most files whose text and path are remembered; past it, both tables start afresh.
constexpr std::size_t kMostRememberedFiles = 256;

// The texts of the shared files as last read, each with the signature (device, inode, size and
// modification time) of the file it came from. Writers replace a file atomically, which gives it
// a new inode, so a read whose file still has the remembered signature costs one stat instead
// of an open, a read and a close, and no stat while file events report no change at the path:
// "envType" is read at every request of the HTTP client.
class SharedFileTexts {
 public:
  static SharedFileTexts& shared() {
    static zu::NoDestructor<SharedFileTexts> texts;
    return *texts;
  }

  // The path of the file that holds `key` in `container` (a container path ending in "/"), as
  // the file URL of the write names it.
  std::string pathFor(const std::string& container, const std::string& key) {
    std::string lookup = container;
    lookup.push_back('\0');
    lookup += key;
    {
      const zu::MutexLock lock(_mutex);
      if (const auto found = _paths.find(lookup); found != _paths.end()) return found->second;
    }
    const auto url = zu::NSURL::fileURLWithPath(container)->URLByAppendingPathComponent(
        zu::format("Library/Caches/%@_%@.json", "Zu", key));
    std::string path = url ? url->path() : std::string();
    const zu::MutexLock lock(_mutex);
    if (_paths.size() >= kMostRememberedFiles) _paths.clear();
    _paths.emplace(std::move(lookup), path);
    return path;
  }

  // The text read from `path` before, when the file there still has the signature it had then
  // and was text; none otherwise.
  std::optional<std::string> rememberedTextAt(const std::string& path) {
    {
      // While file events report nothing at the path, the file is the one read.
      const zu::MutexLock lock(_mutex);
      const auto found = _texts.find(path);
      if (found == _texts.end()) return std::nullopt;
      if (!found->second.watch->mayHaveChanged()) return found->second.text;
    }
    const std::optional<zu::StoreFile::Signature> current = zu::StoreFile::signatureAt(path);
    if (!current) return std::nullopt;
    const zu::MutexLock lock(_mutex);
    const auto found = _texts.find(path);
    if (found == _texts.end() || found->second.signature != *current) return std::nullopt;
    return found->second.text;
  }

  // The whole file at `path` as UTF-8 text, read now; none when it is missing, unreadable or
  // not UTF-8.
  std::optional<std::string> textAt(const std::string& path) {
    const zu::StoreFile file = zu::StoreFile::read(path);
    if (file.state != zu::StoreFile::State::Read || !file.signature) return std::nullopt;
    std::optional<std::string> text(std::in_place, file.bytes.begin(), file.bytes.end());
    if (!zu::isValidUtf8(*text)) text.reset();
    const zu::MutexLock lock(_mutex);
    if (_texts.size() >= kMostRememberedFiles) _texts.clear();
    // The signature is the one of the descriptor read, so a replacement racing the read is
    // seen as a change at the next read; so is one before a new watch, whose first answer is
    // always "changed".
    const auto found = _texts.find(path);
    std::shared_ptr<zu::FileChangeWatch> watch =
        found != _texts.end() ? found->second.watch : std::make_shared<zu::FileChangeWatch>(path);
    _texts.insert_or_assign(path, Remembered{*file.signature, text, std::move(watch)});
    return text;
  }

 private:
  struct Remembered {
    zu::StoreFile::Signature signature;
    std::optional<std::string> text;
    // Tells whether the file may have changed since it was read.
    std::shared_ptr<zu::FileChangeWatch> watch;
  };

  zu::Mutex _mutex;
  std::unordered_map<std::string, std::string> _paths ZU_GUARDED_BY(_mutex);
  std::unordered_map<std::string, Remembered> _texts ZU_GUARDED_BY(_mutex);
};

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
  // Where the container will be is enough to find a file read before and not changed since;
  // any other read looks the container up, which makes it when it is missing.
  const std::optional<std::string> container = zu::NSFileManager::declaredContainerPath(domain);
  if (!container) return std::nullopt;
  SharedFileTexts& texts = SharedFileTexts::shared();
  const std::string path = texts.pathFor(*container, *name);
  if (std::optional<std::string> text = texts.rememberedTextAt(path)) return text;
  if (!zu::NSFileManager::defaultManager()->containerPathForSecurityApplicationGroupIdentifier(
          domain)) {
    return std::nullopt;
  }
  return texts.textAt(path);
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
