#pragma once

// Internal to libzukit (not installed, not exported): libplist helpers.

#include <memory>

#include <plist/plist.h>

namespace zu {

// Frees a libplist node tree.
struct PlistDeleter {
  // Frees `node` and its children.
  void operator()(plist_t node) const { plist_free(node); }
};

// An owned libplist node tree. The library only builds such trees to write them, and parses XML
// into them only to have libplist write it as a binary property list: it never reads text out of
// a node, since libplist's text accessors assert on text holding NUL.
using PlistNode = std::unique_ptr<void, PlistDeleter>;

}  // namespace zu
