#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "foundation/Mutex.h"
#include "link/LinkStore.h"
#include "link/StoreFacts.h"

namespace tunevale::link {

/// How much waits to be sent.
struct QueueSize {
  std::uint64_t rows = 0;
  std::uint64_t bytes = 0;
};
struct QueueSizes {
  QueueSize items;
  QueueSize files;
  QueueSize& of(Queue queue) { return queue == Queue::items ? items : files; }
};

/// The statements for the rows of one queue that wait to be sent.
struct OutgoingTable {
  OutgoingTable(Database& database, const std::string& name);
  std::vector<Row> rows(std::uint64_t first, std::uint64_t below, std::size_t most);
  std::vector<std::uint64_t> allNumbers();
  QueueSize size();
  Statement insert, from, remove, numbers, count;
};

/// What an SqliteStore holds: the database, its statements, and what others ask often, which is kept at hand
/// so that they need not wait for the disk.
struct StoreState {
  StoreState(LinkStore& store, Database opened, const Epoch& fresh);

  OutgoingTable& outgoing(Queue queue) { return queue == Queue::items ? items : files; }
  StoreFacts factsNow() const;
  QueueSize sizeOf(Queue queue);
  bool hasHandled() const;

  /// One step on the disk: what the body does, with the facts and sizes that it leaves, and what has been
  /// handled since the last step. Nothing of it where it fails.
  using Body = std::function<bool(StoreFacts& next, QueueSizes& sizes)>;
  bool change(const Body& body) REQUIRES_LOCK(databaseMutex);

  bool removeRows(Queue queue, const std::vector<Row>& rows, bool delivered) REQUIRES_LOCK(databaseMutex);
  /// Inside a change.
  bool insertReceivedRow(std::uint64_t id, Queue queue, const Epoch& epoch, const Row& row);
  bool writeContext(bool received, const Row& context);
  bool clear(StoreFacts& next, QueueSizes& sizes);
  std::optional<LinkStore::Unsent> unsent() REQUIRES_LOCK(databaseMutex);
  Row contextRow(bool received);

  LinkStore& owner;
  mutable Mutex databaseMutex;  // before factsMutex
  Database database;
  FactsTable tables;
  OutgoingTable items, files;
  Statement insertReceived, selectReceived, deleteReceived, lastReceived;
  Statement putContext, getContext, handleContext;
  std::atomic<bool> readFailed = false;
  std::uint64_t nextId GUARDED_BY(databaseMutex) = 1;
  bool sending GUARDED_BY(databaseMutex) = false;
  mutable Mutex factsMutex;  // never held while the disk works
  StoreFacts facts GUARDED_BY(factsMutex);
  QueueSizes sizes GUARDED_BY(factsMutex);
  std::vector<std::uint64_t> handledIds GUARDED_BY(factsMutex);
  std::uint64_t handledContext GUARDED_BY(factsMutex) = 0;
};

}  // namespace tunevale::link
