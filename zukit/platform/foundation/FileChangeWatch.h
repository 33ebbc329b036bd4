#pragma once

// Internal to libzukit (not installed, not exported): a cheap "may this file have changed?"
// for stores that must see other processes' writes at their next read.

#include <cstdint>
#include <string>

namespace zu {

// Watches one file path through the kernel's file events (inotify) on its directory, so that
// a reader can skip the stat of an unchanged file. Any creation, write, rename, removal or
// attribute change of the file's name, by this process or another, is reported by the next
// mayHaveChanged(); so is anything that could hide such a change (the directory or one above
// it renamed or removed, lost events, a fork). Until the directory exists, and wherever file
// events are not available, every question answers true. Safe from any thread.
class FileChangeWatch {
 public:
  // Watches `path`; the first mayHaveChanged() answers true.
  explicit FileChangeWatch(const std::string& path);
  ~FileChangeWatch();
  FileChangeWatch(const FileChangeWatch&) = delete;
  FileChangeWatch& operator=(const FileChangeWatch&) = delete;

  // True when the file may have changed since the previous call that answered true (or since
  // the watch began): the caller then looks at the file itself.
  bool mayHaveChanged();

 private:
  // The watch's number in the process-wide event reader.
  std::uint64_t _id;
};

}  // namespace zu
