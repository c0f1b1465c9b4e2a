#pragma once

#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>

#include "link/Spool.h"

namespace tunevale::link {

/// A disk in memory, for databases and for a spool, that can lose its power and run full. One thread.
class FaultDisk {
 public:
  explicit FaultDisk(std::uint64_t seed);
  ~FaultDisk();

  /// For SqliteStore::Options.
  const std::string& vfs() const { return vfs_; }
  /// The spool lies here while a handler looks at a file.
  std::shared_ptr<Spool> spool(const std::string& folder);

  /// From now on nothing can be written.
  void losePower() { dead_ = true; }
  bool isDead() const { return dead_; }
  /// `lost`: what was written and not synced is there, or in part, or not at all. Else all of it is there, as
  /// when it was a process that died.
  void restorePower(bool lost);

  /// The write (or sync) after so many more fails, and if `forGood` all that follow do.
  void failAfter(int writes, bool forGood) {
    failIn_ = writes;
    failForGood_ = forGood;
  }
  void heal() { failIn_.reset(); }
  int failures() const { return failures_; }
  /// Of the database.
  void failReads(bool fail) { readsFail_ = fail; }
  bool readsFail() const { return readsFail_; }

  struct File;
  /// For the ways in: whether a write works now, and the files themselves.
  bool mayWrite();
  std::shared_ptr<File> find(const std::string& name, bool create);
  bool remove(const std::string& name);
  bool rename(const std::string& from, const std::string& to);
  void syncNames(const std::string& prefix);
  std::vector<std::string> names(const std::string& prefix) const;

 private:
  struct Vfs;
  std::mt19937_64 dice_;
  std::string vfs_;
  std::unique_ptr<Vfs> registration_;
  std::map<std::string, std::shared_ptr<File>> files_;
  std::map<std::string, std::shared_ptr<File>> syncedNames_;
  bool dead_ = false;
  bool readsFail_ = false;
  std::optional<int> failIn_;
  bool failForGood_ = false;
  int failures_ = 0;
};

struct FaultDisk::File {
  struct Write {
    std::size_t at = 0;
    Bytes bytes;
    bool truncates = false;  // to `at`
  };
  void apply(Bytes& to, const Write& write) const;
  void write(Write write) {
    apply(current, write);
    unsynced.push_back(std::move(write));
  }
  void sync() {
    for (const Write& write : unsynced) apply(synced, write);
    unsynced.clear();
  }
  Bytes current;
  Bytes synced;
  std::vector<Write> unsynced;
};

}  // namespace tunevale::link
