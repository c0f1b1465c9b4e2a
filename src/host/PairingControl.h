#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "link/PairingStatus.h"

namespace tunevale::host {

/// Pairing as the watch's person sees it.
struct PairingView {
  /// What is wrong with the pairing that there is, or seems to be.
  enum class Trouble {
    none,
    incomplete,  // one end knows the other, and not the other way round
    otherKey,    // somebody called who is not the paired phone
  };
  link::PairingStatus status;
  std::optional<link::KeyHash> peer;  // the paired phone
  Trouble trouble = Trouble::none;
  std::optional<link::KeyHash> stranger;             // who called, with otherKey
  std::string address;                               // for the phone, while the window is open
  std::chrono::system_clock::time_point closesAt{};  // the window, while it is open

  friend bool operator==(const PairingView&, const PairingView&) = default;
};

/// What a person may do about pairing. Any thread; it takes effect soon after the call.
class PairingControl {
 public:
  virtual ~PairingControl() = default;
  virtual PairingView view() const = 0;
  /// Opens the window: to compare a code (`byCode`), and for one phone that brings the token in the address.
  /// Gives the address.
  virtual std::string open(bool byCode, bool withToken) = 0;
  virtual void close() = 0;
  /// The person's answer to the code that they saw. An answer to another code than the present one is none.
  virtual void answer(std::string_view code, bool yes) = 0;
  /// Why not, in a line; nothing when the pairing has ended.
  virtual std::optional<std::string> unpair() = 0;
  /// The person has read of the trouble.
  virtual void dismissTrouble() = 0;
};

}  // namespace tunevale::host
