#pragma once

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
};

/// A whole regular file of at most `limit` bytes, its last part no link; nothing otherwise. Any thread.
std::optional<Bytes> readFile(const std::string& path, std::size_t limit);

}  // namespace tunevale::host
