#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include "link/Connector.h"
#include "link/Identity.h"
#include "link/PhonePairing.h"
#include "phone/PairingState.h"

namespace tunevale::link {
class Session;
class SqliteStore;
}  // namespace tunevale::link

namespace tunevale::phone {

/// Pairs and unpairs the phone, and keeps its session connected to the paired watch. Strand only, but it is
/// made and destroyed while the loop does not run, too.
class PairingClerk {
 public:
  struct Parts {
    link::LinkLoop& loop;
    link::Identity identity;
    link::SqliteStore& store;
    link::Session& session;
    link::Timing timing;
    std::function<void(const PairingState&)> changed;
  };
  explicit PairingClerk(Parts parts) : parts_(std::move(parts)) {}

  /// Where the watch is. Throws std::runtime_error when the host is no numeric address.
  void setEndpoint(const link::Endpoint& watch);
  /// Connects to the paired watch, if there is one, and stays connected.
  void connect();
  /// Pairs with who is at an address, then connects there; after a failure to the paired watch, if there is
  /// one. What was under way before ends. That the host is no numeric address is a failed attempt.
  void pair(const link::PairingAddress& address);
  /// The person's answer to the code that they saw; one to another code is none.
  void answer(std::string_view code, bool yes);
  void unpair();

  /// What the session knows of its other end.
  void watchDidConnect();
  void watchDidUnpair();
  PairingState state() const;

 private:
  bool pin(const link::KeyHash& watch, const link::Endpoint& at);
  void statusDidChange(const link::PairingStatus& status);
  void connectionWasRefused(const link::Refused& refused);
  void setTrouble(PairingState::Trouble trouble);

  const Parts parts_;
  link::Dial dial_;
  PairingState::Trouble trouble_ = PairingState::Trouble::none;
  link::PairingStatus status_;
  std::unique_ptr<link::PhonePairing> pairing_;
  link::Timing reconnect_;
  std::unique_ptr<link::Connector> connector_;
};

}  // namespace tunevale::phone
