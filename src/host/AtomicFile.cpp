#include "host/AtomicFile.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

#include "host/FileDescriptor.h"

namespace tunevale::host {

namespace {

constexpr std::string_view kTemporaryPrefix = ".tunevale-unfinished-";

struct Parts {
  std::string folder;
  std::string name;
};

Parts split(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return {".", path};
  return {path.substr(0, slash + 1), path.substr(slash + 1)};
}

std::string temporaryName() {
  static std::atomic<unsigned> counter = 0;
  return std::string(kTemporaryPrefix) + std::to_string(::getpid()) + "-" + std::to_string(counter++);
}

// Creates a file that was not there; errno tells why when it could not.
FileDescriptor createTemporary(int folder, std::string& name) {
  while (true) {
    name = temporaryName();
    FileDescriptor file(::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (file.isOpen() || errno != EEXIST) return file;
  }
}

bool writeAll(int file, ByteView contents) {
  while (!contents.empty()) {
    const ssize_t written = ::write(file, contents.data(), contents.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    contents = contents.subspan(static_cast<std::size_t>(written));
  }
  return true;
}

// A file system that knows no syncing of folders says EINVAL; there is nothing more to be had from it.
bool syncFolder(int folder) {
  return ::fsync(folder) == 0 || errno == EINVAL;
}

}  // namespace

FileError systemFileError(const std::string& what, const std::string& path, int errorNumber) {
  return {"cannot " + what + " " + path + ": " + std::generic_category().message(errorNumber)};
}

std::string temporaryPath(const std::string& folder) {
  return folder + "/" + temporaryName();
}

std::optional<FileError> writeFileAtomically(ByteView contents, const std::string& path) {
  const auto [folderPath, name] = split(path);
  const FileDescriptor folder(::open(folderPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder.isOpen()) return systemFileError("open the folder", folderPath, errno);

  std::string temporary;
  const FileDescriptor file = createTemporary(folder.get(), temporary);
  if (!file.isOpen()) return systemFileError("create a file beside", path, errno);
  if (!writeAll(file.get(), contents) || ::fsync(file.get()) != 0 ||
      ::renameat(folder.get(), temporary.c_str(), folder.get(), name.c_str()) != 0) {
    const int reason = errno;
    ::unlinkat(folder.get(), temporary.c_str(), 0);
    return systemFileError("write", path, reason);
  }
  if (!syncFolder(folder.get())) return systemFileError("sync the folder of", path, errno);
  return {};
}

void removeUnfinishedWrites(const std::string& folder) {
  namespace fs = std::filesystem;
  std::error_code error;
  std::vector<fs::path> unfinished;
  const auto options = fs::directory_options::skip_permission_denied;
  for (fs::recursive_directory_iterator it(folder, options, error), end; !error && it != end;
       it.increment(error)) {
    if (it->path().filename().native().starts_with(kTemporaryPrefix)) unfinished.push_back(it->path());
  }
  for (const fs::path& path : unfinished) {
    if (fs::is_regular_file(fs::symlink_status(path, error))) fs::remove(path, error);
  }
}

}  // namespace tunevale::host
