#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "foundation/Bytes.h"

namespace tunevale::link {

/// 128 random bits, born with a store and anew with each unpairing: rows are known by (epoch, number).
using Epoch = std::array<std::byte, 16>;

enum class Queue { items, files };

/// One row of a queue. The body is a property list: an item's contents, or a file's name in the spool, size,
/// hash and metadata.
struct Row {
  std::uint64_t number = 0;
  Bytes body;
};

/// How far this end has received what the other end numbered.
struct Cursor {
  std::optional<Epoch> epoch;  // nothing until the other end's first GAP
  std::uint64_t nextItem = 1;
  std::uint64_t nextFile = 1;
  std::uint64_t context = 0;
  /// Items below nextItem that were refused, which the other end may not know yet.
  struct Refusal {
    std::uint64_t number = 0;
    int code = 0;
    friend bool operator==(const Refusal&, const Refusal&) = default;
  };
  std::vector<Refusal> refused{};
  std::uint64_t& next(Queue queue) { return queue == Queue::items ? nextItem : nextFile; }
  friend bool operator==(const Cursor&, const Cursor&) = default;
};

/// Where an item, a context or a file that arrives stands in its sender's numbering.
struct Arrival {
  Epoch epoch{};
  std::uint64_t number = 0;
  /// It was given to a handler before that threw, or may have been when the process died.
  bool again = false;
};

/// A row that was received and is not handled yet; `id` is this end's own.
struct Received {
  std::uint64_t id = 0;
  Arrival arrival;
  Bytes body;
};

}  // namespace tunevale::link
