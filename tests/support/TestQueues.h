#pragma once

#include <memory>
#include <vector>

#include "platform/Queues.h"

namespace tunevale::test {

/// Makes the serial queues of a world, which run their blocks on the test's thread, when asked to settle or
/// when somebody waits for one; and knows when they rest.
class TestQueues {
 public:
  /// The queue may outlive this object. Test's thread, as all of this.
  std::unique_ptr<SerialQueue> make();
  /// Settles every queue; whether anything ran.
  bool settle();

 private:
  class Queue;
  std::shared_ptr<std::vector<Queue*>> queues_ = std::make_shared<std::vector<Queue*>>();
};

}  // namespace tunevale::test
