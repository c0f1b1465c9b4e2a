#include "link/SqliteStore.h"

#include <algorithm>

#include "foundation/Mutex.h"
#include "link/Crypto.h"
#include "link/LinkLimits.h"
#include "link/PlantedFault.h"
#include "link/StoreFacts.h"

namespace tunevale::link {
namespace {

constexpr std::uint64_t kNoLimit = std::uint64_t{1} << 62;  // above every number
constexpr std::size_t kMostPerStep = 32;                    // rows that one acknowledgement removes at a time

Bytes copied(ByteView bytes) {
  return {bytes.begin(), bytes.end()};
}

/// The statements for the rows of one queue that wait to be sent.
struct OutgoingTable {
  OutgoingTable(Database& database, const std::string& name)
      : insert(database.handle(), ("INSERT INTO " + name + " VALUES (?, ?)").c_str()),
        from(database.handle(), ("SELECT number, body FROM " + name +
                                 " WHERE number >= ? AND number < ? ORDER BY number LIMIT ?")
                                    .c_str()),
        remove(database.handle(), ("DELETE FROM " + name + " WHERE number = ?").c_str()),
        numbers(database.handle(), ("SELECT number FROM " + name + " ORDER BY number").c_str()),
        count(database.handle(), ("SELECT count(*), total(length(body)) FROM " + name).c_str()) {}

  std::vector<Row> rows(std::uint64_t first, std::uint64_t below, std::size_t most) {
    std::vector<Row> rows;
    from.bind(1, first).bind(2, below).bind(3, std::uint64_t{most});
    while (from.step()) rows.push_back({from.number(0), copied(from.bytes(1))});
    return rows;
  }

  std::vector<std::uint64_t> allNumbers() {
    std::vector<std::uint64_t> all;
    while (numbers.step()) all.push_back(numbers.number(0));
    return all;
  }

  Statement insert, from, remove, numbers, count;
  // What others ask often, so that they need not wait for the disk; under the facts' lock.
  struct Size {
    std::uint64_t rows = 0;
    std::uint64_t bytes = 0;
  } size;
};

}  // namespace

struct SqliteStore::State {
  State(SqliteStore& store, const Options& options, const Epoch& fresh)
      : owner(store),
        database(options.path, options.vfs),
        tables((makeStoreTables(database, fresh), database)),
        items(database, "items"),
        files(database, "files"),
        insertReceived(database.handle(), "INSERT INTO received VALUES (?, ?, ?, ?, ?)"),
        selectReceived(database.handle(),
                       "SELECT id, epoch, number, body FROM received WHERE queue = ? ORDER BY id"),
        deleteReceived(database.handle(), "DELETE FROM received WHERE id = ?"),
        lastReceived(database.handle(), "SELECT coalesce(max(id), 0) FROM received"),
        putContext(database.handle(), "INSERT OR REPLACE INTO contexts VALUES (?, ?, ?, 0)"),
        getContext(database.handle(),
                   "SELECT version, body FROM contexts WHERE received = ? AND handled = 0"),
        handleContext(database.handle(),
                      "UPDATE contexts SET handled = 1 WHERE received = 1 AND version <= ?") {
    facts = tables.read();
    for (OutgoingTable* table : {&items, &files}) {
      if (table->count.step()) table->size = {table->count.number(0), table->count.number(1)};
      table->count.reset();
    }
    if (lastReceived.step()) nextId = lastReceived.number(0) + 1;
    lastReceived.reset();
  }

  OutgoingTable& outgoing(Queue queue) { return queue == Queue::items ? items : files; }

  StoreFacts factsNow() const {
    const MutexLock lock(factsMutex);
    return facts;
  }
  OutgoingTable::Size sizeOf(Queue queue) {
    const MutexLock lock(factsMutex);
    return outgoing(queue).size;
  }

