#include "zukit/platform/foundation/NSKeyedArchiver.h"

#include <map>
#include <span>
#include <vector>

#include "zukit/platform/foundation/AtomicFile.h"
#include "zukit/platform/foundation/BinaryPropertyList.h"
#include "zukit/platform/foundation/Unicode.h"

namespace zu {

namespace {

// Seconds between 1970-01-01 and 2001-01-01, the epoch of archived dates.
constexpr double kArchiveEpochOffset = 978307200.0;
constexpr int kMaximumDepth = 512;
constexpr mode_t kArchiveFileMode = 0644;

// A reference to the object with `uid`, written as a UID.
Value reference(std::uint64_t uid) {
  return Value(Dictionary{{"CF$UID", Value(static_cast<std::int64_t>(uid))}});
}

// Builds the "$objects" table: every object gets a slot (its UID) before its children, and its
// class entry after them, which is the order the platform writes.
class ArchiveWriter {
 public:
  ArchiveWriter() { _objects.emplace_back("$null"); }

  // The UID of `value`, or none when it cannot be archived; `_failure` then says why.
  std::optional<std::uint64_t> encode(const Value& value, int depth) {
    if (depth > kMaximumDepth) return failed("the graph is nested too deeply");
    switch (value.kind()) {
      case Value::Kind::Absent:
        return 0;
      case Value::Kind::Boolean:
      case Value::Kind::Integer:
      case Value::Kind::Real:
      case Value::Kind::Bytes:
        return append(value);
      case Value::Kind::String:
        return encodeString(*value.asString());
      case Value::Kind::Date: {
        const std::uint64_t slot = reserve();
        Dictionary object{{"$class", reference(classUID("NSDate"))}};
        object.setObject(Value(value.asDate()->timeIntervalSince1970() - kArchiveEpochOffset),
                         "NS.time");
        return fill(slot, std::move(object));
      }
      case Value::Kind::Null: {
        const std::uint64_t slot = reserve();
        return fill(slot, Dictionary{{"$class", reference(classUID("NSNull"))}});
      }
      case Value::Kind::List:
        return encodeArray(*value.asArray(), depth);
      case Value::Kind::Dictionary:
        return encodeDictionary(*value.asDictionary(), depth);
      case Value::Kind::Object:
        return failed("an object of class " + value.asObject()->className() +
                      " cannot be archived");
    }
    return failed("unknown value");
  }

  // The archive's top-level dictionary, taking the objects table.
  Value finish(std::uint64_t rootUID) {
    return Value(Dictionary{{"$version", Value(100000)},
                            {"$archiver", Value("NSKeyedArchiver")},
                            {"$top", Value(Dictionary{{"root", reference(rootUID)}})},
                            {"$objects", Value(std::move(_objects))}});
  }

  const std::string& failure() const { return _failure; }

 private:
  std::optional<std::uint64_t> failed(std::string why) {
    _failure = std::move(why);
    return std::nullopt;
  }

  std::uint64_t append(Value object) {
    _objects.push_back(std::move(object));
    return _objects.size() - 1;
  }

  // Emplaced rather than moved in: GCC 12 at -O3 takes a moved-from empty Value for uninitialised
  // (a false -Wmaybe-uninitialized that breaks the release build).
  std::uint64_t reserve() {
    _objects.emplace_back();
    return _objects.size() - 1;
  }

  std::uint64_t fill(std::uint64_t slot, Dictionary object) {
    _objects[slot] = Value(std::move(object));
    return slot;
  }

  std::optional<std::uint64_t> encodeString(const std::string& text) {
    if (!isValidUtf8(text)) return failed("text that is not UTF-8 cannot be archived");
    const auto known = _strings.find(text);
    if (known != _strings.end()) return known->second;
    const std::uint64_t uid = append(Value(text));
    _strings.emplace(text, uid);
    return uid;
  }

  std::optional<std::uint64_t> encodeArray(const Array& array, int depth) {
    const std::uint64_t slot = reserve();
    Array uids;
    uids.reserve(array.size());
    for (const Value& element : array) {
      if (element.isAbsent()) return failed("an array cannot hold an absent element");
      const auto uid = encode(element, depth + 1);
      if (!uid) return std::nullopt;
      uids.push_back(reference(*uid));
    }
    Dictionary object{{"$class", reference(classUID("NSArray"))}};
    object.setObject(Value(std::move(uids)), "NS.objects");
    return fill(slot, std::move(object));
  }

  std::optional<std::uint64_t> encodeDictionary(const Dictionary& dictionary, int depth) {
    const std::uint64_t slot = reserve();
    Array keys;
    Array values;
    for (const auto& [key, element] : dictionary) {
      const auto keyUID = encodeString(key);
      if (!keyUID) return std::nullopt;
      keys.push_back(reference(*keyUID));
    }
    for (const auto& [key, element] : dictionary) {
      if (element.isAbsent()) return failed("a dictionary cannot hold an absent value");
      const auto uid = encode(element, depth + 1);
      if (!uid) return std::nullopt;
      values.push_back(reference(*uid));
    }
    Dictionary object{{"$class", reference(classUID("NSDictionary"))}};
    object.setObject(Value(std::move(keys)), "NS.keys");
    object.setObject(Value(std::move(values)), "NS.objects");
    return fill(slot, std::move(object));
  }

  std::uint64_t classUID(const std::string& name) {
    const auto known = _classes.find(name);
    if (known != _classes.end()) return known->second;
    const std::uint64_t uid = append(Value(Dictionary{
        {"$classes", Value(Array{Value(name), Value("NSObject")})}, {"$classname", Value(name)}}));
    _classes.emplace(name, uid);
    return uid;
  }

  Array _objects;
  std::map<std::string, std::uint64_t> _strings;
  std::map<std::string, std::uint64_t> _classes;
  std::string _failure;
};

}  // namespace

std::optional<Data> NSKeyedArchiver::archivedDataWithRootObject(const Value& rootObject,
                                                                NSErrorOut error) {
  ArchiveWriter writer;
  const std::optional<std::uint64_t> root = writer.encode(rootObject, 0);
  std::optional<Data> data;
  if (root) {
    data = BinaryPropertyList::write(writer.finish(*root),
                                     BinaryPropertyList::UidDictionaries::WriteAsUids);
  }
  if (!data && error != nullptr) {
    const std::string why = root ? "the archive could not be written" : writer.failure();
    *error = NSError::errorWithDomain(NSCocoaErrorDomain, NSPropertyListWriteStreamError,
                                      Dictionary{{NSLocalizedDescriptionKey, Value(why)}});
  }
  return data;
}

bool NSKeyedArchiver::archiveRootObject(const Value& rootObject, const std::string& path) {
  const std::optional<Data> data = archivedDataWithRootObject(rootObject);
  return data && writeFileAtomically(path, std::span(*data), kArchiveFileMode) == 0;
}

}  // namespace zu
