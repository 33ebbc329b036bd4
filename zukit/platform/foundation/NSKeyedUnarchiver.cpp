#include "zukit/platform/foundation/NSKeyedUnarchiver.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

#include "zukit/platform/foundation/NSPropertyListSerialization.h"

namespace zu {

namespace {

constexpr double kArchiveEpochOffset = 978307200.0;
constexpr int kMaximumDepth = 512;
// Values that an archive may expand to: at least this many, or this many per reference. Guards
// against archives whose few objects refer to each other twice per level.
constexpr std::size_t kMinimumValueBudget = std::size_t{1} << 18;
constexpr std::size_t kBudgetPerReference = 16;

// The entry `key` of a dictionary value; nullptr when `object` is not a dictionary or lacks it.
const Value* entryOf(const Value* object, std::string_view key) {
  const Dictionary* dictionary = object != nullptr ? object->asDictionary() : nullptr;
  return dictionary != nullptr ? dictionary->find(key) : nullptr;
}

std::optional<std::string> stringOf(const Value* value) {
  if (value == nullptr || !value->isString()) return std::nullopt;
  return *value->asString();
}

// A reference: {"CF$UID": n}, which is how property lists read UIDs in both formats.
std::optional<std::uint64_t> uidOf(const Value* value) {
  const Dictionary* dictionary = value != nullptr ? value->asDictionary() : nullptr;
  if (dictionary == nullptr || dictionary->size() != 1) return std::nullopt;
  const Value* number = dictionary->find("CF$UID");
  if (number == nullptr || !number->isInteger() || number->integerValue() < 0) return std::nullopt;
  return static_cast<std::uint64_t>(number->integerValue());
}

class ArchiveReader {
 public:
  ArchiveReader(const Array& objects, std::uint64_t root)
      : _objects(objects),
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
    for (const Value& object : _objects) {
      for (const char* list : {"NS.objects", "NS.keys"}) {
        const Value* references = entryOf(&object, list);
        if (references == nullptr || !references->isArray()) continue;
        for (const Value& reference : *references->asArray()) {
          const std::optional<std::uint64_t> uid = uidOf(&reference);
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

  // Scalars stand for themselves; a dictionary is an object with a class.
  std::optional<Value> decodeNode(const Value& node, int depth) {
    switch (node.kind()) {
      case Value::Kind::Boolean:
      case Value::Kind::Integer:
      case Value::Kind::Real:
      case Value::Kind::String:
      case Value::Kind::Bytes:
        return node;
      case Value::Kind::Dictionary:
        return decodeObject(node, depth);
      default:
        return std::nullopt;
    }
  }

  std::optional<std::string> classNameOf(const Value& object) const {
    const std::optional<std::uint64_t> classUID = uidOf(entryOf(&object, "$class"));
    if (!classUID || *classUID == 0 || *classUID >= _count) return std::nullopt;
    return stringOf(entryOf(&_objects[static_cast<std::size_t>(*classUID)], "$classname"));
  }

  std::optional<Value> decodeObject(const Value& object, int depth) {
    const std::optional<std::string> name = classNameOf(object);
    if (!name) return std::nullopt;
    if (*name == "NSNull") return Value::null();
    if (*name == "NSArray" || *name == "NSMutableArray") {
      std::optional<Array> elements = decodeList(entryOf(&object, "NS.objects"), depth);
      if (!elements) return std::nullopt;
      return Value(std::move(*elements));
    }
    if (*name == "NSDictionary" || *name == "NSMutableDictionary")
      return decodeDictionary(object, depth);
    if (*name == "NSDate") {
      const Value* time = entryOf(&object, "NS.time");
      if (time == nullptr || !time->isReal()) return std::nullopt;
      return Value(Date::dateWithTimeIntervalSince1970(time->doubleValue() + kArchiveEpochOffset));
    }
    if (*name == "NSString" || *name == "NSMutableString") {
      const std::optional<std::string> text = stringOf(entryOf(&object, "NS.string"));
      if (!text) return std::nullopt;
      return Value(*text);
    }
    if (*name == "NSData" || *name == "NSMutableData") {
      const Value* bytes = entryOf(&object, "NS.data");
      if (bytes == nullptr || !bytes->isData()) return std::nullopt;
      return *bytes;
    }
    return std::nullopt;
  }

  // The objects that an array of references points to; none when one is nil or unreadable.
  std::optional<Array> decodeList(const Value* references, int depth) {
    if (references == nullptr || !references->isArray()) return std::nullopt;
    const Array& list = *references->asArray();
    Array elements;
    elements.reserve(list.size());
    for (const Value& reference : list) {
      const std::optional<std::uint64_t> uid = uidOf(&reference);
      if (!uid || *uid == 0) return std::nullopt;
      std::optional<Value> element = decode(*uid, depth + 1);
      if (!element) return std::nullopt;
      elements.push_back(std::move(*element));
    }
    return elements;
  }

  std::optional<Value> decodeDictionary(const Value& object, int depth) {
    const std::optional<Array> keys = decodeList(entryOf(&object, "NS.keys"), depth);
    if (!keys) return std::nullopt;
    std::optional<Array> values = decodeList(entryOf(&object, "NS.objects"), depth);
    if (!values || values->size() != keys->size()) return std::nullopt;
    Dictionary dictionary;
    for (std::size_t i = 0; i < keys->size(); ++i) {
      const std::string* key = (*keys)[i].asString();
      if (key == nullptr) return std::nullopt;
      dictionary.setObject(std::move((*values)[i]), *key);
    }
    return Value(std::move(dictionary));
  }

  const Array& _objects;
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
  const Value top = NSPropertyListSerialization::propertyListWithData(data, 0);
  if (!top.isDictionary()) return corrupt(error, "The data is not a property list.");
  const Value* version = entryOf(&top, "$version");
  const Value* objects = entryOf(&top, "$objects");
  const Value* topEntries = entryOf(&top, "$top");
  if (stringOf(entryOf(&top, "$archiver")) != "NSKeyedArchiver" || version == nullptr ||
      !version->isInteger() || objects == nullptr || !objects->isArray() || topEntries == nullptr ||
      !topEntries->isDictionary()) {
    return corrupt(error, "The property list is not a keyed archive.");
  }
  const std::optional<std::uint64_t> root = uidOf(entryOf(topEntries, "root"));
  if (!root) return corrupt(error, "The keyed archive has no root object.");
  ArchiveReader reader(*objects->asArray(), *root);
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
