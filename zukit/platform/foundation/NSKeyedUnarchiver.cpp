#include "zukit/platform/foundation/NSKeyedUnarchiver.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

#include <plist/plist.h>

#include "zukit/platform/foundation/PlistNode.h"

namespace zu {

namespace {

constexpr double kArchiveEpochOffset = 978307200.0;
constexpr int kMaximumDepth = 512;
// Values that an archive may expand to: at least this many, or this many per reference. Guards
// against archives whose few objects refer to each other twice per level.
constexpr std::size_t kMinimumValueBudget = std::size_t{1} << 18;
constexpr std::size_t kBudgetPerReference = 16;

std::optional<std::string> stringOf(plist_t node) {
  if (node == nullptr || plist_get_node_type(node) != PLIST_STRING) return std::nullopt;
  return plistText(node);
}

// A reference: a UID node (binary archives) or {"CF$UID": n} (XML archives).
std::optional<std::uint64_t> uidOf(plist_t node) {
  if (node == nullptr) return std::nullopt;
  std::uint64_t uid = 0;
  if (plist_get_node_type(node) == PLIST_UID) {
    plist_get_uid_val(node, &uid);
    return uid;
  }
  if (plist_get_node_type(node) == PLIST_DICT && plist_dict_get_size(node) == 1) {
    plist_t number = plist_dict_get_item(node, "CF$UID");
    if (number != nullptr && plist_get_node_type(number) == PLIST_UINT) {
      plist_get_uint_val(number, &uid);
      return uid;
    }
  }
  return std::nullopt;
}

class ArchiveReader {
 public:
  ArchiveReader(plist_t objects, std::uint64_t root)
      : _objects(plistElements(objects)),
        _count(_objects.size()),
        _state(_count, State::Unvisited),
        _references(_count, 0),
        _shared(_count) {
    std::size_t total = countReferences(root);
    _budget = std::max(kMinimumValueBudget, kBudgetPerReference * total);
  }

  // The object with `uid`; none for anything that is not a well-formed reference.
  std::optional<Value> decode(std::uint64_t uid, int depth) {
    if (uid == 0) return Value();
    if (uid >= _count || depth > kMaximumDepth) return std::nullopt;
    const auto index = static_cast<std::size_t>(uid);
    if (_state[index] == State::InProgress) return std::nullopt;  // a cycle
    if (_state[index] == State::Done) {
      // Only objects referred to more than once are kept for reuse.
      if (!_shared[index] || !spend(_shared[index]->size)) return std::nullopt;
      return _shared[index]->value;
    }
    _state[index] = State::InProgress;
    const std::size_t before = _spent;
    std::optional<Value> value = decodeNode(_objects[index], depth);
    if (!value || !spend(1)) return std::nullopt;
    if (_references[index] > 1) _shared[index] = Shared{*value, _spent - before};
    _state[index] = State::Done;
    return value;
  }

 private:
  enum class State : std::uint8_t { Unvisited, InProgress, Done };
  // A decoded object that several references share, with the number of values it holds.
  struct Shared {
    Value value;
    std::size_t size = 0;
  };

  // Counts the references to each object (the root's and those in "NS.objects" and "NS.keys"
  // lists); returns their total.
  std::size_t countReferences(std::uint64_t root) {
    std::size_t total = 1;
    if (root < _count) ++_references[root];
    for (plist_t object : _objects) {
      if (plist_get_node_type(object) != PLIST_DICT) continue;
      for (const char* list : {"NS.objects", "NS.keys"}) {
        plist_t references = plist_dict_get_item(object, list);
        if (references == nullptr || plist_get_node_type(references) != PLIST_ARRAY) continue;
        for (plist_t reference : plistElements(references)) {
          const std::optional<std::uint64_t> uid = uidOf(reference);
          if (uid && *uid < _count) ++_references[*uid];
          ++total;
        }
      }
    }
    return total;
  }

  bool spend(std::size_t values) {
    if (values > _budget - _spent) return false;
    _spent += values;
    return true;
  }

  std::optional<Value> decodeNode(plist_t node, int depth) {
    if (std::optional<Value> scalar = plistScalar(node)) return scalar;
    if (plist_get_node_type(node) == PLIST_DICT) return decodeObject(node, depth);
    return std::nullopt;
  }

  std::optional<std::string> classNameOf(plist_t object) const {
    const std::optional<std::uint64_t> classUID = uidOf(plist_dict_get_item(object, "$class"));
    if (!classUID || *classUID == 0 || *classUID >= _count) return std::nullopt;
    plist_t entry = _objects[static_cast<std::size_t>(*classUID)];
    if (plist_get_node_type(entry) != PLIST_DICT) return std::nullopt;
    return stringOf(plist_dict_get_item(entry, "$classname"));
  }

