#pragma once

// Internal to libzukit (not installed, not exported): binary property lists written object by
// object.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zukit/platform/foundation/Value.h"

namespace zu {

// Writes a binary property list ("bplist00") one object at a time: each add gives the new
// object's number, and arrays and dictionaries refer to objects by those numbers, added before
// or after them. Nothing is shared unless the caller shares it (or asks for dictionary keys to
// be shared), so a caller that knows its shape (a store's list of records, say) writes it
// without searching for equal objects. The most objects there can be must be known up front,
// since it decides the width of every reference.
class BinaryPropertyListBuilder {
 public:
  // A list of at most `objectCount` objects.
  explicit BinaryPropertyListBuilder(std::uint64_t objectCount);

  // From now on, dictionaries added through add() share one object per key text (among the
  // first 64 key texts): for lists of records with the same keys.
  void shareDictionaryKeys() { _sharesKeys = true; }
  // Adds `text` now, and makes every later text (key or value) equal to it share its object:
  // for the few values that every record repeats.
  std::optional<std::uint64_t> shareText(std::string_view text);

  // The number of objects add() makes of `value`: one for a scalar, text or data, and for an
  // array or dictionary one more than its elements (keys and values) make.
  static std::uint64_t objectCount(const Value& value);
  // The same for a dictionary.
  static std::uint64_t objectCount(const Dictionary& dictionary);
  // The bytes a scalar (boolean, integer, real or date) is written as.
  static void appendScalar(Data& out, const Value& value);

  // Adds `value` and everything in it, elements before their container, and gives the
  // container's number (the value's own for a scalar); none when it holds what a property list
  // cannot or nests deeper than `depthLeft` levels.
  std::optional<std::uint64_t> add(const Value& value, int depthLeft);
  // The same for a dictionary.
  std::optional<std::uint64_t> add(const Dictionary& dictionary, int depthLeft);
  // Adds a scalar: a boolean, integer, real or date.
  std::uint64_t addScalar(const Value& value);
  // Adds text; none when it is not UTF-8.
  std::optional<std::uint64_t> addText(std::string_view text);
  // Adds data.
  std::uint64_t addData(std::span<const std::uint8_t> bytes);
  // Adds a keyed-archive UID.
  std::uint64_t addUid(std::uint64_t uid);
  // Adds an array of the objects numbered `elements`.
  std::uint64_t addArray(std::span<const std::uint64_t> elements);
  // Adds a dictionary of the objects numbered `keys` and `values`, pair by pair; both spans
  // have the same length.
  std::uint64_t addDictionary(std::span<const std::uint64_t> keys,
                              std::span<const std::uint64_t> values);

  // The bytes, with object `top` at the top; none when more objects were added than announced.
  std::optional<Data> finish(std::uint64_t top);

 private:
  // Starts the next object; its number.
  std::uint64_t begin();
  void appendReferences(std::span<const std::uint64_t> references);
  // The object of the key text `key`, shared when keys are.
  std::optional<std::uint64_t> addKey(std::string_view key);

  const std::uint64_t _objectCount;
  const std::size_t _referenceSize;
  Data _out;
  std::vector<std::uint64_t> _offsets;
  // Numbers of elements added but not yet in their container, innermost container last.
  std::vector<std::uint64_t> _pending;
  bool _sharesKeys = false;
  std::vector<std::pair<std::string, std::uint64_t>> _sharedKeys;
  std::vector<std::pair<std::string, std::uint64_t>> _sharedTexts;
};

}  // namespace zu
