#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/Queues.h"

namespace tunevale::test {

/// Makes the serial queues of a world and knows when they rest. `manual`: a queue runs its blocks on the
/// test's thread, when asked to settle or when somebody waits for it. `threads`: the real queues.
class TestQueues {
 public:
  enum class Kind { manual, threads };
  class Queue : public SerialQueue {
   public:
    /// Lets everything run that was submitted before; whether anything had been since the last call.
    virtual bool settle() = 0;
  };

  explicit TestQueues(Kind kind) : kind_(kind) {}
  /// The queue may outlive this object. Test's thread, as all of this.
  std::unique_ptr<SerialQueue> make(const std::string& label);
  /// Settles every queue; whether anything ran.
  bool settle();

 private:
  const Kind kind_;
  std::shared_ptr<std::vector<Queue*>> queues_ = std::make_shared<std::vector<Queue*>>();
};

}  // namespace tunevale::test
