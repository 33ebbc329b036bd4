#pragma once

// Internal to libzukit (not installed, not exported): the preference files behind NSUserDefaults.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zukit/platform/foundation/FileChangeWatch.h"
#include "zukit/platform/foundation/Mutex.h"
#include "zukit/platform/foundation/StoreFile.h"
#include "zukit/platform/foundation/Value.h"

namespace zu {

// The values of one preferences domain, shared by every NSUserDefaults of that domain in the
// process and kept in a binary property-list file (XML files of earlier versions are read too).
//
// A read sees the file as it stands: when the file's identity or time stamp differs from the
// one last read (another process synchronised), it is read again, with this process's changes
// that are not yet synchronised kept on top. The file is looked at only when file events say
// it may have changed, so an unchanged file costs a read no stat. Changes reach the file on
// synchronize(), which merges them into the file's current values under an exclusive lock and
// replaces it atomically. A file that is not a dictionary property list reads as empty and is kept
// aside at the next write; one that cannot be read (permissions) is left alone and never written.
// Both are reported through StoreFile::report. Safe from any thread.
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
  // be written (or cannot be read, and so is not replaced).
  bool synchronize();
  // The file.
  const std::string& path() const { return _path; }

 private:
  // What the file held when last read.
  enum class FileState : std::uint8_t { Missing, Read, Damaged, Unreadable };
  struct Change {
    std::string key;
    Value value;
  };

  // Reads the file again when it changed since it was last read.
  void refreshLocked() ZU_REQUIRES(_mutex);
  // Takes in a read of the file: its values with the pending changes on top.
  void takeLocked(const StoreFile& file) ZU_REQUIRES(_mutex);
  // Writes `values` to the file, keeping a damaged one aside first; false on failure. The
  // caller holds the file lock.
  bool writeLocked(const Dictionary& values) ZU_REQUIRES(_mutex);

  const std::string _path;
  Mutex _mutex;
  FileChangeWatch _watch;
  bool _loaded ZU_GUARDED_BY(_mutex) = false;
  FileState _fileState ZU_GUARDED_BY(_mutex) = FileState::Missing;
  int _fileError ZU_GUARDED_BY(_mutex) = 0;
  std::optional<StoreFile::Signature> _signature ZU_GUARDED_BY(_mutex);
  // The file's values with the pending changes applied.
  Dictionary _values ZU_GUARDED_BY(_mutex);
  std::vector<Change> _pending ZU_GUARDED_BY(_mutex);
};

}  // namespace zu
