#include "host/PosixFiles.h"

#include <cerrno>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>

#include "host/AtomicFile.h"
#include "host/FileDescriptor.h"

namespace tunevale::host {

namespace {

// Artwork is far below 4 MiB and files from the phone end at 16 MiB.
constexpr std::size_t kMostFileBytes = std::size_t{16} << 20;

std::optional<FileError> checkPath(const std::string& path) {
  const auto refused = [&](const char* why) { return FileError{path + " " + why}; };
  if (!path.starts_with('/')) return refused("is not an absolute path");
  if (path.find('\0') != std::string::npos) return refused("holds a NUL character");
  for (const auto& part : std::filesystem::path(path)) {
    if (part == "." || part == "..") return refused("has a relative part");
  }
  return {};
}

// As its last part a link must not be followed, and "link/" would be.
std::string withoutFinalSlashes(std::string path) {
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  return path;
}

// Does not wait for the other end of a pipe. errno tells why there is none.
FileDescriptor openRegularFile(const std::string& path) {
  FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (!file.isOpen() || ::fstat(file.get(), &status) != 0) return FileDescriptor();
  if (S_ISREG(status.st_mode)) return file;
  errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
  return FileDescriptor();
}

}  // namespace

std::optional<Bytes> readFile(const std::string& path, std::size_t limit) {
  const FileDescriptor file = openRegularFile(path);
  struct stat status {};
  if (!file.isOpen() || ::fstat(file.get(), &status) != 0) return {};
  const auto expected = static_cast<std::size_t>(status.st_size);
  if (expected > limit) return {};
  // One byte more than expected, so that the end is found without growing; the file may still change.
  Bytes contents(expected + 1);
  std::size_t size = 0;
  while (true) {
    const ssize_t got = ::read(file.get(), contents.data() + size, contents.size() - size);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return {};
    if (got == 0) break;
    size += static_cast<std::size_t>(got);
    if (size > limit) return {};
    if (size == contents.size()) contents.resize(size * 2);
  }
  contents.resize(size);
  return contents;
}

bool PosixFiles::fileExistsAtPath(const std::string& path) {
  struct stat status {};
  return !checkPath(path) && ::lstat(path.c_str(), &status) == 0;
}

std::optional<FileError> PosixFiles::checkResourceIsReachable(const std::string& path) {
  if (auto refused = checkPath(path)) return refused;
  if (!openRegularFile(path).isOpen()) return systemFileError("read", path, errno);
  return {};
}

std::optional<Bytes> PosixFiles::contentsAtPath(const std::string& path) {
  if (checkPath(path)) return {};
  return readFile(path, kMostFileBytes);
}

std::optional<FileError> PosixFiles::createDirectoryAtPath(const std::string& path) {
  if (auto refused = checkPath(path)) return refused;
  if (::mkdir(path.c_str(), 0700) != 0) return systemFileError("create the folder", path, errno);
  return {};
}

std::optional<FileError> PosixFiles::removeItemAtPath(const std::string& path) {
  if (auto refused = checkPath(path)) return refused;
  const std::string item = withoutFinalSlashes(path);
  std::error_code error;
  const std::uintmax_t removed = std::filesystem::remove_all(item, error);
  if (error) return systemFileError("remove", item, error.value());
  if (removed == 0) return systemFileError("remove", item, ENOENT);
  return {};
}

std::optional<FileError> PosixFiles::writeAtomically(ByteView contents, const std::string& path) {
  if (auto refused = checkPath(path)) return refused;
  return writeFileAtomically(contents, path);
}

}  // namespace tunevale::host
