#pragma once

#include <deque>
#include <memory>

#include "foundation/Mutex.h"
#include "link/Strand.h"

namespace tunevale::link {

class SessionCore;

/// The way into a session from other threads, and from what outlives the session. What was posted when the
/// session goes still runs; what is posted later is dropped.
class Mailbox : public std::enable_shared_from_this<Mailbox> {
 public:
  explicit Mailbox(Strand& strand) : strand_(&strand) {}

  /// Runs a block on the strand with the session. Any thread.
  void post(std::function<void(SessionCore&)> block) {
    const MutexLock lock(mutex_);  // as long as it is held, the session, and with it the strand, stays
    if (strand_ == nullptr) return;
    waiting_.push_back(std::move(block));
    strand_->post([self = shared_from_this()] { self->runNext(); });
  }

  /// The session begins and ends here. On the strand, or while it does not run.
  void open(SessionCore& core) { core_ = &core; }
  void close() {
    while (runNext()) {
    }
    core_ = nullptr;
    const MutexLock lock(mutex_);
    strand_ = nullptr;
    waiting_.clear();
  }

 private:
  bool runNext() {
    std::function<void(SessionCore&)> block;
    {
      const MutexLock lock(mutex_);
      if (waiting_.empty()) return false;
      block = std::move(waiting_.front());
      waiting_.pop_front();
    }
    if (core_ != nullptr) block(*core_);
    return true;
  }

  SessionCore* core_ = nullptr;
  Mutex mutex_;
  Strand* strand_ GUARDED_BY(mutex_);
  std::deque<std::function<void(SessionCore&)>> waiting_ GUARDED_BY(mutex_);
};

}  // namespace tunevale::link
