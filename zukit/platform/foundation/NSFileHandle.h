#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// An open file descriptor, closed when the handle goes away or on closeFile(). A handle is used
// from one thread (or one serial queue) at a time.
class ZU_EXPORT NSFileHandle final : public Object {
 public:
  ZU_RUNTIME_CLASS(NSFileHandle, Object)
  // A handle writing an existing file from offset 0; none when the file cannot be opened.
  static std::shared_ptr<NSFileHandle> fileHandleForWritingAtPath(const std::string& path);
  // A handle reading a file from offset 0; none when the file cannot be opened.
  static std::shared_ptr<NSFileHandle> fileHandleForReadingAtPath(const std::string& path);

  explicit NSFileHandle(int fileDescriptor);
  ~NSFileHandle() override;
  NSFileHandle(const NSFileHandle&) = delete;
  NSFileHandle& operator=(const NSFileHandle&) = delete;

  // Writes every byte at the current offset; false when the write failed or the handle is closed.
  bool writeData(std::string_view bytes);
  // Reads from the current offset to the end of the file.
  std::optional<Data> readDataToEndOfFile();
  // Moves to the end of the file and returns the new offset.
  unsigned long long seekToEndOfFile();
  // Closes the descriptor; later writes do nothing.
  void closeFile();
  // The descriptor, or -1 once closed.
  int fileDescriptor() const { return _fd; }

 private:
  int _fd;
};

}  // namespace zu
