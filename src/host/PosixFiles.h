#pragma once

#include <map>

#include "foundation/Mutex.h"
#include "host/FileDescriptor.h"
#include "platform/FileManager.h"

namespace tunevale::host {

/// Files of this machine. Every operation refuses a path that is not absolute, holds a NUL, or has "." or
/// ".." among its parts: such a path was not built on purpose. Links are followed inside a path, never as its
/// last part: there a link is something that exists, can be removed and replaced, and cannot be read.
class PosixFiles : public FileManager {
 public:
  bool fileExistsAtPath(const std::string& path) override;
  std::optional<FileError> checkResourceIsReachable(const std::string& path) override;
  std::optional<Bytes> contentsAtPath(const std::string& path) override;
  /// Mode 0700. Something at the path already is an error.
  std::optional<FileError> createDirectoryAtPath(const std::string& path) override;
  std::optional<FileError> removeItemAtPath(const std::string& path) override;
  std::optional<FileError> writeAtomically(ByteView contents, const std::string& path) override;
  /// Counts what it makes room for, and looks only when that may be too much: once at first, and then after
  /// as much has come as it made more room than needed, an eighth of the limits.
  void makeRoom(std::size_t size, const std::string& directory, const DirectoryLimits& limits) override;

 private:
  Mutex mutex_;
  std::map<std::string, DirectoryLimits> mostHeld_
      GUARDED_BY(mutex_);  // by directory; at least what is there
};

/// A regular file opened for reading, its last part no link; not open otherwise, and errno tells why. Any
/// thread, as the next two.
FileDescriptor openRegularFile(const std::string& path);
/// A whole file of at most `limit` bytes from its start; nothing otherwise. By path only a regular file, its
/// last part no link.
std::optional<Bytes> readFile(const FileDescriptor& file, std::size_t limit);
std::optional<Bytes> readFile(const std::string& path, std::size_t limit);

}  // namespace tunevale::host
