#include "link/store/FaultDisk.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <sqlite3.h>

namespace tunevale::link {
namespace {

struct OpenFile : sqlite3_file {
  FaultDisk* disk;
  std::shared_ptr<FaultDisk::File>* file;
};
OpenFile& opened(sqlite3_file* file) {
  return *static_cast<OpenFile*>(file);
}
FaultDisk::File& contents(sqlite3_file* file) {
  return **opened(file).file;
}

int closeFile(sqlite3_file* file) {
  delete opened(file).file;
  return SQLITE_OK;
}
int readFile(sqlite3_file* file, void* into, int size, sqlite3_int64 at) {
  if (opened(file).disk->readsFail()) return SQLITE_IOERR_READ;
  const Bytes& bytes = contents(file).current;
  const std::size_t start = std::min(bytes.size(), static_cast<std::size_t>(at));
  const std::size_t count = std::min(static_cast<std::size_t>(size), bytes.size() - start);
  if (count > 0) std::memcpy(into, bytes.data() + start, count);
  std::memset(static_cast<char*>(into) + count, 0, static_cast<std::size_t>(size) - count);
  return count == static_cast<std::size_t>(size) ? SQLITE_OK : SQLITE_IOERR_SHORT_READ;
}
int writeFile(sqlite3_file* file, const void* from, int size, sqlite3_int64 at) {
  if (!opened(file).disk->mayWrite()) return SQLITE_FULL;
  const auto* bytes = static_cast<const std::byte*>(from);
  contents(file).write({static_cast<std::size_t>(at), Bytes(bytes, bytes + size)});
  return SQLITE_OK;
}
int truncateFile(sqlite3_file* file, sqlite3_int64 size) {
  if (!opened(file).disk->mayWrite()) return SQLITE_IOERR_TRUNCATE;
  contents(file).write({static_cast<std::size_t>(size), {}, true});
  return SQLITE_OK;
}
int syncFile(sqlite3_file* file, int) {
  if (!opened(file).disk->mayWrite()) return SQLITE_IOERR_FSYNC;
  contents(file).sync();
  return SQLITE_OK;
}
int sizeOfFile(sqlite3_file* file, sqlite3_int64* size) {
  *size = static_cast<sqlite3_int64>(contents(file).current.size());
  return SQLITE_OK;
}
int allows(sqlite3_file*, int) {
  return SQLITE_OK;
}
int sectorSize(sqlite3_file*) {
  return 4096;
}

const sqlite3_io_methods kMethods = {
    .iVersion = 1,
    .xClose = closeFile,
    .xRead = readFile,
    .xWrite = writeFile,
    .xTruncate = truncateFile,
    .xSync = syncFile,
    .xFileSize = sizeOfFile,
    .xLock = allows,
    .xUnlock = allows,
    .xCheckReservedLock = [](sqlite3_file*, int* reserved) { return *reserved = 0; },
    .xFileControl = [](sqlite3_file*, int, void*) { return SQLITE_NOTFOUND; },
    .xSectorSize = sectorSize,
    .xDeviceCharacteristics = [](sqlite3_file*) { return 0; }};

FaultDisk& diskOf(sqlite3_vfs* vfs) {
  return *static_cast<FaultDisk*>(vfs->pAppData);
}
int openFile(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* granted) {
  FaultDisk& disk = diskOf(vfs);
  opened(file).pMethods = nullptr;
  const auto found = disk.find(name != nullptr ? name : "temporary", (flags & SQLITE_OPEN_CREATE) != 0);
  if (found == nullptr || disk.isDead()) return SQLITE_CANTOPEN;
  opened(file).pMethods = &kMethods;
  opened(file).disk = &disk;
  opened(file).file = new std::shared_ptr<FaultDisk::File>(found);
  if (granted != nullptr) *granted = flags;
  return SQLITE_OK;
}
int deleteFile(sqlite3_vfs* vfs, const char* name, int) {
  return diskOf(vfs).remove(name) ? SQLITE_OK : SQLITE_IOERR_DELETE;
}
int hasFile(sqlite3_vfs* vfs, const char* name, int, int* result) {
  *result = diskOf(vfs).find(name, false) != nullptr ? 1 : 0;
  return SQLITE_OK;
}
int fullName(sqlite3_vfs*, const char* name, int size, char* out) {
  sqlite3_snprintf(size, out, "%s", name);
  return SQLITE_OK;
}

/// A file of the spool, on the disk.
class FaultFile : public SpoolFile {
 public:
  FaultFile(FaultDisk& disk, std::shared_ptr<FaultDisk::File> file) : disk_(disk), file_(std::move(file)) {}
  std::uint64_t size() const override { return file_->current.size(); }
  bool read(std::uint64_t offset, std::span<std::byte> into) override {
    if (offset + into.size() > file_->current.size()) return false;
    std::copy_n(file_->current.begin() + static_cast<std::ptrdiff_t>(offset), into.size(), into.begin());
    return true;
  }
  bool append(ByteView bytes) override {
    if (!disk_.mayWrite()) return false;
    file_->write({file_->current.size(), Bytes(bytes.begin(), bytes.end())});
    return true;
  }
  bool sync() override {
    if (!disk_.mayWrite()) return false;
    file_->sync();
    return true;
  }

