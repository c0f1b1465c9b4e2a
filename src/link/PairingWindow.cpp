#include "link/PairingWindow.h"

namespace tunevale::link {

void PairingWindow::open() {
  failures_ = 0;
  timer_ = strand_.after(timing_.pairingWindow, [this] {
    close();
    if (closedByTime_) closedByTime_();
  });
}

void PairingWindow::close() {
  timer_.reset();
}

std::optional<std::string> PairingWindow::begin() {
  const Time now = strand_.now();
  if (!isOpen()) return "pairing is closed";
  if (busy_) return "another phone is pairing";
  if (lastAttempt_ && now - *lastAttempt_ < timing_.pairingSpacing) return "too soon after the last attempt";
  lastAttempt_ = now;
  busy_ = true;
  return std::nullopt;
}

void PairingWindow::end(bool worked) {
  busy_ = false;
  if (!worked) ++failures_;
  if (worked || failures_ >= kMostPairingFailures) close();
}

}  // namespace tunevale::link
