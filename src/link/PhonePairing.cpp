#include "link/PhonePairing.h"

#include "link/LinkLoop.h"

namespace tunevale::link {
namespace {

using Step = PairingStatus::Step;

}  // namespace

PhonePairing::PhonePairing(LinkLoop& loop, Identity identity, const PairingAddress& address,
                           PairingCallbacks callbacks, const Timing& timing)
    : strand_(loop), callbacks_(std::move(callbacks)) {
  status_.step = Step::open;
  status_.text = "on the way to the watch";
  PairingExchange::Options options{Role::phone, identity.keyHash(), address.token, timing};
  const auto refused = [this](const Refused& why) { status_.text = why.text; };
  dialing_ = dialForPairing(loop, std::move(identity), address.key, {address.endpoint, timing, refused},
                            [this, options = std::move(options)](std::optional<SecureStream> stream) {
                              if (!stream) return report(Step::failed, std::string(status_.text));
                              status_.peer = stream->peer;
                              PairingOwner& owner = *this;
                              exchange_ = std::make_unique<PairingExchange>(strand_, std::move(*stream),
                                                                            options, owner);
                              exchange_->start();
                            });
}

PhonePairing::~PhonePairing() = default;

bool PhonePairing::confirm(bool yes) {
  if (status_.step != Step::comparing) return false;
  // Said first, as the exchange may end in this very call.
  if (yes) report(Step::waiting, "waiting for the watch's user");
  return exchange_->confirm(yes);
}

void PhonePairing::compare(const std::string& code) {
  status_.code = code;
  report(Step::comparing, "does the watch show the same code?");
}

bool PhonePairing::pin(const KeyHash& peer) {
  return callbacks_.pin(peer);
}

void PhonePairing::exchangeDidEnd(PairingExchange&, PairingOutcome outcome, const std::string& reason) {
  if (outcome == PairingOutcome::paired) return report(Step::paired, "paired");
  if (outcome == PairingOutcome::incomplete) {
    return report(Step::incomplete, "pairing incomplete, pair again unless the watch answers");
  }
  report(Step::failed, reason);
}

void PhonePairing::report(Step step, std::string text) {
  status_.step = step;
  status_.text = std::move(text);
  if (step != Step::comparing && step != Step::waiting) status_.code.clear();
  if (callbacks_.changed) callbacks_.changed(PairingStatus(status_));
}

}  // namespace tunevale::link
