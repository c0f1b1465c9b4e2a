#pragma once

#include <condition_variable>
#include <deque>
#include <string>
#include <thread>

#include "foundation/Mutex.h"
#include "platform/Queues.h"

namespace tunevale::host {

/// A serial queue on a thread of its own, asleep while there is nothing to run.
class ThreadQueue : public SerialQueue {
 public:
  /// The thread is named after the label's last part ("com.tunevale.watch.radioQueue": "radioQueue"), cut to
  /// the 15 characters that the system keeps.
  explicit ThreadQueue(const std::string& label);
  /// Runs what was submitted, also by the blocks that run meanwhile. Not on this queue's own thread.
  ~ThreadQueue() override;

  void async(Block block) override;
  void sync(const Block& block) override;

 private:
  void runBlocks();

  Mutex mutex_;
  std::condition_variable_any changed_;
  std::deque<Block> blocks_ GUARDED_BY(mutex_);
  bool ending_ GUARDED_BY(mutex_) = false;
  std::thread thread_;
};

}  // namespace tunevale::host
