#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include <sqlite3.h>

#include "foundation/Bytes.h"

namespace tunevale::link {

/// One prepared statement of a Database, and its use: bind, step until false, and it is ready for the next.
/// Parameters count from 1, columns from 0.
class Statement {
 public:
  Statement() = default;
  Statement(sqlite3* database, const char* sql);

  Statement& bind(int parameter, std::uint64_t number);
  /// The bytes must stay until the statement has run.
  Statement& bind(int parameter, ByteView bytes);
  /// True when there is a row to look at. False at the end, and then, or when it failed, it is reset.
  bool step();
  /// Whether the last step() failed.
  bool hasFailed() const { return failed_; }
  /// Runs what gives no rows; false when it failed.
  bool run();
  /// Gives up further rows.
  void reset();

  std::uint64_t number(int column) const;
  /// Valid until the next step().
  ByteView bytes(int column) const;

 private:
  struct Finalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };
  std::unique_ptr<sqlite3_stmt, Finalizer> statement_;
  bool failed_ = false;
};

/// An SQLite database in one file, held by this process alone: a commit that has returned survives the power.
/// One thread at a time.
class Database {
 public:
  /// An empty path: in memory. An empty `vfs`: the usual way to the disk. Throws std::runtime_error with a
  /// reason of one line.
  Database(const std::string& path, const std::string& vfs);

  sqlite3* handle() const { return database_.get(); }
  /// False when it failed.
  bool run(const char* sql);
  /// Throws std::runtime_error when it failed.
  void require(const char* sql);
  /// The first column of the first row.
  std::optional<std::string> ask(const char* sql);
  [[noreturn]] void fail() const;

 private:
  struct Closer {
    void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
  };
  std::string path_;
  std::unique_ptr<sqlite3, Closer> database_;
};

}  // namespace tunevale::link
