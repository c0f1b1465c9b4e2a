#pragma once

#include <memory>
#include <optional>

#include "foundation/Mutex.h"
#include "link/Delivery.h"

namespace tunevale::link {

/// The state as others see it: readable from any thread at once, told to the delegate at most every so often,
/// the last one always.
class StateReport {
 public:
  StateReport(Strand& strand, Delivery& delivery, Duration spacing)
      : strand_(strand), delivery_(delivery), spacing_(spacing) {}

  LinkState current() const {  // any thread
    const MutexLock lock(mutex_);
    return current_;
  }

  /// What is known before anybody has said anything; not told by itself. Before the rest.
  void begin(const LinkState& state) {
    const MutexLock lock(mutex_);
    current_ = state;
  }

  /// The rest on the strand only.
  void set(const LinkState& state) {
    {
      const MutexLock lock(mutex_);
      current_ = state;
    }
    // Who asked in between may have seen this one: to come back to the one told last is news, too.
    if (state != told_) told_.reset();
    if (spacingTimer_ == nullptr) tell();
  }

 private:
  void tell() {
    spacingTimer_.reset();
    const LinkState state = current();
    if (state == told_) return;
    told_ = state;
    delivery_.tellState(state);
    spacingTimer_ = strand_.after(spacing_, [this] { tell(); });
  }

  Strand& strand_;
  Delivery& delivery_;
  const Duration spacing_;
  std::optional<LinkState> told_ = LinkState{};  // unless another was set since
  std::unique_ptr<Timer> spacingTimer_;
  mutable Mutex mutex_;
  LinkState current_ GUARDED_BY(mutex_);
};

}  // namespace tunevale::link
