#pragma once

// Internal to libzukit (not installed, not exported): libplist helpers.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <plist/plist.h>

#include "zukit/platform/foundation/Value.h"

namespace zu {

// Frees a libplist node tree.
struct PlistDeleter {
  // Frees `node` and its children.
  void operator()(plist_t node) const { plist_free(node); }
};

// An owned libplist node tree.
using PlistNode = std::unique_ptr<void, PlistDeleter>;

// The text of a string or key node.
std::string plistText(plist_t node);

// The bytes of a data node.
Data plistData(plist_t node);

// The elements of an array node, walked once (indexing a libplist array walks it from the start
// each time).
std::vector<plist_t> plistElements(plist_t array);

// The value of a boolean, unsigned integer, real, string or data node; none for other kinds.
std::optional<Value> plistScalar(plist_t node);

}  // namespace zu
