#include "link/StoreState.h"

#include <algorithm>
#include <stdexcept>

#include "link/Crypto.h"

namespace tunevale::link {
namespace {

Bytes copied(ByteView bytes) {
  return {bytes.begin(), bytes.end()};
}

}  // namespace

OutgoingTable::OutgoingTable(Database& database, const std::string& name)
    : insert(database.handle(), ("INSERT INTO " + name + " VALUES (?, ?)").c_str()),
      from(database.handle(),
           ("SELECT number, body FROM " + name + " WHERE number >= ? AND number < ? ORDER BY number LIMIT ?")
               .c_str()),
      remove(database.handle(), ("DELETE FROM " + name + " WHERE number = ?").c_str()),
      numbers(database.handle(), ("SELECT number FROM " + name + " ORDER BY number").c_str()),
      count(database.handle(), ("SELECT count(*), total(length(body)) FROM " + name).c_str()) {}

std::vector<Row> OutgoingTable::rows(std::uint64_t first, std::uint64_t below, std::size_t most) {
  std::vector<Row> rows;
  from.bind(1, first).bind(2, below).bind(3, std::uint64_t{most});
  while (from.step()) rows.push_back({from.number(0), copied(from.bytes(1))});
  return rows;
}

std::vector<std::uint64_t> OutgoingTable::allNumbers() {
  std::vector<std::uint64_t> all;
  while (numbers.step()) all.push_back(numbers.number(0));
  return all;
}

QueueSize OutgoingTable::size() {
  QueueSize size;
  if (count.step()) size = {count.number(0), count.number(1)};
  count.reset();
  return size;
}

StoreState::StoreState(LinkStore& store, Database opened, const Epoch& fresh)
    : owner(store),
      database(std::move(opened)),
      tables((makeStoreTables(database, fresh), database)),
      items(database, "items"),
      files(database, "files"),
      insertReceived(database.handle(), "INSERT INTO received VALUES (?, ?, ?, ?, ?)"),
      selectReceived(database.handle(),
                     "SELECT id, epoch, number, body FROM received WHERE queue = ? ORDER BY id"),
      deleteReceived(database.handle(), "DELETE FROM received WHERE id = ?"),
      lastReceived(database.handle(), "SELECT coalesce(max(id), 0) FROM received"),
      putContext(database.handle(), "INSERT OR REPLACE INTO contexts VALUES (?, ?, ?, 0)"),
      getContext(database.handle(), "SELECT version, body FROM contexts WHERE received = ? AND handled = 0"),
      handleContext(database.handle(), "UPDATE contexts SET handled = 1 WHERE received = 1 AND version = ?"),
      facts(tables.read()),
      sizes{items.size(), files.size()} {
  if (lastReceived.step()) nextId = lastReceived.number(0) + 1;
  lastReceived.reset();
  if (items.count.hasFailed() || files.count.hasFailed() || lastReceived.hasFailed())
    throw std::runtime_error("the link's store cannot be read");
}

StoreFacts StoreState::factsNow() const {
  const MutexLock lock(factsMutex);
  return facts;
}

QueueSize StoreState::sizeOf(Queue queue) {
  const MutexLock lock(factsMutex);
  return sizes.of(queue);
}

bool StoreState::hasHandled() const {
  const MutexLock lock(factsMutex);
  return !handledIds.empty() || handledContext > 0;
}

bool StoreState::change(const Body& body) {
  StoreFacts next;
  QueueSizes nextSizes;
  std::vector<std::uint64_t> ids;
  std::uint64_t context = 0;
  {
    const MutexLock lock(factsMutex);
    next = facts;
    nextSizes = sizes;
    ids = handledIds;
    context = handledContext;
  }
  const StoreFacts before = next;
  if (!database.run("BEGIN IMMEDIATE")) return false;
  bool good = std::all_of(ids.begin(), ids.end(),
                          [this](std::uint64_t id) { return deleteReceived.bind(1, id).run(); }) &&
              (context == 0 || handleContext.bind(1, context).run()) && body(next, nextSizes) &&
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
  sizes = nextSizes;
  handledIds.erase(handledIds.begin(), handledIds.begin() + static_cast<std::ptrdiff_t>(ids.size()));
  if (handledContext == context) handledContext = 0;
  return true;
}

bool StoreState::removeRows(Queue queue, const std::vector<Row>& rows, bool delivered) {
  return change([&](StoreFacts& next, QueueSizes& left) {
    QueueSize& size = left.of(queue);
    for (const Row& row : rows) {
      if (!outgoing(queue).remove.bind(1, row.number).run()) return false;
      size = {size.rows - 1, size.bytes - row.body.size()};
    }
    std::uint64_t& acknowledged = next.of(queue).acknowledged;
    if (delivered) acknowledged = std::max(acknowledged, rows.back().number + 1);
    return true;
  });
}

bool StoreState::insertReceivedRow(std::uint64_t id, Queue queue, const Epoch& epoch, const Row& row) {
  return insertReceived.bind(1, id)
      .bind(2, static_cast<std::uint64_t>(queue))
      .bind(3, ByteView(epoch))
      .bind(4, row.number)
      .bind(5, row.body)
      .run();
}

bool StoreState::writeContext(bool received, const Row& context) {
  return putContext.bind(1, std::uint64_t{received}).bind(2, context.number).bind(3, context.body).run();
}

bool StoreState::clear(StoreFacts& next, QueueSizes& left) {
  fillRandom(next.epoch);
  next.pin.reset();
  next.cursor = {};
  next.peerLocked = false;
  // Numbers and the context's version rise on: who waits for the end of one knows which.
  for (StoreFacts::Numbers* numbers : {&next.items, &next.files}) {
    numbers->acknowledged = 1;
    numbers->sent = numbers->next;
  }
  next.contextSent = 0;
  left = {};
  return database.run("DELETE FROM items; DELETE FROM files; DELETE FROM received; DELETE FROM contexts");
}

std::optional<LinkStore::Unsent> StoreState::unsent() {
  LinkStore::Unsent unsent{factsNow().pin.has_value(), items.allNumbers(), files.allNumbers()};
  if (items.numbers.hasFailed() || files.numbers.hasFailed()) return std::nullopt;
  return unsent;
}

Row StoreState::contextRow(bool received) {
  Row row;
  if (getContext.bind(1, std::uint64_t{received}).step()) {
    row = {getContext.number(0), copied(getContext.bytes(1))};
    getContext.reset();
  }
  if (getContext.hasFailed()) readFailed = true;
  return row;
}

}  // namespace tunevale::link
