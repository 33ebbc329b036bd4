#pragma once

// Internal to libzukit (not installed, not exported): the files behind the keychain calls.

#include <memory>
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
  // How the file was found.
  enum class State : std::uint8_t {
    // No file: the group is empty.
    Missing,
    // A store, read.
    Read,
    // A file that is not a store (unparsable, or not shaped like one): the group reads as empty,
    // and the next write keeps the file aside.
    Damaged,
    // A file that cannot be opened or read: the group reads as empty, and writes are refused.
    Unreadable,
  };

  std::vector<KeychainItem> items;
  // Entries of the file's item list that are not items, and its other top-level entries: kept
  // and written back as they were, so that nothing read is lost.
  Array otherEntries;
  Dictionary otherFields;
  State state = State::Missing;
  // The errno value of an unreadable file.
  int error = 0;
};

// The files behind the keychain: one binary property list per access group in one directory,
// {"items": [{"attributes": {...}, "data": <bytes>}, ...]}. Reads need no lock, since files are
// only ever replaced whole; a read-modify-write holds the group's lock throughout. A file that
// cannot be read is never replaced: a damaged one is kept aside, an unreadable one left alone,
// and either is reported on the console (StoreFile::report).
//
// The process keeps what it last read or wrote of each group file, with the file's signature
// (device, inode, size, modification time): a read whose file still has that signature is
// answered from memory without reading and parsing the file again. Every write replaces the
// file, which gives it a new inode, so a change by another process is read at the next read.
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
  // The same, shared and never changed: no copy of the items.
  std::shared_ptr<const KeychainGroupContents> sharedGroup(const std::string& group) const;
  // The same, to change and write back under the group's lock: what this process remembers of
  // the group is handed over (moved when no reader holds it) instead of copied.
  KeychainGroupContents takeGroup(const std::string& group) const;
  // Takes the group's exclusive lock, making the directory (mode 0700) if needed; check
  // locked() on the result.
  FileLock lockGroup(const std::string& group) const;
  // Replaces the group's file with `contents` (mode 0600). A file that `contents` found damaged
  // is first kept aside as "<file>.corrupt" (or "<file>.corrupt-2", ... when taken); one found
  // unreadable is left alone and nothing is written. Returns 0 or an errno value. The caller
  // holds the group's lock.
  int writeGroup(const std::string& group, KeychainGroupContents contents) const;
  // The group's file.
  std::string pathForGroup(const std::string& group) const;

 private:
  std::string _directory;
};

}  // namespace zu