  /// One step on the disk: what the body does, with the facts that it leaves, and what has been handled since
  /// the last step. The sizes change with it.
  template <class Body>
  bool change(Body body) REQUIRES_LOCK(databaseMutex) {
    StoreFacts next;
    std::vector<std::uint64_t> ids;
    std::uint64_t context = 0;
    {
      const MutexLock lock(factsMutex);
      next = facts;
      ids = handledIds;
      context = handledContext;
    }
    const StoreFacts before = next;
    OutgoingTable::Size sizes[] = {items.size, files.size};
    if (!database.run("BEGIN IMMEDIATE")) return false;
    bool good = std::all_of(ids.begin(), ids.end(),
                            [this](std::uint64_t id) { return deleteReceived.bind(1, id).run(); }) &&
                (context == 0 || handleContext.bind(1, context).run()) && body(next, sizes) &&
                (next == before || tables.write(next));
    if (good && !ids.empty()) owner.passes(CrashPoint::removalBeforeCommit);
    good = good && database.run("COMMIT");
    if (good && !ids.empty()) owner.passes(CrashPoint::removalAfterCommit);
    if (!good) {
      database.run("ROLLBACK");  // fails where SQLite has done so itself
      return false;
    }
    const MutexLock lock(factsMutex);
    facts = next;
    items.size = sizes[0];
    files.size = sizes[1];
    handledIds.erase(handledIds.begin(), handledIds.begin() + static_cast<std::ptrdiff_t>(ids.size()));
    if (handledContext == context) handledContext = 0;
    return true;
  }

  static OutgoingTable::Size& of(OutgoingTable::Size* sizes, Queue queue) {
    return sizes[queue == Queue::items ? 0 : 1];
  }

  bool removeRows(Queue queue, const std::vector<Row>& rows, bool delivered) REQUIRES_LOCK(databaseMutex) {
    return change([&](StoreFacts& next, OutgoingTable::Size* sizes) {
      for (const Row& row : rows) {
        if (!outgoing(queue).remove.bind(1, row.number).run()) return false;
        OutgoingTable::Size& size = of(sizes, queue);
        size = {size.rows - 1, size.bytes - row.body.size()};
      }
      std::uint64_t& acknowledged = next.of(queue).acknowledged;
      if (delivered) acknowledged = std::max(acknowledged, rows.back().number + 1);
      return true;
    });
  }

  bool insert(std::uint64_t id, Queue queue, const Epoch& epoch, const Row& row) {
    return insertReceived.bind(1, id)
        .bind(2, static_cast<std::uint64_t>(queue))
        .bind(3, ByteView(epoch))
        .bind(4, row.number)
        .bind(5, row.body)
        .run();
  }

  bool writeContext(bool received, const Row& context) {
    return putContext.bind(1, std::uint64_t{received}).bind(2, context.number).bind(3, context.body).run();
  }

  bool hasHandled() const {
    const MutexLock lock(factsMutex);
    return !handledIds.empty() || handledContext > 0;
  }

  bool clear(StoreFacts& next, OutgoingTable::Size* sizes) {
    fillRandom(next.epoch);
    next.pin.reset();
    next.cursor = {};
    for (StoreFacts::Numbers* numbers : {&next.items, &next.files}) {
      numbers->acknowledged = 1;
      numbers->sent = numbers->next;
    }
    // The version rises on: who asked for the delivery of one knows which.
    next.contextSent = 0;
    sizes[0] = sizes[1] = {};
    return database.run("DELETE FROM items; DELETE FROM files; DELETE FROM received; DELETE FROM contexts");
  }

  Row contextRow(bool received) {
    Row row;
    if (getContext.bind(1, std::uint64_t{received}).step()) {
      row = {getContext.number(0), copied(getContext.bytes(1))};
      getContext.reset();
    }
    return row;
  }

