#pragma once

#include <deque>
#include <memory>

#include "platform/Queues.h"

namespace tunevale::test {

/// Makes the serial queues of a world, which run their blocks on the test's thread, when asked to settle or
/// when somebody waits for one; and knows when they rest. Test's thread only.
class TestQueues {
 public:
  /// The queue may outlive this object.
  std::unique_ptr<SerialQueue> make() { return std::make_unique<Queue>(blocks_); }
  /// Settles every queue; whether anything ran.
  bool settle() { return run(*blocks_); }

 private:
  using Blocks = std::deque<Block>;
  static bool run(Blocks& blocks) {
    const bool any = !blocks.empty();
    while (!blocks.empty()) {
      const Block block = std::move(blocks.front());
      blocks.pop_front();
      block();
    }
    return any;
  }
  struct Queue : SerialQueue {
    explicit Queue(std::shared_ptr<Blocks> ofAll) : blocks(std::move(ofAll)) {}
    ~Queue() override { run(*blocks); }
    void async(Block block) override { blocks->push_back(std::move(block)); }
    void sync(const Block& block) override {
      run(*blocks);
      block();
    }
    std::shared_ptr<Blocks> blocks;
  };
  const std::shared_ptr<Blocks> blocks_ = std::make_shared<Blocks>();
};

}  // namespace tunevale::test
