#include "link/Database.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "link/PlantedFault.h"

namespace tunevale::link {
namespace {

constexpr int kBusyMilliseconds = 500;  // a former process may be on its way out

/// So that nobody else may read it from its first byte on; SQLite itself asks the process's mask.
void makeFile(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, 0600);
  if (file < 0) {
    throw std::runtime_error("cannot open " + path + ": " + std::generic_category().message(errno));
  }
  struct stat status {};
  const bool regular = ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
  ::close(file);
  if (!regular) throw std::runtime_error("cannot open " + path + ": not a file");
}

}  // namespace

Database::Database(const std::string& path, const std::string& vfs) : path_(path) {
  if (!path.empty() && vfs.empty()) makeFile(path);
  sqlite3* database = nullptr;
  constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
  const int result = sqlite3_open_v2(path.empty() ? ":memory:" : path.c_str(), &database, kFlags,
                                     vfs.empty() ? nullptr : vfs.c_str());
  database_.reset(database);
  if (result != SQLITE_OK) fail();
  sqlite3_busy_timeout(database, kBusyMilliseconds);
  // Alone, and so without a file of shared memory beside it.
  require("PRAGMA locking_mode = EXCLUSIVE");
  require("PRAGMA journal_mode = WAL");
  // Not NORMAL: that loses what was acknowledged when the power fails.
  require(kPlantedFault == PlantedFault::normalSync ? "PRAGMA synchronous = NORMAL"
                                                    : "PRAGMA synchronous = FULL");
  // Queues are short: a quarter of a MiB of memory, and a log that is folded in at 1 MiB.
  require("PRAGMA cache_size = -256");
  require("PRAGMA wal_autocheckpoint = 256");
  require("PRAGMA journal_size_limit = 1048576");
  require("PRAGMA trusted_schema = OFF");
  require("BEGIN EXCLUSIVE; COMMIT");
  if (ask("PRAGMA quick_check(1)") != "ok")
    throw std::runtime_error("cannot use " + path + ": it is damaged");
}

bool Database::run(const char* sql) {
  return sqlite3_exec(handle(), sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

void Database::require(const char* sql) {
  if (!run(sql)) fail();
}

std::optional<std::string> Database::ask(const char* sql) {
  Statement statement(handle(), sql);
  if (!statement.step()) return std::nullopt;
  const std::string answer(asText(statement.bytes(0)));
  statement.reset();
  return answer;
}

void Database::fail() const {
  const int code = database_ != nullptr ? sqlite3_errcode(handle()) : SQLITE_NOMEM;
  const std::string reason = code == SQLITE_BUSY     ? "another process uses it"
                             : code == SQLITE_NOTADB ? "it is damaged"
                             : database_ != nullptr  ? sqlite3_errmsg(handle())
                                                     : "no memory";
  throw std::runtime_error("cannot use " + path_ + ": " + reason);
}

Statement::Statement(sqlite3* database, const char* sql) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v3(database, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr) != SQLITE_OK) {
    throw std::runtime_error(std::string("the database does not understand: ") + sqlite3_errmsg(database));
  }
  statement_.reset(statement);
}

Statement& Statement::bind(int parameter, std::uint64_t number) {
  sqlite3_bind_int64(statement_.get(), parameter, static_cast<sqlite3_int64>(number));
  return *this;
}

Statement& Statement::bind(int parameter, ByteView bytes) {
  // A null pointer would be NULL.
  const void* data = bytes.empty() ? "" : static_cast<const void*>(bytes.data());
  sqlite3_bind_blob64(statement_.get(), parameter, data, bytes.size(), SQLITE_STATIC);
  return *this;
}

bool Statement::step() {
  const int result = sqlite3_step(statement_.get());
  failed_ = result != SQLITE_ROW && result != SQLITE_DONE;
  if (result == SQLITE_ROW) return true;
  reset();
  return false;
}

bool Statement::run() {
  const int result = sqlite3_step(statement_.get());
  reset();
  return result == SQLITE_DONE || result == SQLITE_ROW;
}

void Statement::reset() {
  sqlite3_reset(statement_.get());
  sqlite3_clear_bindings(statement_.get());
}

std::uint64_t Statement::number(int column) const {
  return static_cast<std::uint64_t>(sqlite3_column_int64(statement_.get(), column));
}

ByteView Statement::bytes(int column) const {
  const void* data = sqlite3_column_blob(statement_.get(), column);
  return {static_cast<const std::byte*>(data),
          static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

}  // namespace tunevale::link
