#include "link/WatchPairing.h"

#include <algorithm>

namespace tunevale::link {
namespace {

using Step = PairingStatus::Step;

}  // namespace

WatchPairing::WatchPairing(Strand& strand, const KeyHash& own, PairingCallbacks callbacks,
                           const Timing& timing)
    : strand_(strand),
      own_(own),
      callbacks_(std::move(callbacks)),
      timing_(timing),
      window_(strand, timing, [this] { stop("the time for pairing is over"); }) {}

WatchPairing::~WatchPairing() = default;

PairingToken WatchPairing::newToken() {
  PairingToken token{};
  fillRandom(token);
  return token;
}

void WatchPairing::open(bool byCode, std::optional<PairingToken> token) {
  stop("pairing begins anew");
  byCode_ = byCode;
  token_ = token;
  window_.open();
  report(Step::open, "waiting for a phone");
}

void WatchPairing::close() {
  stop("pairing was closed");
}

void WatchPairing::stop(const std::string& reason) {
  window_.close();
  token_.reset();
  while (!exchanges_.empty()) exchanges_.front()->cancel(reason);
  if (status_.step != Step::paired && status_.step != Step::incomplete) report(Step::closed, reason);
}

bool WatchPairing::confirm(bool yes) {
  if (status_.step != Step::comparing || current_ == nullptr) return false;
  PairingExchange& exchange = *current_;
  // Said first, as the exchange may end in this very call.
  if (yes) report(Step::waiting, "waiting for the phone's user");
  return exchange.confirm(yes);
}

void WatchPairing::take(SecureStream stream) {
  if (!isOpen()) {
    stream.stream->close();
    return;
  }
  if (exchanges_.size() > kMostStrangers) {
    const auto oldest = std::find_if(exchanges_.begin(), exchanges_.end(),
                                     [this](const auto& one) { return one.get() != current_; });
    (*oldest)->cancel("too many phones wait");
  }
  PairingOwner& owner = *this;
  exchanges_.push_back(std::make_unique<PairingExchange>(
      strand_, std::move(stream), PairingExchange::Options{Role::watch, own_, {}, timing_}, owner));
  exchanges_.back()->start();
}

std::optional<std::string> WatchPairing::objectionToAttempt(PairingExchange& exchange, bool byToken) {
  if (byToken ? !token_ : !byCode_) return "this watch does not pair in this way now";
  if (auto objection = window_.begin()) return objection;
  current_ = &exchange;
  status_.peer = exchange.peer();
  return std::nullopt;
}

bool WatchPairing::takeToken(const std::function<bool(const PairingToken&)>& proved) {
  if (!token_ || !proved(*token_)) return false;
  token_.reset();
  return true;
}

void WatchPairing::compare(const std::string& code) {
  status_.code = code;
  report(Step::comparing, "does the phone show the same code?");
}

bool WatchPairing::pin(const KeyHash& peer) {
  return callbacks_.pin(peer);
}

void WatchPairing::exchangeDidEnd(PairingExchange& exchange, PairingOutcome outcome,
                                  const std::string& reason) {
  const auto place = std::find_if(exchanges_.begin(), exchanges_.end(),
                                  [&exchange](const auto& one) { return one.get() == &exchange; });
  // It is still at work: it goes when this turn is over.
  strand_.post([grave = std::shared_ptr<PairingExchange>(std::move(*place))] {});
  exchanges_.erase(place);
  if (&exchange != current_) return;
  current_ = nullptr;
  window_.end(outcome != PairingOutcome::failed);
  if (outcome == PairingOutcome::paired) return report(Step::paired, "paired");
  if (outcome == PairingOutcome::incomplete) {
    return report(Step::incomplete, "pairing incomplete, pair again unless the phone connects");
  }
  report(Step::failed, isOpen() || window_.failures() < kMostPairingFailures
                           ? reason
                           : reason + "; that was one attempt too many, pairing is closed");
}

void WatchPairing::report(Step step, std::string text) {
  status_.step = step;
  status_.text = std::move(text);
  if (step != Step::comparing && step != Step::waiting) status_.code.clear();
  status_.takesMore = isOpen();
  status_.failures = window_.failures();
  if (callbacks_.changed) callbacks_.changed(PairingStatus(status_));
}

}  // namespace tunevale::link
