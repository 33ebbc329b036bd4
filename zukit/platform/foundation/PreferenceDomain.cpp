#include "zukit/platform/foundation/PreferenceDomain.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <span>
#include <unordered_map>

#include "zukit/platform/foundation/AtomicFile.h"
#include "zukit/platform/foundation/FileLock.h"
#include "zukit/platform/foundation/Format.h"
#include "zukit/platform/foundation/NSPropertyListSerialization.h"
#include "zukit/platform/foundation/NoDestructor.h"

namespace zu {

namespace {

constexpr mode_t kFileMode = 0600;

struct Registry {
  Mutex mutex;
  std::unordered_map<std::string, std::shared_ptr<PreferenceDomain>> domains ZU_GUARDED_BY(mutex);
};

// The dictionary a file read holds; none when it is not a dictionary property list.
std::optional<Dictionary> dictionaryOf(const StoreFile& file) {
  if (file.state != StoreFile::State::Read) return Dictionary();
  if (file.bytes.empty()) return Dictionary();
  Value plist = NSPropertyListSerialization::propertyListWithData(file.bytes, 0);
  Dictionary* dictionary = plist.asDictionary();
  if (dictionary == nullptr) return std::nullopt;
  return std::move(*dictionary);
}

}  // namespace

std::shared_ptr<PreferenceDomain> PreferenceDomain::domainAtPath(const std::string& path) {
  static NoDestructor<Registry> registry;
  MutexLock lock(registry->mutex);
  auto& domain = registry->domains[path];
  if (!domain) domain = std::make_shared<PreferenceDomain>(path);
  return domain;
}

PreferenceDomain::PreferenceDomain(std::string path) : _path(std::move(path)), _watch(_path) {}

void PreferenceDomain::takeLocked(const StoreFile& file) {
  std::optional<Dictionary> values = dictionaryOf(file);
  switch (file.state) {
    case StoreFile::State::Missing:
      _fileState = FileState::Missing;
      break;
    case StoreFile::State::Unreadable:
      _fileState = FileState::Unreadable;
      break;
    case StoreFile::State::Read:
      _fileState = values ? FileState::Read : FileState::Damaged;
      break;
  }
  _fileError = file.error;
  // An unreadable file has no signature of its own read: its current one stands for it, so
  // that it is not tried again until it changes.
  _signature =
      file.state == StoreFile::State::Unreadable ? StoreFile::signatureAt(_path) : file.signature;
  _values = values ? std::move(*values) : Dictionary();
  for (const Change& change : _pending)
    _values.setObject(change.value, change.key);
  _loaded = true;
}

void PreferenceDomain::refreshLocked() {
  if (_loaded && !_watch.mayHaveChanged()) return;
  if (_loaded && StoreFile::signatureAt(_path) == _signature) return;
  takeLocked(StoreFile::read(_path));
}

Value PreferenceDomain::objectForKey(const std::string& key) {
  MutexLock lock(_mutex);
  refreshLocked();
  return _values.objectForKey(key);
}

void PreferenceDomain::setObject(Value value, const std::string& key) {
  MutexLock lock(_mutex);
  refreshLocked();
  _values.setObject(value, key);
  _pending.push_back(Change{key, std::move(value)});
}

Dictionary PreferenceDomain::dictionaryRepresentation() {
  MutexLock lock(_mutex);
  refreshLocked();
  return _values;
}

bool PreferenceDomain::writeLocked(const Dictionary& values) {
  if (_fileState == FileState::Unreadable) {
    StoreFile::report(format(
        "NSUserDefaults: the preferences file %@ cannot be read (%@); it is left as it is and "
        "the changes are not written",
        _path, std::strerror(_fileError)));
    return false;
  }
  const std::optional<Data> bytes = NSPropertyListSerialization::dataWithPropertyList(
      Value(values), NSPropertyListBinaryFormat_v1_0, 0);
  if (!bytes) return false;
  if (_fileState == FileState::Damaged) {
    const std::optional<std::string> aside = StoreFile::keepAside(_path);
    if (!aside) {
      StoreFile::report(format(
          "NSUserDefaults: the preferences file %@ is damaged and could not be kept aside (%@); "
          "the changes are not written",
          _path, std::strerror(errno)));
      return false;
    }
    StoreFile::report(
        format("NSUserDefaults: the preferences file %@ is damaged; it was kept aside as %@", _path,
               *aside));
    _fileState = FileState::Missing;
  }
  return writeFileAtomically(_path, std::span(*bytes), kFileMode) == 0;
}

bool PreferenceDomain::synchronize() {
  MutexLock lock(_mutex);
  if (_pending.empty()) {
    refreshLocked();
    return true;
  }
  std::error_code ignored;
  std::filesystem::create_directories(std::filesystem::path(_path).parent_path(), ignored);
  const FileLock fileLock(_path + ".lock");
  if (!fileLock.locked()) return false;
  // Writers replace the file only under the lock: a file that still has the signature last
  // read is the one whose values (with the pending changes) are in memory.
  refreshLocked();
  if (!writeLocked(_values)) return false;
  _pending.clear();
  _fileState = FileState::Read;
  _signature = StoreFile::signatureAt(_path);
  return true;
}

}  // namespace zu
