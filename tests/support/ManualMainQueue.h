#pragma once

#include "host/BlockSchedule.h"

namespace tunevale::test {

/// A main queue that runs when the test says so, on the test's thread, with a time of its own. Blocks may
/// come from any thread, later ones from the test's.
class ManualMainQueue : public MainQueue {
 public:
  void async(Block block) override { schedule_.add(std::move(block)); }
  void after(std::chrono::nanoseconds delay, Block block) override {
    schedule_.addAfter(now_, delay, std::move(block));
  }

  /// Runs what is ready or due, and what that submits, until there is no more; tells how many blocks ran.
  std::size_t drain() {
    std::size_t ran = 0;
    for (auto blocks = schedule_.take(now_); !blocks.empty(); blocks = schedule_.take(now_)) {
      for (; !blocks.empty(); blocks.pop_front(), ++ran) blocks.front()();
    }
    return ran;
  }
  /// Lets time pass: drains, and on the way runs each later block at its own time.
  void advance(std::chrono::nanoseconds duration) {
    const auto end = now_ + duration;
    drain();
    for (auto due = schedule_.earliest(); due && *due <= end; due = schedule_.earliest()) {
      now_ = *due;
      drain();
    }
    now_ = end;
  }

 private:
  host::BlockSchedule schedule_;
  host::BlockSchedule::Time now_;
};

}  // namespace tunevale::test
