#pragma once

#include <string>

#include "apps/InputLines.h"
#include "foundation/Mutex.h"
#include "host/PairingControl.h"

namespace tunevale {

/// Pairing in a terminal: tells how it stands on standard output, and asks there whether the codes are the
/// same. The first line of input after a question is its answer; what is neither "y" nor "yes" says no.
class PairingTerminal {
 public:
  /// The control outlives this.
  explicit PairingTerminal(host::PairingControl& control);
  /// The view may be another one. Main queue.
  void update();

 private:
  host::PairingControl& control_;
  link::PairingStatus told_;  // main queue
  Mutex mutex_;
  std::string code_ GUARDED_BY(mutex_);  // while it is asked for
  InputLines input_;
};

}  // namespace tunevale
