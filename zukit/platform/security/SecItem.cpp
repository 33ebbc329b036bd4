#include "zukit/platform/security/SecItem.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "zukit/platform/foundation/Unicode.h"
#include "zukit/platform/security/KeychainStore.h"

namespace zu {

namespace {

constexpr std::size_t kAllItems = std::numeric_limits<std::size_t>::max();
constexpr int kMaximumAttributeDepth = 64;

constexpr std::string_view kAttributeKeys[] = {
    kSecAttrAccessGroup,    kSecAttrAccessible,   kSecAttrAccount,         kSecAttrService,
    kSecAttrGeneric,        kSecAttrLabel,        kSecAttrDescription,     kSecAttrComment,
    kSecAttrCreator,        kSecAttrType,         kSecAttrIsInvisible,     kSecAttrIsNegative,
    kSecAttrSynchronizable, kSecAttrCreationDate, kSecAttrModificationDate};

// Classes of the platform's keychain that this store does not keep.
constexpr std::string_view kOtherClasses[] = {"inet", "cert", "keys", "idnt"};

bool isAttributeKey(std::string_view key) {
  return std::find(std::begin(kAttributeKeys), std::end(kAttributeKeys), key) !=
         std::end(kAttributeKeys);
}

bool isStoreKeptKey(std::string_view key) {
  return key == kSecAttrCreationDate || key == kSecAttrModificationDate;
}

// Attribute values are property-list values whose text is UTF-8 without NUL, so that they
// survive the binary store file unchanged.
bool isStorableValue(const Value& value, int depth) {
  if (depth > kMaximumAttributeDepth) return false;
  switch (value.kind()) {
    case Value::Kind::Boolean:
    case Value::Kind::Integer:
    case Value::Kind::Bytes:
    case Value::Kind::Date:
      return true;
    case Value::Kind::Real:
      return std::isfinite(value.doubleValue());
    case Value::Kind::String: {
      const std::string* text = value.asString();
      return text != nullptr && isValidUtf8(*text) && text->find('\0') == std::string::npos;
    }
    case Value::Kind::List:
      return std::all_of(
          value.asArray()->begin(), value.asArray()->end(),
          [depth](const Value& element) { return isStorableValue(element, depth + 1); });
    case Value::Kind::Dictionary:
      return std::all_of(value.asDictionary()->begin(), value.asDictionary()->end(),
                         [depth](const Dictionary::Entry& entry) {
                           return isValidUtf8(entry.first) &&
                                  entry.first.find('\0') == std::string::npos &&
                                  isStorableValue(entry.second, depth + 1);
                         });
    default:
      return false;
  }
}

OSStatus checkClass(const Dictionary& map) {
  const Value* itemClass = map.find(kSecClass);
  const std::string* name = itemClass != nullptr ? itemClass->asString() : nullptr;
  if (name == nullptr) return errSecParam;
  if (*name == kSecClassGenericPassword) return errSecSuccess;
  const bool known = std::find(std::begin(kOtherClasses), std::end(kOtherClasses), *name) !=
                     std::end(kOtherClasses);
  return known ? errSecUnimplemented : errSecParam;
}

bool readFlag(const Value& value, bool& flag) {
  if (!value.isNumber()) return false;
  flag = value.boolValue();
  return true;
}

// What a query or an attribute map asks for, once checked.
struct ItemRequest {
  // Attributes to match (queries) or to set (adds and updates), without class and group.
  Dictionary attributes;
  std::optional<std::string> group;
  std::optional<Data> data;
  bool returnAttributes = false;
  bool returnData = false;
  std::size_t limit = 1;
};

enum class RequestKind : std::uint8_t { Query, Add, Changes };

OSStatus parseRequest(const Dictionary& map, RequestKind kind, ItemRequest& request) {
  if (kind != RequestKind::Changes) {
    const OSStatus status = checkClass(map);
    if (status != errSecSuccess) return status;
  }
  for (const auto& [key, value] : map) {
    if (key == kSecClass) {
      if (kind == RequestKind::Changes) return errSecParam;
    } else if (key == kSecAttrAccessGroup) {
      const std::string* group = value.asString();
      if (group == nullptr || !KeychainStore::isUsableGroupName(*group)) return errSecParam;
      request.group = *group;
    } else if (isAttributeKey(key)) {
      if (!isStorableValue(value, 0)) return errSecParam;
      request.attributes.setObject(value, key);
    } else if (key == kSecValueData) {
      // A query matches by attributes only; its secret, if any, is ignored.
      if (kind == RequestKind::Query) continue;
      const Data* bytes = value.asData();
      if (bytes == nullptr) return errSecParam;
      request.data = *bytes;
    } else if (key == kSecReturnAttributes && kind != RequestKind::Changes) {
      if (!readFlag(value, request.returnAttributes)) return errSecParam;
    } else if (key == kSecReturnData && kind != RequestKind::Changes) {
      if (!readFlag(value, request.returnData)) return errSecParam;
    } else if (key == kSecMatchLimit && kind == RequestKind::Query) {
      if (value == Value(kSecMatchLimitOne)) {
        request.limit = 1;
      } else if (value == Value(kSecMatchLimitAll)) {
        request.limit = kAllItems;
      } else if (value.isInteger() && value.integerValue() > 0) {
        request.limit = static_cast<std::size_t>(value.integerValue());
      } else {
        return errSecParam;
      }
    } else {
      return errSecParam;
    }
  }
  return errSecSuccess;
}

bool matches(const KeychainItem& item, const Dictionary& attributes) {
  return std::all_of(attributes.begin(), attributes.end(), [&item](const Dictionary::Entry& entry) {
    const Value* mine = item.attributes.find(entry.first);
    return mine != nullptr && *mine == entry.second;
  });
}

// What the kSecReturn* flags ask of one item; absent when they ask for nothing.
Value resultFor(const KeychainItem& item, const ItemRequest& request) {
  if (request.returnAttributes) {
    Dictionary attributes = item.attributes;
    if (request.returnData) attributes.setObject(Value(item.data), kSecValueData);
    return {std::move(attributes)};
  }
  if (request.returnData) return {item.data};
  return {};
}

Value nowInWholeSeconds() {
  return {Date::dateWithTimeIntervalSince1970(std::floor(Date::date().timeIntervalSince1970()))};
}

// The attributes that identify a generic password within its group, its account and service,
// looked up once for comparisons with many others (an absent attribute equals only an absent
// one).
struct Identity {
  explicit Identity(const KeychainItem& item)
      : account(item.attributes.find(kSecAttrAccount)),
        service(item.attributes.find(kSecAttrService)) {}

