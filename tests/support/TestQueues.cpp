#include "support/TestQueues.h"

#include <algorithm>
#include <deque>
#include <stdexcept>
#include <utility>

#include "foundation/Mutex.h"

namespace tunevale::test {

class TestQueues::Queue : public SerialQueue {
 public:
  explicit Queue(std::shared_ptr<std::vector<Queue*>> registry) : registry_(std::move(registry)) {
    registry_->push_back(this);
  }
  ~Queue() override {
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
  bool settle() {
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

  std::shared_ptr<std::vector<Queue*>> registry_;
  bool running_ = false;
  Mutex mutex_;
  std::deque<Block> blocks_ GUARDED_BY(mutex_);
};

std::unique_ptr<SerialQueue> TestQueues::make() {
  return std::make_unique<Queue>(queues_);
}

bool TestQueues::settle() {
  bool ran = false;
  const auto queues = *queues_;  // a block may make another queue
  for (Queue* queue : queues) ran = queue->settle() || ran;
  return ran;
}

}  // namespace tunevale::test
