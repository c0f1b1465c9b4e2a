#pragma once

#include <memory>

#include "link/PairingAddress.h"
#include "link/PairingExchange.h"
#include "link/PairingStatus.h"
#include "link/TlsDial.h"

namespace tunevale::link {

class LinkLoop;

/// The phone's side of pairing: one attempt at an address. Strand (the loop) only. Destroying it gives up;
/// not from inside its callbacks.
class PhonePairing : private PairingOwner {
 public:
  /// Begins at once. The last status is paired, incomplete or failed. Throws std::runtime_error when the host
  /// is no numeric address.
  PhonePairing(LinkLoop& loop, Identity identity, const PairingAddress& address, PairingCallbacks callbacks,
               const Timing& timing = {});
  ~PhonePairing() override;

  /// The user's answer while comparing. False when there was nothing to answer.
  bool confirm(bool yes);
  const PairingStatus& status() const { return status_; }

 private:
  std::optional<std::string> objectionToAttempt(PairingExchange&, bool) override { return std::nullopt; }
  bool takeToken(const std::function<bool(const PairingToken&)>&) override { return false; }
  void compare(const std::string& code) override;
  bool pin(const KeyHash& peer) override;
  void exchangeDidEnd(PairingExchange& exchange, PairingOutcome outcome, const std::string& reason) override;
  void report(PairingStatus::Step step, std::string text);

  Strand& strand_;
  const PairingCallbacks callbacks_;
  PairingStatus status_;
  std::unique_ptr<Dialing> dialing_;
  std::unique_ptr<PairingExchange> exchange_;
};

}  // namespace tunevale::link
