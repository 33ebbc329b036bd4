#pragma once

// Internal to libzukit (not installed, not exported): cross-process locking used by the stores.

#include <string>

namespace zu {

// Holds an exclusive flock(2) on a lock file for a scope, so that processes (and threads, each
// holding its own descriptor) take turns. The lock file is created with mode 0600 if missing.
class FileLock {
 public:
  // Blocks until the lock on `lockPath` is held; locked() tells whether that worked.
  explicit FileLock(const std::string& lockPath);
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  FileLock(FileLock&& other) noexcept;
  FileLock& operator=(FileLock&& other) = delete;

  // True when the lock is held.
  bool locked() const { return _fd >= 0; }

 private:
  int _fd = -1;
};

}  // namespace zu
