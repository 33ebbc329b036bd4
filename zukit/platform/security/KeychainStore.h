#pragma once

// Internal to libzukit (not installed, not exported): the files behind the keychain calls.

#include <string>
#include <vector>

#include "zukit/platform/foundation/FileLock.h"
#include "zukit/platform/foundation/Value.h"

namespace zu {

// One keychain item: its attributes (kSecClass and kSecAttrAccessGroup included) and secret.
struct KeychainItem {
  Dictionary attributes;
  Data data;
};

// What one access group's file holds.
struct KeychainGroupContents {
  std::vector<KeychainItem> items;
  // True when a file was there but could not be read as a store.
  bool corrupt = false;
};

// The files behind the keychain: one binary property list per access group in one directory,
// {"items": [{"attributes": {...}, "data": <bytes>}, ...]}. Reads need no lock, since files are
// only ever replaced whole; a read-modify-write holds the group's lock throughout.
class KeychainStore {
 public:
  // The store in $XDG_DATA_HOME/zukit/keychain.
  static KeychainStore current();
  // The group that items without an access group go to: the main bundle's identifier.
  static std::string defaultAccessGroup();
  // Whether `group` can name a file: UTF-8, 1 to 200 bytes, no "/" or NUL, not "." or "..".
  static bool isUsableGroupName(const std::string& group);

  explicit KeychainStore(std::string directory);

  // The groups that have a file, by name.
  std::vector<std::string> existingGroups() const;
  // The items of `group`; none when it has no file.
  KeychainGroupContents readGroup(const std::string& group) const;
  // Takes the group's exclusive lock, making the directory (mode 0700) if needed; check
  // locked() on the result.
  FileLock lockGroup(const std::string& group) const;
  // Replaces the group's file with `contents.items` (mode 0600). A file that `contents` found
  // corrupt is first kept aside as "<file>.corrupt". Returns 0 or an errno value. The caller
  // holds the group's lock.
  int writeGroup(const std::string& group, const KeychainGroupContents& contents) const;
  // The group's file.
  std::string pathForGroup(const std::string& group) const;

 private:
  std::string _directory;
};

}  // namespace zu
