#pragma once

#include <sys/types.h>

#include <cstdint>
#include <span>
#include <string>

namespace zu {

// Writes `bytes` to `path` through a temporary file in the same directory that then replaces
// the target with rename(2), so that a reader (in any process) sees either the whole old content
// or the whole new one. The file gets exactly `mode`. Missing directories are not created.
// Returns 0, or the errno value of the step that failed (the temporary file is then removed).
int writeFileAtomically(const std::string& path, std::span<const std::uint8_t> bytes, mode_t mode);

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
