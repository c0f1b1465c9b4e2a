#include "host/PosixFiles.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <tuple>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

#include "host/AtomicFile.h"

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

struct UsedFile {
  timespec used{};
  std::size_t size = 0;
  std::string path;
  friend bool operator<(const UsedFile& a, const UsedFile& b) {
    return std::tie(a.used.tv_sec, a.used.tv_nsec) < std::tie(b.used.tv_sec, b.used.tv_nsec);
  }
};

/// The regular files of a directory. Drawing sets the time of access and nothing else, writing sets both.
std::vector<UsedFile> filesIn(const std::string& directory) {
  std::vector<UsedFile> files;
  std::error_code error;
  for (std::filesystem::directory_iterator it(directory, error), end; !error && it != end;
       it.increment(error)) {
    struct stat status {};
    const std::string& path = it->path().native();
    if (::lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) continue;
    files.push_back({status.st_atim, static_cast<std::size_t>(status.st_size), path});
  }
  return files;
}

}  // namespace

// Does not wait for the other end of a pipe. Reading is not use (see makeRoom), but only an owner may say so.
FileDescriptor openRegularFile(const std::string& path) {
  constexpr int kFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  FileDescriptor file(::open(path.c_str(), kFlags | O_NOATIME));
  if (!file.isOpen() && errno == EPERM) file = FileDescriptor(::open(path.c_str(), kFlags));
  struct stat status {};
  if (!file.isOpen() || ::fstat(file.get(), &status) != 0) return FileDescriptor();
  if (S_ISREG(status.st_mode)) return file;
  errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
  return FileDescriptor();
}

std::optional<Bytes> readFile(const std::string& path, std::size_t limit) {
  return readFile(openRegularFile(path), limit);
}

std::optional<Bytes> readFile(const FileDescriptor& file, std::size_t limit) {
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

void PosixFiles::makeRoom(std::size_t size, const std::string& directory, const DirectoryLimits& limits) {
  if (checkPath(directory)) return;
  const MutexLock lock(mutex_);
  const auto fits = [&](const DirectoryLimits& held, const DirectoryLimits& most) {
    return held.files + 1 <= most.files && held.bytes + size <= most.bytes;
  };
  auto known = mostHeld_.find(directory);
  if (known == mostHeld_.end() || !fits(known->second, limits)) {
    std::vector<UsedFile> files = filesIn(directory);
    DirectoryLimits held;
    for (const UsedFile& file : files) held = {held.files + 1, held.bytes + file.size};
    if (!fits(held, limits)) {
      const DirectoryLimits wanted{limits.files - limits.files / 8, limits.bytes - limits.bytes / 8};
      std::sort(files.begin(), files.end());
      for (auto oldest = files.begin(); oldest != files.end() && !fits(held, wanted); ++oldest) {
        if (::unlink(oldest->path.c_str()) == 0) held = {held.files - 1, held.bytes - oldest->size};
      }
    }
    known = mostHeld_.insert_or_assign(directory, held).first;
  }
  known->second = {known->second.files + 1, known->second.bytes + size};
}

}  // namespace tunevale::host
