#pragma once

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/security/SecBase.h"

// The keychain: items kept for the user in a store only they can read. On Linux each access
// group is one binary property-list file, $XDG_DATA_HOME/zukit/keychain/<group>.keychain (mode
// 0600, directory 0700), replaced atomically under an exclusive flock(2) on "<group>.lock", so
// that processes and threads changing one group take turns and lose nothing.
//
// Items are generic passwords (kSecClassGenericPassword); two items of one access group with the
// same account and service are duplicates. Items added without kSecAttrAccessGroup go to the
// default group, the main bundle's identifier. Any access group is allowed: the store belongs to
// the Linux user, who is the trust boundary, so a program need not declare the groups it uses.
// A query without kSecAttrAccessGroup searches every group.
//
// Maps are zu::Dictionary, keyed by the kSec* names below; attribute values are property-list
// values (text must be UTF-8), kSecValueData is Data. A group file that is not a store counts as
// empty; the next change keeps it aside as "<group>.keychain.corrupt" (or ".corrupt-2", ... when
// that name is taken) and says so on the console. A group file that cannot be opened or read
// (permissions) also counts as empty, but is left alone: changes to its group fail with
// errSecIO. Entries of a group file that the store does not understand are kept through writes.
// Every call is safe from any thread.
namespace zu {

// Item class.
inline constexpr const char* kSecClass = "class";
inline constexpr const char* kSecClassGenericPassword = "genp";

// Attributes of generic passwords.
inline constexpr const char* kSecAttrAccessGroup = "agrp";
inline constexpr const char* kSecAttrAccessible = "pdmn";
inline constexpr const char* kSecAttrAccount = "acct";
inline constexpr const char* kSecAttrService = "svce";
inline constexpr const char* kSecAttrGeneric = "gena";
inline constexpr const char* kSecAttrLabel = "labl";
inline constexpr const char* kSecAttrDescription = "desc";
inline constexpr const char* kSecAttrComment = "icmt";
inline constexpr const char* kSecAttrCreator = "crtr";
inline constexpr const char* kSecAttrType = "type";
inline constexpr const char* kSecAttrIsInvisible = "invi";
inline constexpr const char* kSecAttrIsNegative = "nega";
inline constexpr const char* kSecAttrSynchronizable = "sync";
// Kept by the store: set when an item is added and changed, in whole seconds; values given for
// them are ignored, but queries may match them.
inline constexpr const char* kSecAttrCreationDate = "cdat";
inline constexpr const char* kSecAttrModificationDate = "mdat";

// The item's secret bytes (Data). Ignored in queries.
inline constexpr const char* kSecValueData = "v_Data";

// How many items a search gives: kSecMatchLimitOne (the default), kSecMatchLimitAll, or a
// positive integer. With more than one, the result is an array.
inline constexpr const char* kSecMatchLimit = "m_Limit";
inline constexpr const char* kSecMatchLimitOne = "m_LimitOne";
inline constexpr const char* kSecMatchLimitAll = "m_LimitAll";

// What a search (or an add) returns, each a boolean: the attribute dictionary (with kSecClass),
// the secret bytes, or both (the dictionary then also holds kSecValueData).
inline constexpr const char* kSecReturnAttributes = "r_Attributes";
inline constexpr const char* kSecReturnData = "r_Data";

// Finds the items that match every attribute of `query` (kSecClass required). `result`, when
// given, receives what the kSecReturn* keys ask for: a dictionary or Data for one item, an array
// for several, nothing when no kSecReturn* key is true. errSecItemNotFound when nothing matched.
ZU_EXPORT OSStatus SecItemCopyMatching(const Dictionary& query, Value* result);
// Adds an item with `attributes` and kSecValueData (kSecClass required). errSecDuplicateItem
// when the group holds an item with the same account and service (both "" when not given).
// `result`, when given, receives what kSecReturn* keys in `attributes` ask for.
ZU_EXPORT OSStatus SecItemAdd(const Dictionary& attributes, Value* result);
// Changes the attributes and secret of every item that matches `query`, to those of
// `attributesToUpdate` (attributes and kSecValueData only; a new kSecAttrAccessGroup moves the
// item). errSecItemNotFound when nothing matched; errSecDuplicateItem, changing nothing, when
// the change would make two items duplicates.
ZU_EXPORT OSStatus SecItemUpdate(const Dictionary& query, const Dictionary& attributesToUpdate);
// Deletes every item that matches `query`. errSecItemNotFound when nothing matched.
ZU_EXPORT OSStatus SecItemDelete(const Dictionary& query);

}  // namespace zu