  SqliteStore& owner;
  mutable Mutex databaseMutex;  // before factsMutex
  Database database;
  FactsTable tables;
  OutgoingTable items, files;
  Statement insertReceived, selectReceived, deleteReceived, lastReceived;
  Statement putContext, getContext, handleContext;
  std::uint64_t nextId GUARDED_BY(databaseMutex) = 1;
  bool sending GUARDED_BY(databaseMutex) = false;
  mutable Mutex factsMutex;  // never held while the disk works
  StoreFacts facts GUARDED_BY(factsMutex);
  std::vector<std::uint64_t> handledIds GUARDED_BY(factsMutex);
  std::uint64_t handledContext GUARDED_BY(factsMutex) = 0;
};

SqliteStore::SqliteStore(const Options& options, const Epoch& fresh)
    : state_(std::make_unique<State>(*this, options, fresh)) {}

SqliteStore::~SqliteStore() {
  flush();
}

std::optional<KeyHash> SqliteStore::pin() const {
  return state_->factsNow().pin;
}

bool SqliteStore::setPin(const KeyHash& key) {
  const MutexLock lock(state_->databaseMutex);
  return state_->change([&](StoreFacts& next, OutgoingTable::Size* sizes) {
    const bool sameOrFirst = !next.pin || next.pin == key;
    const bool good = sameOrFirst || state_->clear(next, sizes);
    next.pin = key;
    return good;
  });
}

Epoch SqliteStore::epoch() const {
  return state_->factsNow().epoch;
}

std::optional<std::uint64_t> SqliteStore::append(Queue queue, ByteView body) {
  const MutexLock lock(state_->databaseMutex);
  std::uint64_t number = 0;
  const bool sending = state_->sending;
  const bool good = state_->change([&](StoreFacts& next, OutgoingTable::Size* sizes) {
    OutgoingTable::Size& size = State::of(sizes, queue);
    if (size.rows >= kMostQueuedRows || size.bytes + body.size() > kMostQueuedBytes) return false;
    size = {size.rows + 1, size.bytes + body.size()};
    number = next.of(queue).next++;
    if (sending) next.markSent();
    const bool kept = state_->outgoing(queue).insert.bind(1, number).bind(2, body).run();
    passes(CrashPoint::appendBeforeCommit);
    return kept;
  });
  if (!good) return std::nullopt;
  passes(CrashPoint::appendAfterCommit);
  return number;
}

std::optional<Row> SqliteStore::firstFrom(Queue queue, std::uint64_t number) const {
  if (state_->sizeOf(queue).rows == 0 || number >= nextNumber(queue)) return std::nullopt;
  const MutexLock lock(state_->databaseMutex);
  std::vector<Row> rows = state_->outgoing(queue).rows(number, kNoLimit, 1);
  return rows.empty() ? std::nullopt : std::optional(std::move(rows.front()));
}

bool SqliteStore::remove(Queue queue, std::uint64_t number, bool delivered) {
  const MutexLock lock(state_->databaseMutex);
  const std::vector<Row> rows = state_->outgoing(queue).rows(number, number + 1, 1);
  if (rows.empty()) return false;
  return state_->removeRows(queue, rows, delivered);
}

std::vector<Row> SqliteStore::acknowledge(Queue queue, std::uint64_t below) {
  if (state_->sizeOf(queue).rows == 0) return {};
  const MutexLock lock(state_->databaseMutex);
  std::vector<Row> rows = state_->outgoing(queue).rows(1, below, kMostPerStep);
  if (rows.empty()) return {};
  passes(CrashPoint::ackBeforeRemoval);
  if (!state_->removeRows(queue, rows, true)) return {};
  passes(CrashPoint::ackAfterRemoval);
  return rows;
}

std::uint64_t SqliteStore::nextNumber(Queue queue) const {
  return state_->factsNow().of(queue).next;
}

bool SqliteStore::canWaitFor(Queue queue, std::uint64_t next) const {
  const StoreFacts::Numbers numbers = state_->factsNow().of(queue);
  return numbers.acknowledged <= next && next <= numbers.sent;
}

bool SqliteStore::canHaveContext(std::uint64_t version) const {
  return version <= state_->factsNow().contextSent;
}

bool SqliteStore::setSending(bool sending) {
  const MutexLock lock(state_->databaseMutex);
  state_->sending = false;
  if (!sending) return true;
  state_->sending = state_->change([](StoreFacts& next, OutgoingTable::Size*) {
    next.markSent();
    return true;
  });
  return state_->sending;
}

Row SqliteStore::context() const {
  const MutexLock lock(state_->databaseMutex);
  Row row = state_->contextRow(false);
  row.number = contextVersion();
  return row;
}

std::uint64_t SqliteStore::contextVersion() const {
  return state_->factsNow().contextVersion;
}

bool SqliteStore::setContext(const Row& context) {
  const MutexLock lock(state_->databaseMutex);
  const bool sending = state_->sending;
  const bool good = state_->change([&](StoreFacts& next, OutgoingTable::Size*) {
    next.contextVersion = context.number;
    if (sending) next.markSent();
    const bool kept = state_->writeContext(false, context);
    passes(CrashPoint::appendBeforeCommit);
    return kept;
  });
  if (good) passes(CrashPoint::appendAfterCommit);
  return good;
}

Cursor SqliteStore::cursor() const {
  return state_->factsNow().cursor;
}

bool SqliteStore::restart(const Cursor& cursor) {
  const MutexLock lock(state_->databaseMutex);
  return state_->change([&](StoreFacts& next, OutgoingTable::Size*) {
    next.cursor = cursor;
    return true;
  });
}

std::optional<std::uint64_t> SqliteStore::receive(Queue queue, std::span<const Row> rows) {
  const MutexLock lock(state_->databaseMutex);
  passes(CrashPoint::receiveBeforeCommit);
  const std::uint64_t first = state_->nextId;
  const auto insert = [&](const StoreFacts& now) {
    std::uint64_t id = first;
    return std::all_of(rows.begin(), rows.end(), [&](const Row& row) {
      return now.cursor.epoch && state_->insert(id++, queue, *now.cursor.epoch, row);
    });
  };
  if constexpr (kPlantedFault == PlantedFault::cursorApart) {
    state_->change([&](StoreFacts& next, OutgoingTable::Size*) { return insert(next); });
    passes(CrashPoint::receiveRowBeforeCursor);
  }
  const bool good = state_->change([&](StoreFacts& next, OutgoingTable::Size*) {
    const bool kept = kPlantedFault == PlantedFault::cursorApart || insert(next);
    passes(CrashPoint::receiveRowBeforeCursor);
    if (!rows.empty()) next.cursor.next(queue) = rows.back().number + 1;
    return kept;
  });
  if (!good) return std::nullopt;
  state_->nextId += rows.size();
  passes(CrashPoint::receiveAfterCommit);
  return first;
}

bool SqliteStore::receiveContext(const Row& context) {
  const MutexLock lock(state_->databaseMutex);
  passes(CrashPoint::contextBeforeCommit);
  const bool good = state_->change([&](StoreFacts& next, OutgoingTable::Size*) {
    next.cursor.context = context.number;
    return state_->writeContext(true, context);
  });
  if (good) passes(CrashPoint::contextAfterCommit);
  return good;
}

bool SqliteStore::skip(Queue queue, std::uint64_t number) {
  const MutexLock lock(state_->databaseMutex);
  return state_->change([&](StoreFacts& next, OutgoingTable::Size*) {
    next.cursor.next(queue) = number + 1;
    return true;
  });
}

std::vector<Received> SqliteStore::received(Queue queue) const {
  const MutexLock lock(state_->databaseMutex);
  std::vector<Received> rows;
  Statement& select = state_->selectReceived;
  select.bind(1, static_cast<std::uint64_t>(queue));
  while (select.step()) {
    Received row{select.number(0), {{}, select.number(2), true}, copied(select.bytes(3))};
    const ByteView epoch = select.bytes(1);
    std::copy_n(epoch.begin(), std::min(epoch.size(), row.arrival.epoch.size()), row.arrival.epoch.begin());
    rows.push_back(std::move(row));
  }
  return rows;
}

std::optional<Row> SqliteStore::receivedContext() const {
  const MutexLock lock(state_->databaseMutex);
  Row row = state_->contextRow(true);
  return row.number > 0 ? std::optional(std::move(row)) : std::nullopt;
}

void SqliteStore::removeReceived(std::uint64_t id) {
  const MutexLock lock(state_->factsMutex);
  state_->handledIds.push_back(id);
}

void SqliteStore::contextWasHandled(std::uint64_t version) {
  const MutexLock lock(state_->factsMutex);
  state_->handledContext = std::max(state_->handledContext, version);
}

void SqliteStore::flush() {
  if (!state_->hasHandled()) return;
  const MutexLock lock(state_->databaseMutex);
  // What cannot be written now is with the next step.
  state_->change([](StoreFacts&, OutgoingTable::Size*) { return true; });
}

std::optional<LinkStore::Unsent> SqliteStore::unpair() {
  const MutexLock lock(state_->databaseMutex);
  Unsent unsent;
  unsent.items = state_->items.allNumbers();
  unsent.files = state_->files.allNumbers();
  const bool good = state_->change(
      [this](StoreFacts& next, OutgoingTable::Size* sizes) { return state_->clear(next, sizes); });
  return good ? std::optional(std::move(unsent)) : std::nullopt;
}

}  // namespace tunevale::link
