#pragma once

#include <algorithm>

#include "link/LinkLimits.h"
#include "link/Strand.h"

namespace tunevale::link {

/// Counts frames against the burst and the sustained rate.
class RateLimit {
 public:
  explicit RateLimit(Time now) : last_(now) {}
  /// How long until one more frame may be taken; zero when it may now.
  Duration wait(Time now) {
    const double seconds = std::chrono::duration<double>(now - last_).count();
    credit_ = std::min(kFrameBurst, credit_ + seconds * kSustainedFrameRate);
    last_ = now;
    if (credit_ >= 1) return {};
    // A little longer than needed, so that one wake-up brings several frames and not one.
    return std::chrono::duration_cast<Duration>(
        std::chrono::duration<double>((kFramesPerWakeUp - credit_) / kSustainedFrameRate));
  }
  void take() { credit_ -= 1; }

 private:
  static constexpr double kFramesPerWakeUp = 4;
  Time last_;
  double credit_ = kFrameBurst;
};

}  // namespace tunevale::link
