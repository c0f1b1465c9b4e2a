#pragma once

#include "phone/WatchLink.h"

namespace tunevale::phone {

/// One thing that the phone sends whenever somebody wants it sent: its latest form, however often it was
/// wanted meanwhile.
class Errand {
 public:
  void want() { wanted_ = true; }
  bool isWanted() const { return wanted_; }
  bool isOnItsWay() const { return onItsWay_; }
  /// Whether it is to be sent now; the caller then sends it.
  bool take() { return wanted_ && !onItsWay_ && takeAgain(); }
  /// The same for something that need not wait for the last one's outcome.
  bool takeAgain() {
    if (!wanted_) return false;
    wanted_ = false;
    return onItsWay_ = true;
  }

  /// True when it failed in a way that another try may better, and should be tried again before long.
  bool finish(const Outcome& outcome) {
    onItsWay_ = false;
    failed_ = outcome.error && mayGoBetterNextTime(outcome.error->code);
    tries_ = failed_ ? tries_ + 1 : 0;
    return failed_ && tries_ < kMostTries;
  }
  /// Wants again what failed. `afresh`: the watch is back, and tries count anew.
  void revive(bool afresh) {
    if (afresh) tries_ = 0;
    if (failed_) wanted_ = true;
    failed_ = false;
  }

 private:
  static constexpr int kMostTries = 3;  // until the watch goes and comes back
  static bool mayGoBetterNextTime(link::ErrorCode code) {
    using enum link::ErrorCode;
    return code == notReachable || code == notActivated || code == deliveryFailed ||
           code == sessionInactive || code == insufficientSpace || code == transferTimedOut;
  }

  bool wanted_ = false;
  bool onItsWay_ = false;
  bool failed_ = false;
  int tries_ = 0;
};

}  // namespace tunevale::phone
