#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "foundation/Bytes.h"

namespace tunevale {

/// Why a file operation failed, in words for the log.
struct FileError {
  std::string description;
};

/// How much a directory may hold.
struct DirectoryLimits {
  std::size_t files = 0;
  std::size_t bytes = 0;
};

/// Files by absolute path. Operations return nothing on success and the error otherwise. Any thread.
class FileManager {
 public:
  virtual ~FileManager() = default;
  virtual bool fileExistsAtPath(const std::string& path) = 0;
  /// Whether a file can be opened for reading; why not, otherwise.
  virtual std::optional<FileError> checkResourceIsReachable(const std::string& path) = 0;
  /// The whole file; nothing when it cannot be read, is no regular file, is reached through a symbolic link
  /// as its last component, or holds more than 16 MiB.
  virtual std::optional<Bytes> contentsAtPath(const std::string& path) = 0;
  /// Creates one directory; its parent must exist.
  virtual std::optional<FileError> createDirectoryAtPath(const std::string& path) = 0;
  /// Removes a file, or a directory with all it holds. A path with nothing there is an error.
  virtual std::optional<FileError> removeItemAtPath(const std::string& path) = 0;
  /// Writes the file so that a crash at any moment leaves the old file, the new one or none, never a part of
  /// one.
  virtual std::optional<FileError> writeAtomically(ByteView contents, const std::string& path) = 0;
  /// Before a file of `size` bytes is written into a directory: removes the files of it that were used
  /// (written or drawn) longest ago, if it would hold more than it may; some more than needed, so that most
  /// calls need not look. What cannot be removed stays.
  virtual void makeRoom(std::size_t size, const std::string& directory, const DirectoryLimits& limits) = 0;
};

}  // namespace tunevale
