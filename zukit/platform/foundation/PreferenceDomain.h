#pragma once

// Internal to libzukit (not installed, not exported): the preference files behind NSUserDefaults.

#include <sys/types.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/Value.h"

namespace zu {

// The values of one preferences domain, shared by every NSUserDefaults of that domain in the
// process and kept in an XML property-list file. Changes stay in memory until synchronize(),
// which merges them into what the file holds now (other processes' changes included) under an
// exclusive lock and replaces the file atomically.
class PreferenceDomain {
 public:
  // The shared domain kept in `path`.
  static std::shared_ptr<PreferenceDomain> domainAtPath(const std::string& path);

  explicit PreferenceDomain(std::string path);

  // The value under `key`, or absent.
  Value objectForKey(const std::string& key);
  // Sets (absent: removes) the value under `key` in memory.
  void setObject(Value value, const std::string& key);
  // Every value.
  Dictionary dictionaryRepresentation();
  // Writes pending changes and reads other processes' changes; false when the file could not
  // be written.
  bool synchronize();
  // The file.
  const std::string& path() const { return _path; }

 private:
  struct FileSignature {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    long long modified = 0;
    bool operator==(const FileSignature&) const = default;
  };
  struct Change {
    std::string key;
    Value value;
  };

  void loadIfNeededLocked() ZU_REQUIRES(_mutex);
  std::optional<FileSignature> signatureLocked() const ZU_REQUIRES(_mutex);
  Dictionary readFileLocked() const ZU_REQUIRES(_mutex);

  const std::string _path;
  Mutex _mutex;
  bool _loaded ZU_GUARDED_BY(_mutex) = false;
  Dictionary _values ZU_GUARDED_BY(_mutex);
  std::vector<Change> _pending ZU_GUARDED_BY(_mutex);
  std::optional<FileSignature> _signature ZU_GUARDED_BY(_mutex);
};

}  // namespace zu
