#include "link/store/FaultDisk.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <utility>

#include <sqlite3.h>

namespace tunevale::link {
namespace {

struct OpenFile : sqlite3_file {
  FaultDisk* disk;
  FaultDisk::File* file;
};
OpenFile& opened(sqlite3_file* file) {
  return *static_cast<OpenFile*>(file);
}
FaultDisk& diskOf(sqlite3_vfs* vfs) {
  return *static_cast<FaultDisk*>(vfs->pAppData);
}

int readFile(sqlite3_file* file, void* into, int size, sqlite3_int64 at) {
  if (opened(file).disk->readsFail) return SQLITE_IOERR_READ;
  const Bytes& bytes = opened(file).file->current;
  const std::size_t start = std::min(bytes.size(), static_cast<std::size_t>(at));
  const std::size_t count = std::min(static_cast<std::size_t>(size), bytes.size() - start);
  std::memset(into, 0, static_cast<std::size_t>(size));
  std::copy_n(bytes.data() + start, count, static_cast<std::byte*>(into));
  return count == static_cast<std::size_t>(size) ? SQLITE_OK : SQLITE_IOERR_SHORT_READ;
}
int writeFile(sqlite3_file* file, const void* from, int size, sqlite3_int64 at) {
  const auto* bytes = static_cast<const std::byte*>(from);
  FaultDisk::Write write{static_cast<std::size_t>(at), Bytes(bytes, bytes + size)};
  return opened(file).disk->write(*opened(file).file, std::move(write)) ? SQLITE_OK : SQLITE_FULL;
}
int truncateFile(sqlite3_file* file, sqlite3_int64 size) {
  const FaultDisk::Write write{static_cast<std::size_t>(size), {}, true};
  return opened(file).disk->write(*opened(file).file, write) ? SQLITE_OK : SQLITE_IOERR_TRUNCATE;
}
int syncFile(sqlite3_file* file, int) {
  return opened(file).disk->sync(*opened(file).file) ? SQLITE_OK : SQLITE_IOERR_FSYNC;
}
int sizeOfFile(sqlite3_file* file, sqlite3_int64* size) {
  *size = static_cast<sqlite3_int64>(opened(file).file->current.size());
  return SQLITE_OK;
}
int allows(sqlite3_file*, int) {
  return SQLITE_OK;
}

const sqlite3_io_methods kMethods = {
    .iVersion = 1,
    .xClose = [](sqlite3_file*) { return SQLITE_OK; },
    .xRead = readFile,
    .xWrite = writeFile,
    .xTruncate = truncateFile,
    .xSync = syncFile,
    .xFileSize = sizeOfFile,
    .xLock = allows,
    .xUnlock = allows,
    .xCheckReservedLock = [](sqlite3_file*, int* reserved) { return *reserved = 0; },
    .xFileControl = [](sqlite3_file*, int, void*) { return SQLITE_NOTFOUND; },
    .xSectorSize = [](sqlite3_file*) { return 4096; },
    .xDeviceCharacteristics = [](sqlite3_file*) { return 0; }};

int openFile(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* granted) {
  FaultDisk& disk = diskOf(vfs);
  const auto found =
      disk.find(name != nullptr ? name : "/temporary", (flags & SQLITE_OPEN_CREATE) != 0 && !disk.isDead);
  opened(file).pMethods = nullptr;
  if (found == nullptr || disk.isDead) return SQLITE_CANTOPEN;
  opened(file).pMethods = &kMethods;
  opened(file).disk = &disk;
  opened(file).file = found.get();
  if (granted != nullptr) *granted = flags;
  return SQLITE_OK;
}
int deleteFile(sqlite3_vfs* vfs, const char* name, int) {
  if (diskOf(vfs).isDead) return SQLITE_IOERR_DELETE;
  diskOf(vfs).remove(name);
  return SQLITE_OK;
}
int hasFile(sqlite3_vfs* vfs, const char* name, int, int* result) {
  *result = diskOf(vfs).find(name) != nullptr ? 1 : 0;
  return SQLITE_OK;
}
bool isSpooled(const std::string& name) {
  return !name.starts_with('/');
}
bool isEntrySpooled(const std::pair<const std::string, FaultDisk::FilePtr>& entry) {
  return isSpooled(entry.first);
}

void replay(Bytes& to, const FaultDisk::Write& write) {
  const std::size_t end = write.at + write.bytes.size();
  to.resize(write.truncates ? write.at : std::max(to.size(), end));
  std::copy(write.bytes.begin(), write.bytes.end(), to.begin() + static_cast<std::ptrdiff_t>(write.at));
}

/// A file of the spool, on the disk.
struct FaultFile : SpoolFile {
  FaultFile(FaultDisk& where, FaultDisk::FilePtr which) : disk(where), file(std::move(which)) {}
  std::uint64_t size() const override { return file->current.size(); }
  bool read(std::uint64_t offset, std::span<std::byte> into) override {
    if (offset + into.size() > size()) return false;
    std::copy_n(file->current.data() + offset, into.size(), into.begin());
    return true;
  }
  bool append(ByteView bytes) override {
    return disk.write(*file, {file->current.size(), Bytes(bytes.begin(), bytes.end())});
  }
  bool sync() override { return disk.sync(*file); }
  FaultDisk& disk;
  const FaultDisk::FilePtr file;
};

}  // namespace

FaultDisk::FaultDisk(std::uint64_t seed)
    : dice_(seed), registration_(std::make_unique<sqlite3_vfs>(*sqlite3_vfs_find(nullptr))) {
  static int disks = 0;
  vfs_ = "fault-disk-" + std::to_string(++disks);
  sqlite3_vfs& vfs = *registration_;  // else as the usual one: names, time, sleep and dice
  vfs.iVersion = 1;
  vfs.szOsFile = sizeof(OpenFile);
  vfs.zName = vfs_.c_str();
  vfs.pNext = nullptr;
  vfs.pAppData = this;
  vfs.xOpen = openFile;
  vfs.xDelete = deleteFile;
  vfs.xAccess = hasFile;
  sqlite3_vfs_register(&vfs, 0);
}

FaultDisk::~FaultDisk() {
  sqlite3_vfs_unregister(registration_.get());
}

void FaultDisk::File::sync() {
  for (const Write& write : unsynced) replay(synced, write);
  unsynced.clear();
}

void FaultDisk::restorePower(bool lost) {
  isDead = false;
  const auto mode = lost ? dice_() % 3 : 3;
  if (lost) files_ = syncedNames_;
  syncedNames_ = files_;
  for (const auto& [name, file] : files_) {
    // All of it is kept, its beginning, some of it in disorder, or nothing.
    const std::size_t kept = mode == 1 ? dice_() % (file->unsynced.size() + 1) : 0;
    std::vector<Write> writes = std::exchange(file->unsynced, {});
    for (std::size_t i = 0; i < writes.size(); ++i) {
      if (mode == 3 || i < kept || (mode == 2 && dice_() % 2 == 0)) replay(file->synced, writes[i]);
    }
    file->current = file->synced;
  }
}

bool FaultDisk::mayWrite() {
  if (isDead) return false;
  if (!failsIn || (*failsIn)-- > 0) return true;
  if (!failsForGood) failsIn.reset();
  ++failures;
  return false;
}

bool FaultDisk::write(File& file, Write write) {
  if (!mayWrite()) return false;
  replay(file.current, write);
  file.unsynced.push_back(std::move(write));
  return true;
}

bool FaultDisk::sync(File& file) {
  if (!mayWrite()) return false;
  file.sync();
  return true;
}

FaultDisk::FilePtr FaultDisk::find(const std::string& name, bool create) {
  const auto found = files_.find(name);
  if (found != files_.end() || !create) return found != files_.end() ? found->second : nullptr;
  const auto file = files_[name] = std::make_shared<File>();
  // SQLite's unix files sync their folder with their first sync; here a name is there at once.
  if (!isSpooled(name)) syncedNames_[name] = file;
  return file;
}

std::unique_ptr<SpoolFile> FaultDisk::create(const std::string& name) {
  if (!mayWrite()) return nullptr;
  files_.erase(name);
  return std::make_unique<FaultFile>(*this, find(name, true));
}

std::unique_ptr<SpoolFile> FaultDisk::open(const std::string& name) {
  const FilePtr file = find(name);
  return file != nullptr ? std::make_unique<FaultFile>(*this, file) : nullptr;
}

bool FaultDisk::rename(const std::string& from, const std::string& to) {
  const FilePtr file = find(from);
  if (file == nullptr || !mayWrite()) return false;
  files_.erase(from);
  files_[to] = file;
  return true;
}

void FaultDisk::remove(const std::string& name) {
  if (isDead) return;
  files_.erase(name);
  std::error_code ignored;
  if (isSpooled(name)) std::filesystem::remove(folder_.path(name), ignored);
  if (!isSpooled(name)) syncedNames_.erase(name);
}

bool FaultDisk::sync() {
  if (!mayWrite()) return false;
  std::erase_if(syncedNames_, isEntrySpooled);
  std::copy_if(files_.begin(), files_.end(), std::inserter(syncedNames_, syncedNames_.end()), isEntrySpooled);
  return true;
}

std::vector<std::string> FaultDisk::names() const {
  std::vector<std::string> names;
  for (const auto& entry : files_) {
    if (isEntrySpooled(entry)) names.push_back(entry.first);
  }
  return names;
}

std::string FaultDisk::path(const std::string& name) const {
  const auto file = files_.find(name);
  if (file != files_.end())
    std::ofstream(folder_.path(name), std::ios::binary) << asText(file->second->current);
  return folder_.path(name);
}

}  // namespace tunevale::link
