#pragma once

#include <cstdint>

namespace zu {

// The status every keychain call returns: 0 for success, a negative code otherwise.
using OSStatus = std::int32_t;

// Status codes, with the platform's values.
inline constexpr OSStatus errSecSuccess = 0;
// An operation this store does not offer (a class other than generic passwords).
inline constexpr OSStatus errSecUnimplemented = -4;
// The store's file could not be read or written.
inline constexpr OSStatus errSecIO = -36;
// A query or attribute map that is malformed: a missing class, an unknown key, a value of the
// wrong type, an access group that cannot name a store.
inline constexpr OSStatus errSecParam = -50;
// An item with the same access group, account and service exists already.
inline constexpr OSStatus errSecDuplicateItem = -25299;
// No item matched.
inline constexpr OSStatus errSecItemNotFound = -25300;

}  // namespace zu
