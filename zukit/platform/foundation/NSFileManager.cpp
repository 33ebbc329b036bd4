#include "zukit/platform/foundation/NSFileManager.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "zukit/platform/foundation/NoDestructor.h"

namespace zu {

namespace fs = std::filesystem;

namespace {

bool fail(NSErrorOut error, int errnoValue, const std::string& path) {
  if (error != nullptr) *error = fileError(errnoValue, path);
  return false;
}

bool writeAll(int fd, const std::uint8_t* bytes, std::size_t size) {
  std::size_t written = 0;
  while (written < size) {
    const ssize_t result = ::write(fd, bytes + written, size - written);
    if (result < 0 && errno == EINTR) continue;
    if (result <= 0) return false;
    written += static_cast<std::size_t>(result);
  }
  return true;
}

// Copies a regular file to a destination that must not exist yet.
int copyRegularFile(const std::string& source, const std::string& destination) {
  const int in = ::open(source.c_str(), O_RDONLY | O_CLOEXEC);
  if (in < 0) return errno;
  struct stat status {};
  if (::fstat(in, &status) != 0 || !S_ISREG(status.st_mode)) {
    ::close(in);
    return EISDIR;
  }
  const int out =
      ::open(destination.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, status.st_mode & 07777);
  if (out < 0) {
    const int saved = errno;
    ::close(in);
    return saved;
  }
  std::uint8_t buffer[65536];
  int result = 0;
  for (;;) {
    const ssize_t got = ::read(in, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      result = errno;
      break;
    }
    if (got == 0) break;
    if (!writeAll(out, buffer, static_cast<std::size_t>(got))) {
      result = errno == 0 ? EIO : errno;
      break;
    }
  }
  ::close(in);
  if (::close(out) != 0 && result == 0) result = errno;
  if (result != 0) ::unlink(destination.c_str());
  return result;
}

void walk(const fs::path& root, const fs::path& relative, std::vector<std::string>& out) {
  std::error_code error;
  std::vector<fs::directory_entry> entries;
  for (fs::directory_iterator it(root / relative, error), end; !error && it != end;
       it.increment(error)) {
    entries.push_back(*it);
  }
  std::sort(entries.begin(), entries.end(),
            [](const auto& a, const auto& b) { return a.path().filename() < b.path().filename(); });
  for (const fs::directory_entry& entry : entries) {
    const fs::path child = relative / entry.path().filename();
    out.push_back(child.string());
    std::error_code typeError;
    if (entry.is_directory(typeError) && !entry.is_symlink(typeError)) walk(root, child, out);
  }
}

}  // namespace

std::shared_ptr<NSError> fileError(int errnoValue, const std::string& path) {
  NSInteger code = NSFileWriteUnknownError;
  if (errnoValue == ENOENT) code = NSFileNoSuchFileError;
  if (errnoValue == EEXIST) code = NSFileWriteFileExistsError;
  if (errnoValue == EACCES || errnoValue == EPERM) code = NSFileWriteNoPermissionError;
  return NSError::errorWithDomain(
      NSCocoaErrorDomain, code,
      Dictionary{{NSLocalizedDescriptionKey, Value(std::string(std::strerror(errnoValue)))},
                 {"NSFilePath", Value(path)}});
}

std::shared_ptr<NSFileManager> NSFileManager::defaultManager() {
  static NoDestructor<std::shared_ptr<NSFileManager>> manager(std::make_shared<NSFileManager>());
  return *manager;
}

bool NSFileManager::fileExistsAtPath(const std::string& path, bool* isDirectory) const {
  struct stat status {};
  if (path.empty() || ::stat(path.c_str(), &status) != 0) return false;
  if (isDirectory != nullptr) *isDirectory = S_ISDIR(status.st_mode);
  return true;
}

bool NSFileManager::createDirectoryAtPath(const std::string& path, bool withIntermediateDirectories,
                                          NSErrorOut error) const {
  if (path.empty()) return fail(error, ENOENT, path);
  std::error_code code;
  if (withIntermediateDirectories) {
    fs::create_directories(path, code);
    if (code) return fail(error, code.value(), path);
    bool directory = false;
    return fileExistsAtPath(path, &directory) && directory ? true : fail(error, ENOTDIR, path);
  }
  if (::mkdir(path.c_str(), 0755) != 0) return fail(error, errno, path);
  return true;
}

bool NSFileManager::createFileAtPath(const std::string& path, const Data* contents) const {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) return false;
  const bool written = contents == nullptr || writeAll(fd, contents->data(), contents->size());
  return ::close(fd) == 0 && written;
}

std::optional<Data> NSFileManager::contentsAtPath(const std::string& path) const {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  Data bytes;
  std::uint8_t buffer[65536];
  for (;;) {
    const ssize_t got = ::read(fd, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      ::close(fd);
      return std::nullopt;
    }
    if (got == 0) break;
    bytes.insert(bytes.end(), buffer, buffer + got);
  }
  ::close(fd);
  return bytes;
}

std::vector<std::string> NSFileManager::enumeratorAtPath(const std::string& path) const {
  std::vector<std::string> paths;
  bool directory = false;
  if (fileExistsAtPath(path, &directory) && directory) walk(path, fs::path(), paths);
  return paths;
}

std::vector<std::string> NSFileManager::contentsOfDirectoryAtPath(const std::string& path,
                                                                  NSErrorOut error) const {
  std::vector<std::string> names;
  std::error_code code;
  for (fs::directory_iterator it(path, code), end; !code && it != end; it.increment(code)) {
    names.push_back(it->path().filename().string());
  }
  if (code) {
    fail(error, code.value(), path);
    return {};
  }
  std::sort(names.begin(), names.end());
  return names;
}

bool NSFileManager::removeItemAtPath(const std::string& path, NSErrorOut error) const {
  std::error_code code;
  const auto removed = fs::remove_all(path, code);
  if (code) return fail(error, code.value(), path);
  if (removed == 0) return fail(error, ENOENT, path);
  return true;
}

bool NSFileManager::moveItemAtPath(const std::string& source, const std::string& destination,
                                   NSErrorOut error) const {
  if (source.empty() || destination.empty()) return fail(error, ENOENT, source);
  if (::renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, destination.c_str(), RENAME_NOREPLACE) == 0) {
    return true;
  }
  const int renameError = errno;
  if (renameError != EXDEV) return fail(error, renameError, destination);
  const int copyError = copyRegularFile(source, destination);
  if (copyError != 0) return fail(error, copyError, destination);
  ::unlink(source.c_str());
  return true;
}

bool NSFileManager::moveItemAtURL(const NSURL& source, const NSURL& destination,
                                  NSErrorOut error) const {
  if (!source.isFileURL() || !destination.isFileURL()) {
    return fail(error, EINVAL, source.absoluteString());
  }
  return moveItemAtPath(source.path(), destination.path(), error);
}

bool NSFileManager::copyItemAtPath(const std::string& source, const std::string& destination,
                                   NSErrorOut error) const {
  const int copyError = copyRegularFile(source, destination);
  return copyError == 0 ? true : fail(error, copyError, destination);
}

}  // namespace zu
