#include "host/DefaultsFile.h"

#include <cerrno>
#include <cstdio>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include "foundation/PropertyList.h"
#include "foundation/PropertyListLimits.h"
#include "host/AtomicFile.h"
#include "host/PosixFiles.h"

namespace tunevale::host {

namespace {

constexpr std::size_t kMostFileBytes = std::size_t{256} << 20;
// Of all entries: the dictionary itself is one more, and has a header and a trailer.
constexpr PlistExtent kMostOfAll{kMostNodes - 1, kMostFileBytes - 128};
constexpr PlistExtent kMostOfValue{kMostOfAll.nodes / 8, kMostOfAll.bytes / 8};

// What an older file holds may be past what is kept now; then it counts as nothing.
PlistExtent storedExtent(std::string_view key, const PlistValue& value) {
  return extentOfEntry(key, value, kMostOfAll).value_or(PlistExtent());
}

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
  const auto list = contents ? readOwnPropertyList(*contents) : std::nullopt;
  if (list && list->dictionary() != nullptr) {
    const MutexLock lock(mutex_);
    values_ = *list->dictionary();
    for (const PlistDictionary::Entry& entry : values_)
      extent_ = extent_ + storedExtent(entry.key, entry.value);
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

bool DefaultsFile::setObject(std::optional<PlistValue> value, std::string_view key) {
  const bool removes = !value || value->isNull();
  const auto extent = removes ? PlistExtent() : extentOfEntry(key, *value, kMostOfValue);
  bool kept = extent.has_value();
  if (kept) {
    const MutexLock lock(mutex_);
    const PlistValue* stored = values_.find(key);
    if (stored == nullptr ? removes : !removes && *stored == *value) return true;
    const PlistExtent all =
        extent_ - (stored != nullptr ? storedExtent(key, *stored) : PlistExtent()) + *extent;
    kept = removes || all.isWithin(kMostOfAll);
    if (kept) {
      extent_ = all;
      ++changes_;
      removes ? values_.remove(key) : values_.set(key, std::move(*value));
    }
  }
  if (kept) {
    synchronize();
  } else {
    log_.write("User defaults do not keep " + std::string(key) + ": it is too large");
  }
  return kept;
}

void DefaultsFile::synchronize() {
  {
    const MutexLock lock(mutex_);
    if (std::exchange(writeIsDue_, true)) return;
  }
  queue_.async([this] { write(); });
}

bool DefaultsFile::synchronizeAndWait() {
  bool isWritten = false;
  queue_.sync([&] { isWritten = write(); });
  return isWritten;
}

bool DefaultsFile::write() {
  PlistValue values;
  std::uint64_t changes = 0;
  {
    const MutexLock lock(mutex_);
    writeIsDue_ = false;
    changes = changes_;
    if (changes == written_) return true;
    values = values_;
  }
  const auto failure = writeFileAtomically(writePropertyList(values), path_);
  if (!failure) {
    written_ = changes;
    failureLogged_ = false;
  } else if (!std::exchange(failureLogged_, true)) {
    log_.write("User defaults stay in memory: " + failure->description);
  }
  return !failure;
}

}  // namespace tunevale::host
