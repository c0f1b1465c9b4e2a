#include "host/BlockSchedule.h"

namespace tunevale::host {

void BlockSchedule::add(Block block) {
  const MutexLock lock(mutex_);
  ready_.push_back(std::move(block));
}

bool BlockSchedule::addAfter(Time now, std::chrono::nanoseconds delay, Block block) {
  const Time due = delay > Time::max() - now ? Time::max() : now + delay;
  const MutexLock lock(mutex_);
  const auto place = later_.emplace(std::pair(due, submissions_++), std::move(block)).first;
  return place == later_.begin();
}

std::optional<BlockSchedule::Time> BlockSchedule::earliest() {
  const MutexLock lock(mutex_);
  if (later_.empty()) return {};
  return later_.begin()->first.first;
}

std::deque<Block> BlockSchedule::take(Time now) {
  const MutexLock lock(mutex_);
  std::deque<Block> due = std::exchange(ready_, {});
  while (!later_.empty() && later_.begin()->first.first <= now) {
    due.push_back(std::move(later_.begin()->second));
    later_.erase(later_.begin());
  }
  return due;
}

void BlockSchedule::clear() {
  // What a block holds may submit a last one as it goes, so blocks are destroyed outside the lock.
  while (!take(Time::max()).empty()) {
  }
}

}  // namespace tunevale::host
