#pragma once

#include "foundation/Mutex.h"
#include "host/BlockSchedule.h"

namespace tunevale::test {

/// A main queue that runs when the test says so, on the test's thread, with a time of its own.
class ManualMainQueue : public MainQueue {
 public:
  void async(Block block) override;
  void after(std::chrono::nanoseconds delay, Block block) override;

  /// Runs what is ready or due, and what that submits, until there is no more; tells how many blocks ran.
  std::size_t drain();
  /// Lets time pass: drains, and on the way runs each later block at its own time.
  void advance(std::chrono::nanoseconds duration);

 private:
  using Time = host::BlockSchedule::Time;
  Time now();
  void setNow(Time now);

  host::BlockSchedule schedule_;
  Mutex mutex_;
  Time now_ GUARDED_BY(mutex_);
};

}  // namespace tunevale::test
