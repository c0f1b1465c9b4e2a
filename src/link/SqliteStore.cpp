#include "link/SqliteStore.h"

#include <algorithm>

#include "link/LinkLimits.h"
#include "link/PlantedFault.h"
#include "link/StoreState.h"

namespace tunevale::link {
namespace {

constexpr std::uint64_t kNoLimit = std::uint64_t{1} << 62;  // above every number
constexpr std::size_t kMostPerStep = 32;                    // rows that one acknowledgement removes at a time

}  // namespace

SqliteStore::SqliteStore(const Options& options, const Epoch& fresh)
    : state_(std::make_unique<StoreState>(*this, Database(options.path, options.vfs), fresh)) {}

SqliteStore::~SqliteStore() {
  flush();
}

std::optional<KeyHash> SqliteStore::pin() const {
  return state_->factsNow().pin;
}

std::optional<LinkStore::Unsent> SqliteStore::setPin(const KeyHash& key) {
  const MutexLock lock(state_->databaseMutex);
  const std::optional<KeyHash> before = pin();
  const bool replaces = before && *before != key;
  std::optional<Unsent> unsent = replaces ? state_->unsent() : Unsent{};
  if (!unsent) return std::nullopt;
  const bool good = state_->change([&](StoreFacts& next, QueueSizes& sizes) {
    const bool cleared = !replaces || state_->clear(next, sizes);
    next.pin = key;
    return cleared;
  });
  return good ? std::move(unsent) : std::nullopt;
}

Epoch SqliteStore::epoch() const {
  return state_->factsNow().epoch;
}

bool SqliteStore::takeReadFailure() {
  return state_->readFailed.exchange(false);
}

std::optional<std::uint64_t> SqliteStore::append(Queue queue, ByteView body) {
  const MutexLock lock(state_->databaseMutex);
  std::uint64_t number = 0;
  const bool sending = state_->sending;
  const bool good = state_->change([&](StoreFacts& next, QueueSizes& sizes) {
    QueueSize& size = sizes.of(queue);
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
  if (state_->outgoing(queue).from.hasFailed()) state_->readFailed = true;
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
  state_->sending = state_->change([](StoreFacts& next, QueueSizes&) {
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
  const bool good = state_->change([&](StoreFacts& next, QueueSizes&) {
    next.contextVersion = context.number;
    if (sending) next.markSent();
    const bool kept = state_->writeContext(false, context);
    passes(CrashPoint::appendBeforeCommit);
    return kept;
  });
  if (good) passes(CrashPoint::appendAfterCommit);
  return good;
}

bool SqliteStore::peerIsLocked() const {
  return state_->factsNow().peerLocked;
}

bool SqliteStore::setPeerLocked(bool locked) {
  if (peerIsLocked() == locked) return true;
  const MutexLock lock(state_->databaseMutex);
  return state_->change([&](StoreFacts& next, QueueSizes&) {
    next.peerLocked = locked;
    return true;
  });
}

Cursor SqliteStore::cursor() const {
  return state_->factsNow().cursor;
}

bool SqliteStore::restart(const Cursor& cursor) {
  const MutexLock lock(state_->databaseMutex);
  {
    const MutexLock factsLock(state_->factsMutex);
    state_->handledContext = 0;
  }
  return state_->change([&](StoreFacts& next, QueueSizes&) {
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
      return now.cursor.epoch && state_->insertReceivedRow(id++, queue, *now.cursor.epoch, row);
    });
  };
  if constexpr (kPlantedFault == PlantedFault::cursorApart) {
    state_->change([&](StoreFacts& next, QueueSizes&) { return insert(next); });
    passes(CrashPoint::receiveRowBeforeCursor);
  }
  const bool good = state_->change([&](StoreFacts& next, QueueSizes&) {
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
  const bool good = state_->change([&](StoreFacts& next, QueueSizes&) {
    next.cursor.context = context.number;
    return state_->writeContext(true, context);
  });
  if (good) passes(CrashPoint::contextAfterCommit);
  return good;
}

bool SqliteStore::refuseItem(const Cursor::Refusal& refusal) {
  const MutexLock lock(state_->databaseMutex);
  return state_->change([&](StoreFacts& next, QueueSizes&) {
    next.cursor.nextItem = refusal.number + 1;
    next.cursor.refused.push_back(refusal);
    return next.cursor.refused.size() <= kMostRefusals;
  });
}

bool SqliteStore::forgetRefusals(std::size_t count) {
  if (count == 0) return true;
  const MutexLock lock(state_->databaseMutex);
  return state_->change([&](StoreFacts& next, QueueSizes&) {
    std::vector<Cursor::Refusal>& refused = next.cursor.refused;
    refused.erase(refused.begin(),
                  refused.begin() + static_cast<std::ptrdiff_t>(std::min(count, refused.size())));
    return true;
  });
}

std::vector<Received> SqliteStore::received(Queue queue) const {
  const MutexLock lock(state_->databaseMutex);
  std::vector<Received> rows;
  Statement& select = state_->selectReceived;
  select.bind(1, static_cast<std::uint64_t>(queue));
  while (select.step()) {
    const ByteView body = select.bytes(3);
    Received row{select.number(0), {{}, select.number(2), true}, Bytes(body.begin(), body.end())};
    const ByteView epoch = select.bytes(1);
    std::copy_n(epoch.begin(), std::min(epoch.size(), row.arrival.epoch.size()), row.arrival.epoch.begin());
    rows.push_back(std::move(row));
  }
  if (select.hasFailed()) state_->readFailed = true;
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

void SqliteStore::contextWasHandled(const Arrival& arrival) {
  const MutexLock lock(state_->factsMutex);
  if (state_->facts.cursor.epoch == arrival.epoch) state_->handledContext = arrival.number;
}

void SqliteStore::flush() {
  if (!state_->hasHandled()) return;
  const MutexLock lock(state_->databaseMutex);
  // What cannot be written now is with the next step.
  state_->change([](StoreFacts&, QueueSizes&) { return true; });
}

std::optional<LinkStore::Unsent> SqliteStore::unpair() {
  const MutexLock lock(state_->databaseMutex);
  std::optional<Unsent> unsent = state_->unsent();
  if (!unsent) return std::nullopt;
  const bool good =
      state_->change([this](StoreFacts& next, QueueSizes& sizes) { return state_->clear(next, sizes); });
  return good ? std::move(unsent) : std::nullopt;
}

}  // namespace tunevale::link
