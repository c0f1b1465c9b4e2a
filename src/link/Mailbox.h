#pragma once

#include <memory>

#include "foundation/Mutex.h"
#include "link/Strand.h"

namespace tunevale::link {

class SessionCore;

/// The way into a session from other threads, and from what outlives the session: once that has gone, what is
/// posted is dropped.
class Mailbox : public std::enable_shared_from_this<Mailbox> {
 public:
  explicit Mailbox(Strand& strand) : strand_(&strand) {}

  /// Runs a block on the strand with the session. Any thread.
  void post(std::function<void(SessionCore&)> block) {
    const MutexLock lock(mutex_);  // as long as it is held, the session, and with it the strand, stays
    if (strand_ == nullptr) return;
    strand_->post([self = shared_from_this(), block = std::move(block)] {
      if (self->core_ != nullptr) block(*self->core_);
    });
  }

  /// The session begins and ends here. On the strand, or while it does not run.
  void open(SessionCore& core) { core_ = &core; }
  void close() {
    core_ = nullptr;
    const MutexLock lock(mutex_);
    strand_ = nullptr;
  }

 private:
  SessionCore* core_ = nullptr;
  Mutex mutex_;
  Strand* strand_ GUARDED_BY(mutex_);
};

}  // namespace tunevale::link
