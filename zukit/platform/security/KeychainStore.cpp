#include "zukit/platform/security/KeychainStore.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <span>

#include "zukit/platform/foundation/AtomicFile.h"
#include "zukit/platform/foundation/Environment.h"
#include "zukit/platform/foundation/NSBundle.h"
#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/foundation/NSPropertyListSerialization.h"
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

// The items of a decoded file; none when the file is not shaped like a store.
std::optional<std::vector<KeychainItem>> itemsOf(const Value& file) {
  const Dictionary* top = file.asDictionary();
  if (top == nullptr) return std::nullopt;
  const Value* list = top->find("items");
  if (list == nullptr || !list->isArray()) return std::nullopt;
  std::vector<KeychainItem> items;
  for (const Value& entry : *list->asArray()) {
    const Dictionary* fields = entry.asDictionary();
    if (fields == nullptr) return std::nullopt;
    const Value* attributes = fields->find("attributes");
    const Value* data = fields->find("data");
    const Dictionary* attributeMap = attributes != nullptr ? attributes->asDictionary() : nullptr;
    const Data* bytes = data != nullptr ? data->asData() : nullptr;
    if (attributeMap == nullptr || bytes == nullptr) return std::nullopt;
    items.push_back(KeychainItem{*attributeMap, *bytes});
  }
  return items;
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
  const std::optional<Data> bytes =
      NSFileManager::defaultManager()->contentsAtPath(pathForGroup(group));
  if (!bytes) return {};
  std::optional<std::vector<KeychainItem>> items =
      bytes->empty() ? std::nullopt
                     : itemsOf(NSPropertyListSerialization::propertyListWithData(*bytes, 0));
  if (!items) return KeychainGroupContents{{}, true};
  return KeychainGroupContents{std::move(*items), false};
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
  if (contents.corrupt) {
    const std::string aside = path + ".corrupt";
    if (std::rename(path.c_str(), aside.c_str()) != 0 && errno != ENOENT) return errno;
  }
  Array items;
  items.reserve(contents.items.size());
  for (const KeychainItem& item : contents.items) {
    items.emplace_back(
        Dictionary{{"attributes", Value(item.attributes)}, {"data", Value(item.data)}});
  }
  const std::optional<Data> bytes = NSPropertyListSerialization::dataWithPropertyList(
      Value(Dictionary{{"items", Value(std::move(items))}}), NSPropertyListBinaryFormat_v1_0, 0);
  if (!bytes) return EINVAL;
  return writeFileAtomically(path, std::span(*bytes), kFileMode);
}

}  // namespace zu
