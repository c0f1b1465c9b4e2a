#pragma once

#include "link/Database.h"
#include "link/KeyHash.h"
#include "link/StoreTypes.h"

namespace tunevale::link {

/// The few values of a store, all in one row; every step that changes rows changes these with them.
struct StoreFacts {
  struct Numbers {
    std::uint64_t next = 1;          // of the next row
    std::uint64_t acknowledged = 1;  // below this the other end has everything
    std::uint64_t sent = 1;          // below this it may have something
    friend bool operator==(const Numbers&, const Numbers&) = default;
  };
  Epoch epoch{};
  std::optional<KeyHash> pin;
  Numbers items;
  Numbers files;
  std::uint64_t contextVersion = 0;
  std::uint64_t contextSent = 0;
  Cursor cursor;
  bool peerLocked = false;

  Numbers& of(Queue queue) { return queue == Queue::items ? items : files; }
  const Numbers& of(Queue queue) const { return queue == Queue::items ? items : files; }
  void markSent() {
    items.sent = items.next;
    files.sent = files.next;
    contextSent = contextVersion;
  }
  friend bool operator==(const StoreFacts&, const StoreFacts&) = default;
};

/// Makes the tables of a new store. Throws std::runtime_error when the file is of a version that this program
/// does not know.
void makeStoreTables(Database& database, const Epoch& fresh);

/// Reads the facts and writes them.
class FactsTable {
 public:
  explicit FactsTable(Database& database);
  /// Throws std::runtime_error when they do not make sense.
  StoreFacts read();
  bool write(const StoreFacts& facts);

 private:
  Statement read_;
  Statement write_;
};

}  // namespace tunevale::link
