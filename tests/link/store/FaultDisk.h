#pragma once

#include <map>
#include <optional>
#include <random>

#include "link/Spool.h"
#include "support/TemporaryFolder.h"

struct sqlite3_vfs;

namespace tunevale::link {

/// A disk in memory, for databases (whose names begin with a slash) and for a spool (whose names do not),
/// that can lose its power and run full. One thread.
struct FaultDisk : Spool {
  struct Write {
    std::size_t at = 0;
    Bytes bytes{};
    bool truncates = false;  // to `at`
  };
  struct File {
    Bytes current;
    Bytes synced;
    std::vector<Write> unsynced;
    void sync();
  };
  using FilePtr = std::shared_ptr<File>;

  explicit FaultDisk(std::uint64_t seed);
  ~FaultDisk() override;

  /// For SqliteStore::Options.
  const std::string& vfs() const { return vfs_; }
  /// `lost`: what was written and not synced is there, or in part, or not at all. Else all of it is there, as
  /// when it was a process that died.
  void restorePower(bool lost);

  std::unique_ptr<SpoolFile> create(const std::string& name) override;
  std::unique_ptr<SpoolFile> open(const std::string& name) override;
  bool rename(const std::string& from, const std::string& to) override;
  void remove(const std::string& name) override;
  bool sync() override;
  std::vector<std::string> names() const override;
  /// There the file lies while a handler looks at it.
  std::string path(const std::string& name) const override;

  bool isDead = false;         // nothing can be written
  bool readsFail = false;      // of the database
  std::optional<int> failsIn;  // so many writes (or syncs); then one fails
  bool failsForGood = false;   // and all that follow
  int failures = 0;

  /// For the ways in.
  bool write(File& file, Write write);
  bool sync(File& file);
  FilePtr find(const std::string& name, bool create = false);

 private:
  bool mayWrite();

  std::mt19937_64 dice_;
  std::string vfs_;
  const std::unique_ptr<sqlite3_vfs> registration_;
  std::map<std::string, FilePtr> files_, syncedNames_;
  test::TemporaryFolder folder_;
};

}  // namespace tunevale::link
