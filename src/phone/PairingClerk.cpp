#include "phone/PairingClerk.h"

#include <array>
#include <stdexcept>

#include "link/LinkLoop.h"
#include "link/Session.h"
#include "link/SqliteStore.h"

namespace tunevale::phone {

using Step = link::PairingStatus::Step;
using Trouble = PairingState::Trouble;

std::string_view wordFor(Step step) {
  constexpr std::array<std::string_view, 7> kWords{"closed", "open",       "comparing", "waiting",
                                                   "paired", "incomplete", "failed"};
  return kWords[static_cast<std::size_t>(step)];
}

std::string_view wordFor(Trouble trouble) {
  constexpr std::array<std::string_view, 3> kWords{"", "incomplete", "other key"};
  return kWords[static_cast<std::size_t>(trouble)];
}

void PairingClerk::setEndpoint(const link::Endpoint& watch) {
  dial_ = link::tlsDial(parts_.loop, parts_.identity, [&store = parts_.store] { return store.pin(); },
                        {.endpoint = watch,
                         .timing = parts_.timing,
                         .refused = [this](const link::Refused& refused) { connectionWasRefused(refused); }});
  reconnect_ = link::timingTo(watch, parts_.timing);
}

void PairingClerk::connect() {
  connector_.reset();
  if (!parts_.store.pin()) return;
  connector_ = std::make_unique<link::Connector>(parts_.loop, parts_.session, dial_, reconnect_);
  connector_->start();
}

void PairingClerk::pair(const link::PairingAddress& address) {
  pairing_.reset();
  const link::PairingCallbacks callbacks{
      .pin = [this, at = address.endpoint](const link::KeyHash& watch) { return pin(watch, at); },
      .changed = [this](const link::PairingStatus& status) { statusDidChange(status); }};
  try {
    // Where this fails, the paired watch may be there all the same.
    if (!address.key || address.key == parts_.store.pin()) setEndpoint(address.endpoint);
    pairing_ =
        std::make_unique<link::PhonePairing>(parts_.loop, parts_.identity, address, callbacks, parts_.timing);
  } catch (const std::runtime_error& failure) {
    link::PairingStatus failed;
    failed.step = Step::failed;
    failed.text = failure.what();
    statusDidChange(failed);
  }
}

void PairingClerk::answer(std::string_view code, bool yes) {
  if (pairing_ != nullptr && status_.step == Step::comparing && status_.code == code) pairing_->confirm(yes);
}

bool PairingClerk::pin(const link::KeyHash& watch, const link::Endpoint& at) {
  const auto former = parts_.store.setPin(watch);
  if (!former) return false;
  if (former->wasPaired) connector_.reset();  // it looks for the former watch
  parts_.session.pinDidChange(*former);
  parts_.session.activate();
  setEndpoint(at);
  return true;
}

void PairingClerk::statusDidChange(const link::PairingStatus& status) {
  status_ = status;
  if (status.step == Step::paired || status.step == Step::incomplete) {
    trouble_ = status.step == Step::paired ? Trouble::none : Trouble::incomplete;
    connect();
  } else if (status.step == Step::failed && connector_ == nullptr) {
    connect();
  }
  parts_.changed(state());
}

void PairingClerk::unpair() {
  if (!parts_.session.unpair()) watchDidUnpair();
}

void PairingClerk::watchDidConnect() {
  setTrouble(Trouble::none);
}

void PairingClerk::watchDidUnpair() {
  if (parts_.store.pin()) return;  // it was the watch before this one
  parts_.session.activate();       // what is queued from here on is for the next one
  connector_.reset();              // the connection that there is has its goodbye still to say
  status_ = {};
  trouble_ = Trouble::none;
  parts_.changed(state());
}

void PairingClerk::connectionWasRefused(const link::Refused& refused) {
  if (refused.why == link::Refusal::notKnown) setTrouble(Trouble::incomplete);
  if (refused.why == link::Refusal::otherKey) setTrouble(Trouble::otherKey);
}

void PairingClerk::setTrouble(Trouble trouble) {
  if (trouble_ == trouble) return;
  trouble_ = trouble;
  parts_.changed(state());
}

PairingState PairingClerk::state() const {
  return {status_, parts_.store.pin(), trouble_};
}

}  // namespace tunevale::phone
