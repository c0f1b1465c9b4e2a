#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

namespace tunevale::link {

using Block = std::function<void()>;
using Duration = std::chrono::nanoseconds;
using Time = std::chrono::steady_clock::time_point;

/// A block that waits for its time. It does not run any more once this is destroyed, which the block itself
/// may do.
class Timer {
 public:
  virtual ~Timer() = default;
};

/// Where an end of the link lives: one thread's turn at a time, its clock and its dice. Tests hand in one
/// whose time they advance.
class Strand {
 public:
  virtual ~Strand() = default;
  /// Runs a block in its turn, first in first out, never inside this call. Any thread.
  virtual void post(Block block) = 0;
  /// Runs a block on the strand once `delay` has passed. Strand only.
  [[nodiscard]] virtual std::unique_ptr<Timer> after(Duration delay, Block block) = 0;
  virtual Time now() const = 0;  // any thread
  /// 64 random bits. Strand only.
  virtual std::uint64_t random() = 0;
};

}  // namespace tunevale::link
