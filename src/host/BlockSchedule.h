#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <utility>

#include "foundation/Mutex.h"
#include "platform/Queues.h"

namespace tunevale::host {

/// The blocks that wait for a main queue's thread: ready ones in their order, later ones by their time. Any
/// thread.
class BlockSchedule {
 public:
  using Time = std::chrono::steady_clock::time_point;

  void add(Block block);
  /// `delay` from `now`; past the end of time means never. True when the block became the earliest of the
  /// later ones.
  bool addAfter(Time now, std::chrono::nanoseconds delay, Block block);
  /// When the earliest of the later blocks is due; nothing when there is none.
  std::optional<Time> earliest();
  /// Takes out what may run now, in the order in which to run it: the ready ones, then the due ones by their
  /// time, and by submission where the time is one.
  std::deque<Block> take(Time now);
  /// Drops everything, also what that in turn submits.
  void clear();

 private:
  Mutex mutex_;
  std::deque<Block> ready_ GUARDED_BY(mutex_);
  std::map<std::pair<Time, std::uint64_t>, Block> later_ GUARDED_BY(mutex_);
  std::uint64_t submissions_ GUARDED_BY(mutex_) = 0;
};

}  // namespace tunevale::host
