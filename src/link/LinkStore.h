#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "foundation/Bytes.h"

namespace tunevale::link {

/// 128 random bits, born with a store: rows are known by (epoch, number).
using Epoch = std::array<std::byte, 16>;

enum class Queue { items, files };

/// One row of a queue. The body is a property list: an item's contents, or a file's path and metadata.
struct Row {
  std::uint64_t number = 0;
  Bytes body;
};

/// How far this end has received what the other end numbered.
struct Cursor {
  std::optional<Epoch> epoch;  // nothing until the other end's first row or context
  std::uint64_t nextItem = 1;
  std::uint64_t nextFile = 1;
  std::uint64_t context = 0;
  std::uint64_t& next(Queue queue) { return queue == Queue::items ? nextItem : nextFile; }
};

/// What one end keeps until the other end, or its own application, has it. Numbers begin at 1 and rise; those
/// of removed rows are not used again. What a call changes is kept once it returns. Any thread.
class LinkStore {
 public:
  virtual ~LinkStore() = default;
  virtual Epoch epoch() const = 0;

  /// Queues a row to send and gives its number; nothing when the queue is full.
  virtual std::optional<std::uint64_t> append(Queue queue, Bytes body) = 0;
  /// The first row to send with at least this number.
  virtual std::optional<Row> firstFrom(Queue queue, std::uint64_t number) const = 0;
  /// False when there is no such row.
  virtual bool remove(Queue queue, std::uint64_t number) = 0;
  /// The number that the next append() gives.
  virtual std::uint64_t nextNumber(Queue queue) const = 0;

  /// The context to send, with its version; a version of 0 is no context.
  virtual Row context() const = 0;
  virtual std::uint64_t contextVersion() const = 0;
  virtual void setContext(Row context) = 0;

  virtual Cursor cursor() const = 0;
  /// Forgets how far the other end's former numbering went.
  virtual void restart(const Cursor& cursor) = 0;
  /// Keeps a received row and moves the cursor past it, in one step; false when it cannot be kept.
  virtual bool receive(Queue queue, Row row) = 0;
  /// The same for the received context.
  virtual bool receiveContext(Row context) = 0;
  /// Moves the cursor past a row that is refused.
  virtual void skip(Queue queue, std::uint64_t number) = 0;
  /// The application has handled a received row.
  virtual void removeReceived(Queue queue, std::uint64_t number) = 0;
};

}  // namespace tunevale::link
