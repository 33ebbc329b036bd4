#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zukit/platform/foundation/Export.h"
#include "zukit/platform/foundation/NSError.h"
#include "zukit/platform/foundation/NSURL.h"
#include "zukit/platform/foundation/Value.h"
#include "zukit/platform/runtime/RuntimeClass.h"

namespace zu {

// Error domain and codes of file operations.
inline constexpr const char* NSCocoaErrorDomain = "NSCocoaErrorDomain";
inline constexpr NSInteger NSFileNoSuchFileError = 4;
inline constexpr NSInteger NSFileReadUnknownError = 256;
inline constexpr NSInteger NSFileWriteUnknownError = 512;
inline constexpr NSInteger NSFileWriteNoPermissionError = 513;
inline constexpr NSInteger NSFileWriteFileExistsError = 516;

// Where an operation that can fail reports why; may be null.
using NSErrorOut = std::shared_ptr<NSError>*;

// File-system operations on std::filesystem and POSIX calls. Stateless and safe from any thread.
class ZU_EXPORT NSFileManager final : public Object {
 public:
  ZU_RUNTIME_CLASS(NSFileManager, Object)
  // The shared file manager.
  static std::shared_ptr<NSFileManager> defaultManager();

  // True when something exists at `path`; `isDirectory`, when given, tells whether it is one.
  bool fileExistsAtPath(const std::string& path, bool* isDirectory = nullptr) const;
  // Makes a directory, with its missing parents when `withIntermediateDirectories`. An existing
  // directory succeeds only with intermediate directories, as on the platform.
  bool createDirectoryAtPath(const std::string& path, bool withIntermediateDirectories,
                             NSErrorOut error = nullptr) const;
  // Writes a new file holding `contents` (none: empty), replacing a file of the same name.
  bool createFileAtPath(const std::string& path, const Data* contents) const;
  // The bytes of the file at `path`, or none.
  std::optional<Data> contentsAtPath(const std::string& path) const;
  // Paths of every entry below `path`, relative to it, directories included: a deep walk in a
  // stable order (each directory's entries by name, a directory before its contents). Empty
  // when `path` is not a readable directory.
  std::vector<std::string> enumeratorAtPath(const std::string& path) const;
  // Names of the entries directly in `path`, by name.
  std::vector<std::string> contentsOfDirectoryAtPath(const std::string& path,
                                                     NSErrorOut error = nullptr) const;
  // Removes a file, or a directory with everything in it.
  bool removeItemAtPath(const std::string& path, NSErrorOut error = nullptr) const;
  // Moves a file or directory. Fails when the destination exists or its parent is missing.
  // A file moves across file systems by copying and removing the source.
  bool moveItemAtPath(const std::string& source, const std::string& destination,
                      NSErrorOut error = nullptr) const;
  // moveItemAtPath() for two file URLs; fails for other URLs.
  bool moveItemAtURL(const NSURL& source, const NSURL& destination,
                     NSErrorOut error = nullptr) const;
  // Copies a file. Fails when the destination exists.
  bool copyItemAtPath(const std::string& source, const std::string& destination,
                      NSErrorOut error = nullptr) const;

  // The shared container of the app group `groupIdentifier`: a file URL (ending in "/") of the
  // directory $XDG_DATA_HOME/zukit/app-groups/<identifier>/, made on first use together with
  // its Library/Caches directory. None for an identifier the program is not entitled to (see
  // NSFileManager+AppGroups.cpp), one that is not valid UTF-8 text or cannot be a directory
  // name ("/", ".", ".."), or when the directory cannot be made.
  std::shared_ptr<NSURL> containerURLForSecurityApplicationGroupIdentifier(
      const Value& groupIdentifier) const;
  // The same container as a directory path ending in "/", without the URL: for callers that
  // look it up at every read.
  std::optional<std::string> containerPathForSecurityApplicationGroupIdentifier(
      const Value& groupIdentifier) const;
  // Where that container is, for an identifier the program is entitled to, without looking at
  // the disk or making it; none where the lookup gives none.
  static std::optional<std::string> declaredContainerPath(const Value& groupIdentifier);
};

// An error of `errnoValue` for `path`, in the file error domain.
ZU_EXPORT std::shared_ptr<NSError> fileError(int errnoValue, const std::string& path);

}  // namespace zu
