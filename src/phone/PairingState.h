#pragma once

#include <optional>
#include <string_view>

#include "link/PairingStatus.h"

namespace tunevale::phone {

/// Who the phone's watch is, and how a new one is coming along.
struct PairingState {
  enum class Trouble {
    none,
    incomplete,  // the watch does not know this phone, or not yet
    otherKey,    // who answers there is not the paired watch
  };
  link::PairingStatus status;
  std::optional<link::KeyHash> watch;  // the paired one
  Trouble trouble = Trouble::none;

  friend bool operator==(const PairingState&, const PairingState&) = default;
};

/// As commands and events name them.
std::string_view wordFor(link::PairingStatus::Step step);
/// "" for none.
std::string_view wordFor(PairingState::Trouble trouble);

}  // namespace tunevale::phone
