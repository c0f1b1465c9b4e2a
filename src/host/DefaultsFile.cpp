#include "host/DefaultsFile.h"

#include <cerrno>
#include <cstdio>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include "foundation/PropertyList.h"
#include "host/AtomicFile.h"
#include "host/PosixFiles.h"

namespace tunevale::host {

namespace {

constexpr std::size_t kMostFileBytes = std::size_t{64} << 20;

bool exists(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0;
}

}  // namespace

DefaultsFile::DefaultsFile(std::string path, Log& log) : path_(std::move(path)), log_(log) {
  load();
}

void DefaultsFile::load() {
  if (!exists(path_)) return;
  const auto contents = readFile(path_, kMostFileBytes);
  const auto list = contents ? readPropertyList(*contents) : std::nullopt;
  if (list && list->dictionary() != nullptr) {
    const MutexLock lock(mutex_);
    values_ = *list->dictionary();
  } else {
    putAside();
  }
}

void DefaultsFile::putAside() {
  std::string aside;
  for (int n = 1; aside.empty() || exists(aside); ++n) aside = path_ + ".damaged-" + std::to_string(n);
  if (std::rename(path_.c_str(), aside.c_str()) == 0) {
    log_.write("User defaults are damaged and start empty; the file is kept as " + aside);
  } else {
    log_.write(systemFileError("put aside the damaged user defaults", path_, errno).description);
  }
}

std::optional<PlistValue> DefaultsFile::objectForKey(std::string_view key) {
  const MutexLock lock(mutex_);
  const PlistValue* value = values_.find(key);
  if (value == nullptr || value->isNull()) return {};
  return *value;
}

void DefaultsFile::setObject(std::optional<PlistValue> value, std::string_view key) {
  {
    const MutexLock lock(mutex_);
    const PlistValue* stored = values_.find(key);
    if (stored != nullptr && value && *stored == *value) return;
    if (value && !value->isNull()) {
      values_.set(key, std::move(*value));
    } else {
      values_.remove(key);
    }
    ++changes_;
    if (std::exchange(writeIsDue_, true)) return;
  }
  queue_.async([this] { write(); });
}

void DefaultsFile::synchronize() {
  queue_.sync([this] { write(); });
}

void DefaultsFile::write() {
  PlistValue values;
  std::uint64_t changes = 0;
  {
    const MutexLock lock(mutex_);
    writeIsDue_ = false;
    changes = changes_;
    if (changes == written_) return;
    values = values_;
  }
  const Bytes contents = writePropertyList(values);
  // A list past the reader's limits would count as damaged at the next start, and all would be lost.
  auto failure = readPropertyList(contents) ? writeFileAtomically(contents, path_)
                                            : FileError{"user defaults are too large to be stored"};
  if (!failure) {
    written_ = changes;
    failureLogged_ = false;
  } else if (!std::exchange(failureLogged_, true)) {
    log_.write("User defaults stay in memory: " + failure->description);
  }
}

}  // namespace tunevale::host
