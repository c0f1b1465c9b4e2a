#include "support/TestQueues.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <stdexcept>
#include <utility>

#include "foundation/Mutex.h"
#include "host/ThreadQueue.h"

namespace tunevale::test {

namespace {

using Registry = std::shared_ptr<std::vector<TestQueues::Queue*>>;

class ManualQueue : public TestQueues::Queue {
 public:
  explicit ManualQueue(Registry registry) : registry_(std::move(registry)) { registry_->push_back(this); }
  ~ManualQueue() override {
    std::erase(*registry_, this);
    settle();
  }
  void async(Block block) override {
    const MutexLock lock(mutex_);
    blocks_.push_back(std::move(block));
  }
  void sync(const Block& block) override {
    if (running_) throw std::logic_error("a serial queue waits for itself");
    settle();
    block();
  }
  bool settle() override {
    bool ran = false;
    running_ = true;
    for (Block block = next(); block; block = next()) {
      block();
      ran = true;
    }
    running_ = false;
    return ran;
  }

 private:
  Block next() {
    const MutexLock lock(mutex_);
    if (blocks_.empty()) return {};
    Block block = std::move(blocks_.front());
    blocks_.pop_front();
    return block;
  }

  Registry registry_;
  bool running_ = false;
  Mutex mutex_;
  std::deque<Block> blocks_ GUARDED_BY(mutex_);
};

class WatchedThreadQueue : public TestQueues::Queue {
 public:
  WatchedThreadQueue(const std::string& label, Registry registry)
      : registry_(std::move(registry)), queue_(label) {
    registry_->push_back(this);
  }
  ~WatchedThreadQueue() override { std::erase(*registry_, this); }
  void async(Block block) override {
    ++submitted_;
    queue_.async(std::move(block));
  }
  void sync(const Block& block) override { queue_.sync(block); }
  bool settle() override {
    const int submitted = submitted_;
    queue_.sync([] {});
    return std::exchange(settled_, submitted) != submitted;
  }

 private:
  Registry registry_;
  std::atomic<int> submitted_ = 0;
  int settled_ = 0;
  host::ThreadQueue queue_;
};

}  // namespace

std::unique_ptr<SerialQueue> TestQueues::make(const std::string& label) {
  if (kind_ == Kind::manual) return std::make_unique<ManualQueue>(queues_);
  return std::make_unique<WatchedThreadQueue>(label, queues_);
}

bool TestQueues::settle() {
  bool ran = false;
  const auto queues = *queues_;  // a block may make another queue
  for (Queue* queue : queues) ran = queue->settle() || ran;
  return ran;
}

}  // namespace tunevale::test
