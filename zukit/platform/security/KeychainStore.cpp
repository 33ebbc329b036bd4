#include "zukit/platform/security/KeychainStore.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <span>

#include "zukit/platform/foundation/AtomicFile.h"
#include "zukit/platform/foundation/Environment.h"
#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/foundation/NSBundle.h"
#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/foundation/NSPropertyListSerialization.h"
#include "zukit/platform/foundation/StoreFile.h"
#include "zukit/platform/foundation/Unicode.h"

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
  KeychainGroupContents contents;
  StoreFile file = StoreFile::read(pathForGroup(group));
  if (file.state == StoreFile::State::Missing) return contents;
  if (file.state == StoreFile::State::Unreadable) {
    contents.state = KeychainGroupContents::State::Unreadable;
    contents.error = file.error;
    return contents;
  }
  contents.state =
      sortEntries(NSPropertyListSerialization::propertyListWithData(file.bytes, 0), contents)
          ? KeychainGroupContents::State::Read
          : KeychainGroupContents::State::Damaged;
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

int KeychainStore::writeGroup(const std::string& group,
                              const KeychainGroupContents& contents) const {
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
  Array items;
  items.reserve(contents.items.size() + contents.otherEntries.size());
  for (const KeychainItem& item : contents.items) {
    items.emplace_back(
        Dictionary{{"attributes", Value(item.attributes)}, {"data", Value(item.data)}});
  }
  items.insert(items.end(), contents.otherEntries.begin(), contents.otherEntries.end());
  Dictionary file = contents.otherFields;
  file.setObject(Value(std::move(items)), "items");
  const std::optional<Data> bytes = NSPropertyListSerialization::dataWithPropertyList(
      Value(std::move(file)), NSPropertyListBinaryFormat_v1_0, 0);
  if (!bytes) return EINVAL;
  return writeFileAtomically(path, std::span(*bytes), kFileMode);
}

}  // namespace zu