 private:
  FaultDisk& disk_;
  const std::shared_ptr<FaultDisk::File> file_;
};

class FaultSpool : public Spool {
 public:
  FaultSpool(FaultDisk& disk, std::string folder) : disk_(disk), folder_(std::move(folder)) {}
  std::unique_ptr<SpoolFile> create(const std::string& name) override {
    if (!disk_.mayWrite()) return nullptr;
    disk_.remove(kPrefix + name);
    return std::make_unique<FaultFile>(disk_, disk_.find(kPrefix + name, true));
  }
  std::unique_ptr<SpoolFile> open(const std::string& name) override {
    const auto file = disk_.find(kPrefix + name, false);
    return file != nullptr ? std::make_unique<FaultFile>(disk_, file) : nullptr;
  }
  bool rename(const std::string& from, const std::string& to) override {
    return disk_.rename(kPrefix + from, kPrefix + to);
  }
  void remove(const std::string& name) override {
    disk_.remove(kPrefix + name);
    std::error_code ignored;
    std::filesystem::remove(folder_ + "/" + name, ignored);
  }
  bool sync() override {
    if (!disk_.mayWrite()) return false;
    disk_.syncNames(kPrefix);
    return true;
  }
  std::vector<std::string> names() const override {
    std::vector<std::string> names = disk_.names(kPrefix);
    for (std::string& name : names) name.erase(0, kPrefix.size());
    return names;
  }
  std::string path(const std::string& name) const override {
    const auto file = disk_.find(kPrefix + name, false);
    const std::string path = folder_ + "/" + name;
    if (file != nullptr) std::ofstream(path, std::ios::binary) << asText(file->current);
    return path;
  }

 private:
  inline static const std::string kPrefix = "spool/";
  FaultDisk& disk_;
  const std::string folder_;
};

}  // namespace

struct FaultDisk::Vfs : sqlite3_vfs {};

FaultDisk::FaultDisk(std::uint64_t seed) : dice_(seed), registration_(std::make_unique<Vfs>()) {
  static int disks = 0;
  vfs_ = "fault-disk-" + std::to_string(++disks);
  sqlite3_vfs& vfs = *registration_;
  vfs = *sqlite3_vfs_find(nullptr);  // time, sleep and dice
  vfs.iVersion = 1;
  vfs.szOsFile = sizeof(OpenFile);
  vfs.zName = vfs_.c_str();
  vfs.pNext = nullptr;
  vfs.pAppData = this;
  vfs.xOpen = openFile;
  vfs.xDelete = deleteFile;
  vfs.xAccess = hasFile;
  vfs.xFullPathname = fullName;
  sqlite3_vfs_register(&vfs, 0);
}

FaultDisk::~FaultDisk() {
  sqlite3_vfs_unregister(registration_.get());
}

std::shared_ptr<Spool> FaultDisk::spool(const std::string& folder) {
  return std::make_shared<FaultSpool>(*this, folder);
}

void FaultDisk::restorePower(bool lost) {
  dead_ = false;
  if (!lost) {
    for (const auto& entry : files_) entry.second->sync();
    syncedNames_ = files_;
    return;
  }
  files_ = syncedNames_;
  const auto mode = dice_() % 3;
  for (const auto& [name, file] : files_) {
    std::size_t kept = mode == 1 ? dice_() % (file->unsynced.size() + 1) : 0;
    for (const File::Write& write : file->unsynced) {
      // Nothing of it, its beginning, or some of it in disorder.
      if (mode == 1 ? kept > 0 : mode == 2 && dice_() % 2 == 0) file->apply(file->synced, write);
      if (kept > 0) --kept;
    }
    file->unsynced.clear();
    file->current = file->synced;
  }
}

bool FaultDisk::mayWrite() {
  if (dead_) return false;
  if (!failIn_ || (*failIn_)-- > 0) return true;
  if (!failForGood_) failIn_.reset();
  ++failures_;
  return false;
}

std::shared_ptr<FaultDisk::File> FaultDisk::find(const std::string& name, bool create) {
  const auto found = files_.find(name);
  if (found != files_.end()) return found->second;
  if (!create || dead_) return nullptr;
  const auto file = files_[name] = std::make_shared<File>();
  // SQLite's unix files sync their folder with their first sync; here a name is there at once.
  if (!name.starts_with("spool/")) syncedNames_[name] = file;
  return file;
}

bool FaultDisk::remove(const std::string& name) {
  if (dead_) return false;
  files_.erase(name);
  if (!name.starts_with("spool/")) syncedNames_.erase(name);
  return true;
}

bool FaultDisk::rename(const std::string& from, const std::string& to) {
  const auto file = find(from, false);
  if (file == nullptr || !mayWrite()) return false;
  files_.erase(from);
  files_[to] = file;
  return true;
}

void FaultDisk::syncNames(const std::string& prefix) {
  std::erase_if(syncedNames_, [&](const auto& entry) { return entry.first.starts_with(prefix); });
  for (const auto& entry : files_) {
    if (entry.first.starts_with(prefix)) syncedNames_.insert(entry);
  }
}

std::vector<std::string> FaultDisk::names(const std::string& prefix) const {
  std::vector<std::string> names;
  for (const auto& [name, file] : files_) {
    if (name.starts_with(prefix)) names.push_back(name);
  }
  return names;
}

void FaultDisk::File::apply(Bytes& to, const Write& write) const {
  if (write.truncates) {
    to.resize(write.at);
    return;
  }
  to.resize(std::max(to.size(), write.at + write.bytes.size()));
  std::copy(write.bytes.begin(), write.bytes.end(), to.begin() + static_cast<std::ptrdiff_t>(write.at));
}

}  // namespace tunevale::link
