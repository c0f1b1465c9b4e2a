#include "host/HomeFolder.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "host/AtomicFile.h"

namespace tunevale::host {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
  throw std::runtime_error("cannot use " + path + " as home directory: " + why);
}

// Like `mkdir -p`, each new folder for the owner alone.
void makeFolders(const fs::path& path) {
  fs::path made;
  for (const fs::path& part : path) {
    made /= part;
    if (::mkdir(made.c_str(), 0700) == 0) continue;
    const int reason = errno;
    if (!fs::is_directory(made))
      refuse(path, std::generic_category().message(reason == EEXIST ? ENOTDIR : reason));
  }
}

FileDescriptor claim(const std::string& home) {
  FileDescriptor lock(::open((home + "/.lock").c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!lock.isOpen()) refuse(home, std::generic_category().message(errno));
  if (::flock(lock.get(), LOCK_EX | LOCK_NB) == 0) return lock;
  refuse(home,
         errno == EWOULDBLOCK ? "another tunevale-watch uses it" : std::generic_category().message(errno));
}

}  // namespace

std::optional<std::string> HomeFolder::defaultPath() {
  // A relative path in either variable is to be ignored.
  const char* data = std::getenv("XDG_DATA_HOME");
  if (data != nullptr && *data == '/') return std::string(data) + "/tunevale-watch";
  const char* home = std::getenv("HOME");
  if (home != nullptr && *home == '/') return std::string(home) + "/.local/share/tunevale-watch";
  return {};
}

HomeFolder::HomeFolder(const std::string& path) {
  if (path.empty() || path.find('\0') != std::string::npos) refuse("\"\"", "it is no path");
  try {
    const fs::path absolute = fs::absolute(path);
    makeFolders(absolute);
    path_ = fs::canonical(absolute);
    if (path_ == "/") refuse(path, "it is the root of the file system");
    makeFolders(path_ + "/Documents");
    makeFolders(path_ + "/Library/Preferences");
  } catch (const fs::filesystem_error& error) {
    refuse(path, error.code().message());
  }
  if (::access(path_.c_str(), W_OK | X_OK) != 0) refuse(path_, std::generic_category().message(errno));
  lock_ = claim(path_);
  removeUnfinishedWrites(path_);
}

}  // namespace tunevale::host
