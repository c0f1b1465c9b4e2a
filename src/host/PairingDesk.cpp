#include "host/PairingDesk.h"

#include "link/OwnAddress.h"
#include "link/PairingAddress.h"
#include "link/Session.h"
#include "link/SqliteStore.h"

namespace tunevale::host {

using Step = link::PairingStatus::Step;
using Trouble = PairingView::Trouble;

PairingDesk::PairingDesk(Parts parts)
    : parts_(std::move(parts)),
      pairing_(parts_.strand, parts_.own,
               {.pin = [this](const link::KeyHash& peer) { return pin(peer); },
                .changed = [this](const link::PairingStatus& status) { statusDidChange(status); }},
               parts_.timing) {}

PairingDesk::~PairingDesk() {
  *alive_ = false;
}

link::TlsListener::Rules PairingDesk::rules() {
  return {.pin = [this] { return parts_.store.pin(); },
          .isPairing = [this] { return pairing_.isOpen(); },
          .refused = [this](const link::Refused& refused) { connectionWasRefused(refused); },
          .timing = parts_.timing};
}

void PairingDesk::connect(link::Session& session, const link::Endpoint& listening) {
  session_ = &session;
  listening_ = listening;
}

bool PairingDesk::pin(const link::KeyHash& peer) {
  const auto former = parts_.store.setPin(peer);
  if (!former) return false;
  session_->pinDidChange(*former);
  parts_.paired();
  update([](PairingView& view) {
    view.trouble = Trouble::none;
    view.stranger.reset();
  });
  return true;
}

void PairingDesk::statusDidChange(const link::PairingStatus& status) {
  const bool open = pairing_.isOpen();
  update([&](PairingView& view) {
    view.status = status;
    if (status.step == Step::incomplete) view.trouble = Trouble::incomplete;
    view.address = open ? address_ : std::string();
    view.closesAt = open ? closesAt_ : std::chrono::system_clock::time_point{};
  });
}

void PairingDesk::connectionWasRefused(const link::Refused& refused) {
  using link::Refusal;
  Trouble trouble = Trouble::none;
  if (refused.why == Refusal::otherKey) trouble = Trouble::otherKey;
  if (refused.why == Refusal::notPaired || refused.why == Refusal::notKnown) trouble = Trouble::incomplete;
  if (trouble == Trouble::none) return;
  bool news = false;
  update([&](PairingView& view) {
    // The worse one stays until the person has read it.
    if (view.trouble == Trouble::otherKey) return;
    news = view.trouble != trouble;
    view.trouble = trouble;
    view.stranger = trouble == Trouble::otherKey ? refused.key : std::nullopt;
  });
  if (news) parts_.log("Phone link: " + refused.text);
}

void PairingDesk::peerDidConnect() {
  update([](PairingView& view) {
    if (view.trouble == Trouble::incomplete) view.trouble = Trouble::none;
  });
}

void PairingDesk::peerDidUnpair() {
  if (parts_.store.pin()) return;  // it was the phone before this one
  update([](PairingView& view) {
    view.trouble = Trouble::none;
    view.stranger.reset();
    if (view.status.step == Step::paired || view.status.step == Step::incomplete) view.status = {};
  });
  parts_.changed();  // the pin is the store's
}

PairingView PairingDesk::view() const {
  PairingView view;
  {
    const MutexLock lock(mutex_);
    view = view_;
  }
  view.peer = parts_.store.pin();
  return view;
}

void PairingDesk::post(std::function<void()> block) {
  parts_.strand.post([alive = alive_, block = std::move(block)] {
    if (*alive) block();
  });
}

std::string PairingDesk::open(bool byCode, bool withToken) {
  link::PairingAddress address{link::endpointForOthers(listening_), parts_.own, std::nullopt};
  if (withToken) address.token = link::WatchPairing::newToken();
  post([this, byCode, address] {
    address_ = inWords(address);
    closesAt_ = std::chrono::system_clock::now() + parts_.timing.pairingWindow;
    pairing_.open(byCode, address.token);
  });
  return inWords(address);
}

void PairingDesk::close() {
  post([this] { pairing_.close(); });
}

void PairingDesk::answer(std::string_view code, bool yes) {
  post([this, code = std::string(code), yes] {
    if (pairing_.status().step == Step::comparing && pairing_.status().code == code) pairing_.confirm(yes);
  });
}

std::optional<std::string> PairingDesk::unpair() {
  if (const auto error = session_->unpair()) return error->description;
  peerDidUnpair();
  return std::nullopt;
}

void PairingDesk::dismissTrouble() {
  update([](PairingView& view) {
    view.trouble = Trouble::none;
    view.stranger.reset();
  });
}

void PairingDesk::update(const std::function<void(PairingView&)>& change) {
  {
    const MutexLock lock(mutex_);
    const PairingView before = view_;
    change(view_);
    if (view_ == before) return;
  }
  parts_.changed();
}

}  // namespace tunevale::host
