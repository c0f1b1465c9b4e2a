#pragma once

#include <optional>
#include <string>

#include "link/LinkLimits.h"
#include "link/Strand.h"

namespace tunevale::link {

/// When the watch takes somebody new: for `timing.pairingWindow` after it was opened, one attempt at a time
/// and per `timing.pairingSpacing`, until one works or kMostPairingFailures have failed. Strand only.
class PairingWindow {
 public:
  PairingWindow(Strand& strand, const Timing& timing, std::function<void()> closedByTime)
      : strand_(strand), timing_(timing), closedByTime_(std::move(closedByTime)) {}

  /// Opens anew, with no failures.
  void open();
  void close();
  bool isOpen() const { return timer_ != nullptr; }
  int failures() const { return failures_; }

  /// An attempt begins; or why it may not.
  std::optional<std::string> begin();
  /// The attempt that began has ended. What failed too often, and what worked, closes the window.
  void end(bool worked);

 private:
  Strand& strand_;
  const Timing timing_;
  const std::function<void()> closedByTime_;
  std::unique_ptr<Timer> timer_;
  std::optional<Time> lastAttempt_;  // kept over closing: reopening is no way round the spacing
  bool busy_ = false;
  int failures_ = 0;
};

}  // namespace tunevale::link
