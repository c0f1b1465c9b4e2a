#pragma once

#include <algorithm>
#include <deque>
#include <memory>
#include <stdexcept>
#include <vector>

#include "platform/Queues.h"

namespace tunevale::test {

/// Makes the serial queues of a world, which run their blocks on the test's thread, when asked to settle or
/// when somebody waits for one; and knows when they rest. Test's thread only.
class TestQueues {
 public:
  /// The queue may outlive this object.
  std::unique_ptr<SerialQueue> make() { return std::make_unique<Queue>(queues_); }
  /// Settles every queue; whether anything ran.
  bool settle() {
    const auto queues = *queues_;  // a block may make another queue
    return std::ranges::count_if(queues, [](Queue* queue) { return queue->settle(); }) > 0;
  }

 private:
  struct Queue : SerialQueue {
    explicit Queue(std::shared_ptr<std::vector<Queue*>> all) : registry(std::move(all)) {
      registry->push_back(this);
    }
    ~Queue() override {
      std::erase(*registry, this);
      settle();
    }
    void async(Block block) override { blocks.push_back(std::move(block)); }
    void sync(const Block& block) override {
      if (running) throw std::logic_error("a serial queue waits for itself");
      settle();
      block();
    }
    bool settle() {
      const bool ran = !blocks.empty();
      running = true;
      for (; !blocks.empty(); blocks.pop_front()) blocks.front()();
      running = false;
      return ran;
    }
    std::shared_ptr<std::vector<Queue*>> registry;
    std::deque<Block> blocks;
    bool running = false;
  };
  std::shared_ptr<std::vector<Queue*>> queues_ = std::make_shared<std::vector<Queue*>>();
};

}  // namespace tunevale::test
