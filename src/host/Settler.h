#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "platform/Queues.h"

namespace tunevale::host {

/// Tells when an input has had its effect: when the phone owes no answer and the main queue has come to rest,
/// or else after half a second. Delayed blocks are not waited for. Main queue.
class Settler {
 public:
  using Done = std::function<void()>;
  /// `pendingRequests` counts what the phone still owes, with the answers that have not reached their
  /// handlers yet. May be empty.
  Settler(MainQueue& mainQueue, std::function<std::size_t()> pendingRequests)
      : mainQueue_(mainQueue), pendingRequests_(std::move(pendingRequests)) {}

  /// Calls `done` once, at the end of a turn of the main loop.
  void wait(Done done);
  /// To be called at the end of each turn.
  void turnDidEnd();

 private:
  struct Waiter {
    Done done;
    int quietTurns = 0;
    bool expired = false;
  };
  MainQueue& mainQueue_;
  const std::function<std::size_t()> pendingRequests_;
  std::vector<std::shared_ptr<Waiter>> waiters_;
};

}  // namespace tunevale::host
