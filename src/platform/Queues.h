#pragma once

#include <chrono>
#include <functional>

namespace tunevale {

using Block = std::function<void()>;

/// Blocks run one at a time, first in first out, never inside the submitting call. A block must not throw.
class SerialQueue {
 public:
  virtual ~SerialQueue() = default;  // runs what was submitted, then ends
  /// Submits a block and returns at once. Any thread.
  virtual void async(Block block) = 0;
  /// Submits a block and returns when it has run; it sees everything submitted before. Any thread but this
  /// queue's own, which would wait for itself.
  virtual void sync(const Block& block) = 0;
};

/// The queue of lifecycle, screens, notifications and display events. No thread ever waits for it.
class MainQueue {
 public:
  virtual ~MainQueue() = default;
  /// Submits a block and returns at once. Any thread.
  virtual void async(Block block) = 0;
  /// Submits a block once `delay` has passed. Any thread. What is due together runs in order of submission.
  virtual void after(std::chrono::nanoseconds delay, Block block) = 0;
};

}  // namespace tunevale
