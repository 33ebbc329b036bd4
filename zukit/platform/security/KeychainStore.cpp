#include "zukit/platform/security/KeychainStore.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <span>
#include <string_view>
#include <unordered_map>

#include "zukit/platform/foundation/AtomicFile.h"
#include "zukit/platform/foundation/BinaryPropertyList.h"
#include "zukit/platform/foundation/BinaryPropertyListBuilder.h"
#include "zukit/platform/foundation/Environment.h"
#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/NSBundle.h"
#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/foundation/NSPropertyListSerialization.h"
#include "zukit/platform/foundation/NoDestructor.h"
#include "zukit/platform/foundation/StoreFile.h"
#include "zukit/platform/foundation/Unicode.h"
#include "zukit/platform/security/SecItem.h"

namespace zu {

namespace {

constexpr std::size_t kMaximumGroupLength = 200;
constexpr std::string_view kFileSuffix = ".keychain";
constexpr mode_t kFileMode = 0600;
constexpr mode_t kDirectoryMode = 0700;

bool endsWith(const std::string& text, std::string_view suffix) {
  return text.size() >= suffix.size() &&
         text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// The item an entry of the file's list holds; none when it is not shaped like one.
std::optional<KeychainItem> itemOf(const Value& entry) {
  const Dictionary* fields = entry.asDictionary();
  if (fields == nullptr || fields->size() != 2) return std::nullopt;
  const Value* attributes = fields->find("attributes");
  const Value* data = fields->find("data");
  const Dictionary* attributeMap = attributes != nullptr ? attributes->asDictionary() : nullptr;
  const Data* bytes = data != nullptr ? data->asData() : nullptr;
  if (attributeMap == nullptr || bytes == nullptr) return std::nullopt;
  return KeychainItem{*attributeMap, *bytes};
}

// Sorts a decoded file into items and what else it holds; false when it is not a store.
bool sortEntries(Value file, KeychainGroupContents& contents) {
  Dictionary* top = file.asDictionary();
  if (top == nullptr) return false;
  const Value* list = top->find("items");
  if (list == nullptr || !list->isArray()) return false;
  for (const Value& entry : *list->asArray()) {
    if (std::optional<KeychainItem> item = itemOf(entry)) {
      contents.items.push_back(std::move(*item));
    } else {
      contents.otherEntries.push_back(entry);
    }
  }
  top->removeObjectForKey("items");
  contents.otherFields = std::move(*top);
  return true;
}

// The bytes of a group file: {"items": [{"attributes": {...}, "data": <bytes>}, ...]} with the
// other entries and fields read from it. Written object by object from the items, sharing only
// dictionary keys: a general writer's search for equal objects would cost an add to a full
// group more than writing the file does. None when an item holds what a property
// list cannot.
std::optional<Data> encodeGroup(const std::string& group, const KeychainGroupContents& contents) {
  using Builder = BinaryPropertyListBuilder;
  // The top dictionary, its "items" key and list, the two keys every item shares and the three
  // shared texts; shared keys and texts make fewer.
  std::uint64_t count = 8;
  for (const KeychainItem& item : contents.items)
    count += 2 + Builder::objectCount(item.attributes);  // with its entry and its data
  for (const Value& entry : contents.otherEntries)
    count += Builder::objectCount(entry);
  count += Builder::objectCount(contents.otherFields) - 1;
  Builder builder(count);
  builder.shareDictionaryKeys();
  // What every item of a group holds alike: its class, its group and (often) an empty text.
  for (const std::string_view text :
       {std::string_view(kSecClassGenericPassword), std::string_view(group), std::string_view()})
    builder.shareText(text);
  // Levels below the top: the list, an entry, its attributes.
  constexpr int kAttributesDepth = BinaryPropertyList::kMaximumDepth - 3;
  const std::array<std::uint64_t, 2> entryKeys{*builder.addText("attributes"),
                                               *builder.addText("data")};
  std::vector<std::uint64_t> elements;
  elements.reserve(contents.items.size() + contents.otherEntries.size());
  for (const KeychainItem& item : contents.items) {
    const std::optional<std::uint64_t> attributes = builder.add(item.attributes, kAttributesDepth);
    if (!attributes) return std::nullopt;
    const std::array<std::uint64_t, 2> values{*attributes, builder.addData(item.data)};
    elements.push_back(builder.addDictionary(entryKeys, values));
  }
  for (const Value& entry : contents.otherEntries) {
    const std::optional<std::uint64_t> element = builder.add(entry, kAttributesDepth + 1);
    if (!element) return std::nullopt;
    elements.push_back(*element);
  }
  const std::uint64_t list = builder.addArray(elements);
  std::vector<std::uint64_t> keys;
  std::vector<std::uint64_t> values;
  for (const auto& [key, value] : contents.otherFields) {
    const std::optional<std::uint64_t> keyNumber = builder.addText(key);
    const std::optional<std::uint64_t> valueNumber =
        builder.add(value, BinaryPropertyList::kMaximumDepth - 1);
    if (!keyNumber || !valueNumber) return std::nullopt;
    keys.push_back(*keyNumber);
    values.push_back(*valueNumber);
  }
  keys.push_back(*builder.addText("items"));
  values.push_back(list);
  return builder.finish(builder.addDictionary(keys, values));
}

// What this process last read or wrote of each group file, by path, with the file's signature.
class RememberedGroups {
 public:
  static RememberedGroups& shared() {
    static NoDestructor<RememberedGroups> groups;
    return *groups;
  }

  // The contents remembered for `path` when the file there still has `signature`.
  std::shared_ptr<const KeychainGroupContents> find(const std::string& path,
                                                    const StoreFile::Signature& signature) {
    const MutexLock lock(_mutex);
    const auto found = _groups.find(path);
    if (found == _groups.end() || found->second.signature != signature) return nullptr;
    return found->second.contents;
  }

  void remember(const std::string& path, const StoreFile::Signature& signature,
                std::shared_ptr<KeychainGroupContents> contents) {
    const MutexLock lock(_mutex);
    _groups.insert_or_assign(path, Entry{signature, std::move(contents)});
  }

  // Takes the contents remembered for `path` when the file there still has `signature`, so that
  // a change can reuse them: no reader can reach them any more, and once those holding them
  // let go, they are the caller's alone.
  std::shared_ptr<KeychainGroupContents> take(const std::string& path,
                                              const StoreFile::Signature& signature) {
    const MutexLock lock(_mutex);
    const auto found = _groups.find(path);
    if (found == _groups.end() || found->second.signature != signature) return nullptr;
    std::shared_ptr<KeychainGroupContents> contents = std::move(found->second.contents);
    _groups.erase(found);
    return contents;
  }

  void forget(const std::string& path) {
    const MutexLock lock(_mutex);
    _groups.erase(path);
  }

 private:
  struct Entry {
    StoreFile::Signature signature;
    std::shared_ptr<KeychainGroupContents> contents;
  };

  Mutex _mutex;
  std::unordered_map<std::string, Entry> _groups ZU_GUARDED_BY(_mutex);
};

}  // namespace

KeychainStore KeychainStore::current() {
  return KeychainStore(xdgDataHome() + "/zukit/keychain");
}

std::string KeychainStore::defaultAccessGroup() {
  const std::optional<std::string> identifier = NSBundle::mainBundle()->bundleIdentifier();
  return identifier && isUsableGroupName(*identifier) ? *identifier : std::string("org.zukit.app");
}

bool KeychainStore::isUsableGroupName(const std::string& group) {
  return !group.empty() && group.size() <= kMaximumGroupLength && group != "." && group != ".." &&
         group.find_first_of(std::string("/\0", 2)) == std::string::npos && isValidUtf8(group);
}

KeychainStore::KeychainStore(std::string directory) : _directory(std::move(directory)) {}

std::string KeychainStore::pathForGroup(const std::string& group) const {
  return _directory + "/" + group + std::string(kFileSuffix);
}

std::vector<std::string> KeychainStore::existingGroups() const {
  std::vector<std::string> groups;
  for (const std::string& name :
       NSFileManager::defaultManager()->contentsOfDirectoryAtPath(_directory)) {
    if (!endsWith(name, kFileSuffix) || name.front() == '.') continue;
    std::string group = name.substr(0, name.size() - kFileSuffix.size());
    if (isUsableGroupName(group)) groups.push_back(std::move(group));
  }
  return groups;
}

KeychainGroupContents KeychainStore::readGroup(const std::string& group) const {
  return *sharedGroup(group);
}

KeychainGroupContents KeychainStore::takeGroup(const std::string& group) const {
  const std::string path = pathForGroup(group);
  if (const std::optional<StoreFile::Signature> signature = StoreFile::signatureAt(path)) {
    const std::shared_ptr<KeychainGroupContents> taken =
        RememberedGroups::shared().take(path, *signature);
    // Out of the table, only readers that had it before can still hold it: when none does, the
    // count cannot rise again, and the contents are moved instead of copied.
    if (taken && taken.use_count() == 1) return std::move(*taken);
    if (taken) return *taken;
  }
  return *sharedGroup(group);
}

std::shared_ptr<const KeychainGroupContents> KeychainStore::sharedGroup(
    const std::string& group) const {
  const std::string path = pathForGroup(group);
  if (const std::optional<StoreFile::Signature> signature = StoreFile::signatureAt(path)) {
    if (auto remembered = RememberedGroups::shared().find(path, *signature)) return remembered;
  }
  auto contents = std::make_shared<KeychainGroupContents>();
  StoreFile file = StoreFile::read(path);
  if (file.state == StoreFile::State::Missing) return contents;
  if (file.state == StoreFile::State::Unreadable) {
    contents->state = KeychainGroupContents::State::Unreadable;
    contents->error = file.error;
    return contents;
  }
  contents->state =
      sortEntries(NSPropertyListSerialization::propertyListWithData(file.bytes, 0), *contents)
          ? KeychainGroupContents::State::Read
          : KeychainGroupContents::State::Damaged;
  // Only a store is remembered: a damaged file is reported again at the next write.
  if (contents->state == KeychainGroupContents::State::Read && file.signature) {
    RememberedGroups::shared().remember(path, *file.signature, contents);
  }
  return contents;
}

FileLock KeychainStore::lockGroup(const std::string& group) const {
  std::error_code ignored;
  const std::filesystem::path directory(_directory);
  std::filesystem::create_directories(directory.parent_path(), ignored);
  if (::mkdir(_directory.c_str(), kDirectoryMode) != 0 && errno != EEXIST) {
    return FileLock(std::string());
  }
  return FileLock(_directory + "/" + group + ".lock");
}

int KeychainStore::writeGroup(const std::string& group, KeychainGroupContents contents) const {
  const std::string path = pathForGroup(group);
  if (contents.state == KeychainGroupContents::State::Unreadable) {
    StoreFile::report(format(
        "SecItem: the keychain file %@ cannot be read (%@); it is left as it is and the change "
        "is refused",
        path, std::strerror(contents.error)));
    return contents.error != 0 ? contents.error : EIO;
  }
  if (contents.state == KeychainGroupContents::State::Damaged) {
    const std::optional<std::string> aside = StoreFile::keepAside(path);
    if (!aside) {
      const int error = errno;
      StoreFile::report(format(
          "SecItem: the keychain file %@ is not a keychain and could not be kept aside (%@); the "
          "change is refused",
          path, std::strerror(error)));
      return error;
    }
    StoreFile::report(
        format("SecItem: the keychain file %@ is not a keychain; it was kept aside as %@ and the "
               "group starts anew",
               path, *aside));
  }
  const std::optional<Data> bytes = encodeGroup(group, contents);
  if (!bytes) return EINVAL;
  const int result = writeFileAtomically(path, std::span(*bytes), kFileMode);
  // Under the group's lock, the file now at the path is the one just written.
  const std::optional<StoreFile::Signature> signature =
      result == 0 ? StoreFile::signatureAt(path) : std::nullopt;
  if (!signature) {
    RememberedGroups::shared().forget(path);
    return result;
  }
  contents.state = KeychainGroupContents::State::Read;
  contents.error = 0;
  RememberedGroups::shared().remember(path, *signature,
                                      std::make_shared<KeychainGroupContents>(std::move(contents)));
  return result;
}

}  // namespace zu
