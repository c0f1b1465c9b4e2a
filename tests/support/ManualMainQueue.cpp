#include "support/ManualMainQueue.h"

#include <stdexcept>

namespace tunevale::test {

namespace {

constexpr std::size_t kMostBlocks = 100'000;  // past that, something keeps submitting itself

}  // namespace

void ManualMainQueue::async(Block block) {
  schedule_.add(std::move(block));
}

void ManualMainQueue::after(std::chrono::nanoseconds delay, Block block) {
  schedule_.addAfter(now(), delay, std::move(block));
}

std::size_t ManualMainQueue::drain() {
  std::size_t ran = 0;
  while (true) {
    auto blocks = schedule_.take(now());
    if (blocks.empty()) return ran;
    for (; !blocks.empty(); blocks.pop_front()) {
      blocks.front()();
      if (++ran > kMostBlocks) throw std::runtime_error("the main queue never comes to rest");
    }
  }
}

void ManualMainQueue::advance(std::chrono::nanoseconds duration) {
  const Time end = now() + duration;
  drain();
  for (auto due = schedule_.earliest(); due && *due <= end; due = schedule_.earliest()) {
    setNow(*due);
    drain();
  }
  setNow(end);
}

ManualMainQueue::Time ManualMainQueue::now() {
  const MutexLock lock(mutex_);
  return now_;
}

void ManualMainQueue::setNow(Time now) {
  const MutexLock lock(mutex_);
  now_ = now;
}

}  // namespace tunevale::test