  std::optional<Value> decodeObject(plist_t object, int depth) {
    const std::optional<std::string> name = classNameOf(object);
    if (!name) return std::nullopt;
    if (*name == "NSNull") return Value::null();
    if (*name == "NSArray" || *name == "NSMutableArray") {
      std::optional<Array> elements = decodeList(plist_dict_get_item(object, "NS.objects"), depth);
      if (!elements) return std::nullopt;
      return Value(std::move(*elements));
    }
    if (*name == "NSDictionary" || *name == "NSMutableDictionary")
      return decodeDictionary(object, depth);
    if (*name == "NSDate") {
      plist_t time = plist_dict_get_item(object, "NS.time");
      if (time == nullptr || plist_get_node_type(time) != PLIST_REAL) return std::nullopt;
      double seconds = 0;
      plist_get_real_val(time, &seconds);
      return Value(Date::dateWithTimeIntervalSince1970(seconds + kArchiveEpochOffset));
    }
    if (*name == "NSString" || *name == "NSMutableString") {
      const std::optional<std::string> text = stringOf(plist_dict_get_item(object, "NS.string"));
      if (!text) return std::nullopt;
      return Value(*text);
    }
    if (*name == "NSData" || *name == "NSMutableData") {
      plist_t bytes = plist_dict_get_item(object, "NS.data");
      if (bytes == nullptr || plist_get_node_type(bytes) != PLIST_DATA) return std::nullopt;
      return Value(plistData(bytes));
    }
    return std::nullopt;
  }

  // The objects that an array of references points to; none when one is nil or unreadable.
  std::optional<Array> decodeList(plist_t references, int depth) {
    if (references == nullptr || plist_get_node_type(references) != PLIST_ARRAY) {
      return std::nullopt;
    }
    const std::vector<plist_t> list = plistElements(references);
    Array elements;
    elements.reserve(list.size());
    for (plist_t reference : list) {
      const std::optional<std::uint64_t> uid = uidOf(reference);
      if (!uid || *uid == 0) return std::nullopt;
      std::optional<Value> element = decode(*uid, depth + 1);
      if (!element) return std::nullopt;
      elements.push_back(std::move(*element));
    }
    return elements;
  }

  std::optional<Value> decodeDictionary(plist_t object, int depth) {
    const std::optional<Array> keys = decodeList(plist_dict_get_item(object, "NS.keys"), depth);
    if (!keys) return std::nullopt;
    std::optional<Array> values = decodeList(plist_dict_get_item(object, "NS.objects"), depth);
    if (!values || values->size() != keys->size()) return std::nullopt;
    Dictionary dictionary;
    for (std::size_t i = 0; i < keys->size(); ++i) {
      const std::string* key = (*keys)[i].asString();
      if (key == nullptr) return std::nullopt;
      dictionary.setObject(std::move((*values)[i]), *key);
    }
    return Value(std::move(dictionary));
  }

  std::vector<plist_t> _objects;
  std::size_t _count;
  std::vector<State> _state;
  std::vector<std::uint32_t> _references;
  std::vector<std::optional<Shared>> _shared;
  std::size_t _budget = 0;
  std::size_t _spent = 0;
};

Value corrupt(NSErrorOut error, const char* why) {
  if (error != nullptr) {
    *error = NSError::errorWithDomain(NSCocoaErrorDomain, NSCoderReadCorruptError,
                                      Dictionary{{NSLocalizedDescriptionKey, Value(why)}});
  }
  return {};
}

}  // namespace

Value NSKeyedUnarchiver::unarchiveObjectWithData(const Data& data, NSErrorOut error) {
  if (data.empty() || data.size() > std::numeric_limits<std::uint32_t>::max()) {
    return corrupt(error, "The data is not a keyed archive.");
  }
  const auto* bytes = reinterpret_cast<const char*>(data.data());
  const auto length = static_cast<std::uint32_t>(data.size());
  plist_t raw = nullptr;
  if (plist_is_binary(bytes, length) != 0) {
    plist_from_bin(bytes, length, &raw);
  } else {
    plist_from_xml(bytes, length, &raw);
  }
  const PlistNode top(raw);
  if (!top || plist_get_node_type(top.get()) != PLIST_DICT) {
    return corrupt(error, "The data is not a property list.");
  }
  plist_t version = plist_dict_get_item(top.get(), "$version");
  plist_t objects = plist_dict_get_item(top.get(), "$objects");
  plist_t topEntries = plist_dict_get_item(top.get(), "$top");
  if (stringOf(plist_dict_get_item(top.get(), "$archiver")) != "NSKeyedArchiver" ||
      version == nullptr || plist_get_node_type(version) != PLIST_UINT || objects == nullptr ||
      plist_get_node_type(objects) != PLIST_ARRAY || topEntries == nullptr ||
      plist_get_node_type(topEntries) != PLIST_DICT) {
    return corrupt(error, "The property list is not a keyed archive.");
  }
  const std::optional<std::uint64_t> root = uidOf(plist_dict_get_item(topEntries, "root"));
  if (!root) return corrupt(error, "The keyed archive has no root object.");
  ArchiveReader reader(objects, *root);
  std::optional<Value> value = reader.decode(*root, 0);
  if (!value) return corrupt(error, "The keyed archive is damaged.");
  return std::move(*value);
}

Value NSKeyedUnarchiver::unarchiveObjectWithFile(const std::string& path) {
  const std::optional<Data> data = NSFileManager::defaultManager()->contentsAtPath(path);
  if (!data) return {};
  return unarchiveObjectWithData(*data);
}

}  // namespace zu
