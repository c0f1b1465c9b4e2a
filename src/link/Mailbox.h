#pragma once

#include <atomic>
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
    Strand* strand = nullptr;
    {
      const MutexLock lock(mutex_);
      if (strand_ == nullptr) return;
      strand = strand_;
      waiting_.push_back(std::move(block));
      posting_.fetch_add(1);  // from here on close() waits, and the strand stays
    }
    strand->post([self = shared_from_this()] { self->runNext(); });
    if (posting_.fetch_sub(1) == 1) posting_.notify_all();
  }

  /// The session begins and ends here. On the strand, or while it does not run.
  void open(SessionCore& core) { core_ = &core; }
  void close() {
    while (runNext(true)) {
    }
    for (int posting = posting_.load(); posting != 0; posting = posting_.load()) posting_.wait(posting);
    core_ = nullptr;
  }

 private:
  /// False when nothing waits; when that is `last`, nothing is taken any more.
  bool runNext(bool last = false) {
    std::function<void(SessionCore&)> block;
    {
      const MutexLock lock(mutex_);
      if (waiting_.empty()) {
        if (last) strand_ = nullptr;
        return false;
      }
      block = std::move(waiting_.front());
      waiting_.pop_front();
    }
    if (core_ != nullptr) block(*core_);
    return true;
  }

  SessionCore* core_ = nullptr;
  std::atomic<int> posting_ = 0;  // calls of post() that are with the strand
  Mutex mutex_;
  Strand* strand_ GUARDED_BY(mutex_);
  std::deque<std::function<void(SessionCore&)>> waiting_ GUARDED_BY(mutex_);
};

}  // namespace tunevale::link
