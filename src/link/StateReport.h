#pragma once

#include <memory>
#include <utility>

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

  /// What is known before anybody has said anything; not told by itself, but with the first that is set.
  /// Before the rest.
  void begin(const LinkState& state) {
    const MutexLock lock(mutex_);
    current_ = state;
    untold_ = !(state == LinkState{});
  }

  /// The rest on the strand only.
  void set(const LinkState& state) {
    {
      const MutexLock lock(mutex_);
      // Told also where it is soon as it was told last: somebody may have read it in between.
      untold_ = untold_ || !(state == current_);
      current_ = state;
    }
    if (spacingTimer_ == nullptr) tell();
  }

 private:
  void tell() {
    spacingTimer_.reset();
    if (!std::exchange(untold_, false)) return;
    delivery_.tellState(current());
    spacingTimer_ = strand_.after(spacing_, [this] { tell(); });
  }

  Strand& strand_;
  Delivery& delivery_;
  const Duration spacing_;
  bool untold_ = false;
  std::unique_ptr<Timer> spacingTimer_;
  mutable Mutex mutex_;
  LinkState current_ GUARDED_BY(mutex_);
};

}  // namespace tunevale::link