  // Whether `other` has the same account and service.
  bool matches(const KeychainItem& other) const {
    return same(account, other.attributes.find(kSecAttrAccount)) &&
           same(service, other.attributes.find(kSecAttrService));
  }

  static bool same(const Value* mine, const Value* theirs) {
    if (mine == nullptr || theirs == nullptr) return mine == theirs;
    return *mine == *theirs;
  }

  const Value* account;
  const Value* service;
};

// The text of an identifying attribute, to sort items into buckets of possible equals; every
// value that is not text goes into the bucket of the empty text, where items are compared in
// full.
std::string_view bucketText(const Value* value) {
  const std::string* text = value != nullptr ? value->asString() : nullptr;
  return text != nullptr ? std::string_view(*text) : std::string_view();
}

// Whether two items have the same identity: each is compared only with the items of equal
// account and service texts, so that a large group costs one pass.
bool holdsDuplicates(const std::vector<KeychainItem>& items) {
  std::unordered_map<std::string, std::vector<std::size_t>> buckets;
  buckets.reserve(items.size());
  for (std::size_t i = 0; i < items.size(); ++i) {
    const Identity identity(items[i]);
    std::string key(bucketText(identity.account));
    key.push_back('\0');
    key.append(bucketText(identity.service));
    std::vector<std::size_t>& bucket = buckets[std::move(key)];
    for (const std::size_t j : bucket) {
      if (identity.matches(items[j])) return true;
    }
    bucket.push_back(i);
  }
  return false;
}

std::vector<std::string> groupsToSearch(const KeychainStore& store, const ItemRequest& request) {
  if (request.group) return {*request.group};
  return store.existingGroups();
}

}  // namespace

OSStatus SecItemCopyMatching(const Dictionary& query, Value* result) {
  ItemRequest request;
  const OSStatus status = parseRequest(query, RequestKind::Query, request);
  if (status != errSecSuccess) return status;
  const KeychainStore store = KeychainStore::current();
  Array found;
  for (const std::string& group : groupsToSearch(store, request)) {
    const std::shared_ptr<const KeychainGroupContents> contents = store.sharedGroup(group);
    for (const KeychainItem& item : contents->items) {
      if (found.size() == request.limit) break;
      if (matches(item, request.attributes)) found.push_back(resultFor(item, request));
    }
  }
  if (found.empty()) return errSecItemNotFound;
  if (result != nullptr) {
    const bool asked = request.returnAttributes || request.returnData;
    if (!asked) {
      *result = Value();
    } else if (request.limit == 1) {
      *result = std::move(found.front());
    } else {
      *result = Value(std::move(found));
    }
  }
  return errSecSuccess;
}

OSStatus SecItemAdd(const Dictionary& attributes, Value* result) {
  ItemRequest request;
  const OSStatus status = parseRequest(attributes, RequestKind::Add, request);
  if (status != errSecSuccess) return status;
  const std::string group = request.group.value_or(KeychainStore::defaultAccessGroup());
  const Value now = nowInWholeSeconds();
  KeychainItem item;
  item.attributes.setObject(Value(kSecClassGenericPassword), kSecClass);
  item.attributes.setObject(request.attributes.objectForKey(kSecAttrAccount).isAbsent()
                                ? Value("")
                                : request.attributes.objectForKey(kSecAttrAccount),
                            kSecAttrAccount);
  item.attributes.setObject(request.attributes.objectForKey(kSecAttrService).isAbsent()
                                ? Value("")
                                : request.attributes.objectForKey(kSecAttrService),
                            kSecAttrService);
  for (const auto& [key, value] : request.attributes) {
    if (key != kSecAttrAccount && key != kSecAttrService && !isStoreKeptKey(key)) {
      item.attributes.setObject(value, key);
    }
  }
  item.attributes.setObject(Value(group), kSecAttrAccessGroup);
  item.attributes.setObject(now, kSecAttrCreationDate);
  item.attributes.setObject(now, kSecAttrModificationDate);
  item.data = request.data.value_or(Data());

  const KeychainStore store = KeychainStore::current();
  const FileLock lock = store.lockGroup(group);
  if (!lock.locked()) return errSecIO;
  {
    const std::shared_ptr<const KeychainGroupContents> current = store.sharedGroup(group);
    const Identity identity(item);
    if (std::any_of(current->items.begin(), current->items.end(),
                    [&identity](const KeychainItem& other) { return identity.matches(other); })) {
      return errSecDuplicateItem;
    }
  }
  KeychainGroupContents contents = store.takeGroup(group);
  contents.items.push_back(item);
  if (store.writeGroup(group, std::move(contents)) != 0) return errSecIO;
  if (result != nullptr) *result = resultFor(item, request);
  return errSecSuccess;
}

OSStatus SecItemUpdate(const Dictionary& query, const Dictionary& attributesToUpdate) {
  ItemRequest request;
  OSStatus status = parseRequest(query, RequestKind::Query, request);
  if (status != errSecSuccess) return status;
  ItemRequest changes;
  status = parseRequest(attributesToUpdate, RequestKind::Changes, changes);
  if (status != errSecSuccess) return status;

  const KeychainStore store = KeychainStore::current();
  std::set<std::string> groups;
  for (const std::string& group : groupsToSearch(store, request))
    groups.insert(group);
  if (changes.group) groups.insert(*changes.group);
  // Locks are taken in name order, so that two updates never wait on each other.
  std::vector<FileLock> locks;
  std::map<std::string, KeychainGroupContents> contents;
  for (const std::string& group : groups) {
    locks.push_back(store.lockGroup(group));
    if (!locks.back().locked()) return errSecIO;
    contents.emplace(group, store.takeGroup(group));
  }

  const Value now = nowInWholeSeconds();
  std::set<std::string> changed;
  std::vector<KeychainItem> moved;
  for (auto& [group, groupContents] : contents) {
    if (request.group && group != *request.group) continue;
    std::vector<KeychainItem> kept;
    for (KeychainItem& item : groupContents.items) {
      if (!matches(item, request.attributes)) {
        kept.push_back(std::move(item));
        continue;
      }
      for (const auto& [key, value] : changes.attributes) {
        if (!isStoreKeptKey(key)) item.attributes.setObject(value, key);
      }
      if (changes.data) item.data = *changes.data;
      item.attributes.setObject(now, kSecAttrModificationDate);
      changed.insert(group);
      if (changes.group && *changes.group != group) {
        item.attributes.setObject(Value(*changes.group), kSecAttrAccessGroup);
        moved.push_back(std::move(item));
      } else {
        kept.push_back(std::move(item));
      }
    }
    groupContents.items = std::move(kept);
  }
  if (changed.empty()) return errSecItemNotFound;
  if (!moved.empty()) {
    auto& target = contents[*changes.group].items;
    for (KeychainItem& item : moved)
      target.push_back(std::move(item));
    changed.insert(*changes.group);
  }
  for (const std::string& group : changed) {
    if (holdsDuplicates(contents[group].items)) return errSecDuplicateItem;
  }
  for (const std::string& group : changed) {
    if (store.writeGroup(group, std::move(contents[group])) != 0) return errSecIO;
  }
  return errSecSuccess;
}

OSStatus SecItemDelete(const Dictionary& query) {
  ItemRequest request;
  const OSStatus status = parseRequest(query, RequestKind::Query, request);
  if (status != errSecSuccess) return status;
  const KeychainStore store = KeychainStore::current();
  bool deleted = false;
  for (const std::string& group : groupsToSearch(store, request)) {
    if (store.sharedGroup(group)->items.empty()) continue;
    const FileLock lock = store.lockGroup(group);
    if (!lock.locked()) return errSecIO;
    KeychainGroupContents contents = store.takeGroup(group);
    const auto before = contents.items.size();
    std::erase_if(contents.items, [&request](const KeychainItem& item) {
      return matches(item, request.attributes);
    });
    if (contents.items.size() == before) continue;
    if (store.writeGroup(group, std::move(contents)) != 0) return errSecIO;
    deleted = true;
  }
  return deleted ? errSecSuccess : errSecItemNotFound;
}

}  // namespace zu
