#pragma once

#include <functional>
#include <string>

#include "link/KeyHash.h"

namespace tunevale::link {

/// Where pairing stands, for people.
struct PairingStatus {
  enum class Step {
    closed,      // nobody new is taken
    open,        // the watch waits for a phone; the phone is on its way to the watch
    comparing,   // both ends show `code`; the user's answer is awaited
    waiting,     // said yes here; the other end's user has not
    paired,      // both ends have pinned; the end
    incomplete,  // pinned here, and nothing is known of the other end: if no session comes, pair again; the
                 // end
    failed,      // `text` says why; the end on the phone, the watch may still be open for another attempt
  };
  Step step = Step::closed;
  std::string code;        // six digits, while comparing or waiting
  std::string text;        // one sentence
  bool takesMore = false;  // the watch's window is open still
  int failures = 0;        // attempts that failed in this window
  KeyHash peer{};          // from comparing on

  friend bool operator==(const PairingStatus&, const PairingStatus&) = default;
};

/// What pairing needs of its surroundings; all called on the strand.
struct PairingCallbacks {
  /// Writes the pin, durably, in the place of any other; false when it cannot be written.
  std::function<bool(const KeyHash& peer)> pin;
  /// Each new status; may be empty. It may call back into the pairing.
  std::function<void(const PairingStatus&)> changed;
};

}  // namespace tunevale::link
