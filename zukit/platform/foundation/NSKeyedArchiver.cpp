#include "zukit/platform/foundation/NSKeyedArchiver.h"

#include <map>
#include <memory>
#include <span>
#include <vector>

#include <plist/plist.h>

#include "zukit/platform/foundation/AtomicFile.h"
#include "zukit/platform/foundation/PlistNode.h"
#include "zukit/platform/foundation/Unicode.h"

namespace zu {

namespace {

// Seconds between 1970-01-01 and 2001-01-01, the epoch of archived dates.
constexpr double kArchiveEpochOffset = 978307200.0;
constexpr int kMaximumDepth = 512;
constexpr mode_t kArchiveFileMode = 0644;

// Builds the "$objects" table: every object gets a slot (its UID) before its children, and its
// class entry after them, which is the order the platform writes.
class ArchiveWriter {
 public:
  ArchiveWriter() { _objects.emplace_back(plist_new_string("$null")); }

  // The UID of `value`, or none when it cannot be archived; `_failure` then says why.
  std::optional<std::uint64_t> encode(const Value& value, int depth) {
    if (depth > kMaximumDepth) return failed("the graph is nested too deeply");
    switch (value.kind()) {
      case Value::Kind::Absent:
        return 0;
      case Value::Kind::Boolean:
        return append(plist_new_bool(value.boolValue() ? 1 : 0));
      case Value::Kind::Integer:
        return append(plist_new_uint(static_cast<std::uint64_t>(value.integerValue())));
      case Value::Kind::Real:
        return append(plist_new_real(value.doubleValue()));
      case Value::Kind::String:
        return encodeString(*value.asString());
      case Value::Kind::Bytes: {
        const Data& bytes = *value.asData();
        return append(plist_new_data(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
      }
      case Value::Kind::Date: {
        const std::uint64_t slot = reserve();
        PlistNode object(plist_new_dict());
        plist_dict_set_item(object.get(), "$class", plist_new_uid(classUID("NSDate")));
        plist_dict_set_item(
            object.get(), "NS.time",
            plist_new_real(value.asDate()->timeIntervalSince1970() - kArchiveEpochOffset));
        return fill(slot, std::move(object));
      }
      case Value::Kind::Null: {
        const std::uint64_t slot = reserve();
        PlistNode object(plist_new_dict());
        plist_dict_set_item(object.get(), "$class", plist_new_uid(classUID("NSNull")));
        return fill(slot, std::move(object));
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
  PlistNode finish(std::uint64_t rootUID) {
    PlistNode top(plist_new_dict());
    plist_dict_set_item(top.get(), "$version", plist_new_uint(100000));
    plist_dict_set_item(top.get(), "$archiver", plist_new_string("NSKeyedArchiver"));
    plist_t rootEntry = plist_new_dict();
    plist_dict_set_item(rootEntry, "root", plist_new_uid(rootUID));
    plist_dict_set_item(top.get(), "$top", rootEntry);
    plist_t objects = plist_new_array();
    for (PlistNode& object : _objects)
      plist_array_append_item(objects, object.release());
    plist_dict_set_item(top.get(), "$objects", objects);
    return top;
  }

  const std::string& failure() const { return _failure; }

 private:
  std::optional<std::uint64_t> failed(std::string why) {
    _failure = std::move(why);
    return std::nullopt;
  }

  std::uint64_t append(plist_t node) {
    _objects.emplace_back(node);
    return _objects.size() - 1;
  }

  std::uint64_t reserve() { return append(nullptr); }

  std::uint64_t fill(std::uint64_t slot, PlistNode node) {
    _objects[slot] = std::move(node);
    return slot;
  }

  std::optional<std::uint64_t> encodeString(const std::string& text) {
    if (!isValidUtf8(text)) return failed("text that is not UTF-8 cannot be archived");
    const auto known = _strings.find(text);
    if (known != _strings.end()) return known->second;
    if (text.find('\0') != std::string::npos) return failed("text holding NUL cannot be archived");
    const std::uint64_t uid = append(plist_new_string(text.c_str()));
    _strings.emplace(text, uid);
    return uid;
  }

  std::optional<std::uint64_t> encodeArray(const Array& array, int depth) {
    const std::uint64_t slot = reserve();
    PlistNode uids(plist_new_array());
    for (const Value& element : array) {
      if (element.isAbsent()) return failed("an array cannot hold an absent element");
      const auto uid = encode(element, depth + 1);
      if (!uid) return std::nullopt;
      plist_array_append_item(uids.get(), plist_new_uid(*uid));
    }
    PlistNode object(plist_new_dict());
    plist_dict_set_item(object.get(), "$class", plist_new_uid(classUID("NSArray")));
    plist_dict_set_item(object.get(), "NS.objects", uids.release());
    return fill(slot, std::move(object));
  }

  std::optional<std::uint64_t> encodeDictionary(const Dictionary& dictionary, int depth) {
    const std::uint64_t slot = reserve();
    PlistNode keys(plist_new_array());
    PlistNode values(plist_new_array());
    for (const auto& [key, element] : dictionary) {
      const auto keyUID = encodeString(key);
      if (!keyUID) return std::nullopt;
      plist_array_append_item(keys.get(), plist_new_uid(*keyUID));
    }
    for (const auto& [key, element] : dictionary) {
      if (element.isAbsent()) return failed("a dictionary cannot hold an absent value");
      const auto uid = encode(element, depth + 1);
      if (!uid) return std::nullopt;
      plist_array_append_item(values.get(), plist_new_uid(*uid));
    }
    PlistNode object(plist_new_dict());
    plist_dict_set_item(object.get(), "$class", plist_new_uid(classUID("NSDictionary")));
    plist_dict_set_item(object.get(), "NS.keys", keys.release());
    plist_dict_set_item(object.get(), "NS.objects", values.release());
    return fill(slot, std::move(object));
  }

  std::uint64_t classUID(const std::string& name) {
    const auto known = _classes.find(name);
    if (known != _classes.end()) return known->second;
    plist_t entry = plist_new_dict();
    plist_t chain = plist_new_array();
    plist_array_append_item(chain, plist_new_string(name.c_str()));
    plist_array_append_item(chain, plist_new_string("NSObject"));
    plist_dict_set_item(entry, "$classes", chain);
    plist_dict_set_item(entry, "$classname", plist_new_string(name.c_str()));
    const std::uint64_t uid = append(entry);
    _classes.emplace(name, uid);
    return uid;
  }

  std::vector<PlistNode> _objects;
  std::map<std::string, std::uint64_t> _strings;
  std::map<std::string, std::uint64_t> _classes;
  std::string _failure;
};

}  // namespace

std::optional<Data> NSKeyedArchiver::archivedDataWithRootObject(const Value& rootObject,
                                                                NSErrorOut error) {
  ArchiveWriter writer;
  const std::optional<std::uint64_t> root = writer.encode(rootObject, 0);
  if (!root) {
    if (error != nullptr) {
      *error = NSError::errorWithDomain(
          NSCocoaErrorDomain, NSPropertyListWriteStreamError,
          Dictionary{{NSLocalizedDescriptionKey, Value(writer.failure())}});
    }
    return std::nullopt;
  }
  const PlistNode top = writer.finish(*root);
  char* bytes = nullptr;
  std::uint32_t length = 0;
  plist_to_bin(top.get(), &bytes, &length);
  if (bytes == nullptr) {
    if (error != nullptr) {
      *error = NSError::errorWithDomain(
          NSCocoaErrorDomain, NSPropertyListWriteStreamError,
          Dictionary{{NSLocalizedDescriptionKey, Value("the archive could not be written")}});
    }
    return std::nullopt;
  }
  Data data(reinterpret_cast<std::uint8_t*>(bytes),
            reinterpret_cast<std::uint8_t*>(bytes) + length);
  plist_to_bin_free(bytes);
  return data;
}

bool NSKeyedArchiver::archiveRootObject(const Value& rootObject, const std::string& path) {
  const std::optional<Data> data = archivedDataWithRootObject(rootObject);
  return data && writeFileAtomically(path, std::span(*data), kArchiveFileMode) == 0;
}

}  // namespace zu
