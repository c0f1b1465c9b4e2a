#pragma once

#include <list>
#include <memory>

#include "link/PairingExchange.h"
#include "link/PairingStatus.h"
#include "link/PairingWindow.h"

namespace tunevale::link {

/// The watch's side of pairing: a window that its user opens, and the phones that come through it. Strand
/// only. A listener hands it what `isPairing`.
class WatchPairing : private PairingOwner {
 public:
  WatchPairing(Strand& strand, const KeyHash& own, PairingCallbacks callbacks, const Timing& timing = {});
  ~WatchPairing() override;

  /// Opens the window: for people who compare a code (when `byCode`), and for one phone that has the token.
  void open(bool byCode, std::optional<PairingToken> token = {});
  /// Closes it and ends what is under way.
  void close();
  bool isOpen() const { return window_.isOpen(); }
  /// The user's answer while comparing. False when there was nothing to answer.
  bool confirm(bool yes);
  const PairingStatus& status() const { return status_; }
  void take(SecureStream stream);

  /// For open(); its address goes to the phone.
  static PairingToken newToken();

 private:
  std::optional<std::string> objectionToAttempt(PairingExchange& exchange, bool byToken) override;
  bool takeToken(const std::function<bool(const PairingToken&)>& proved) override;
  void compare(const std::string& code) override;
  bool pin(const KeyHash& peer) override;
  void exchangeDidEnd(PairingExchange& exchange, PairingOutcome outcome, const std::string& reason) override;
  void stop(const std::string& reason);
  void report(PairingStatus::Step step, std::string text);

  Strand& strand_;
  const KeyHash own_;
  const PairingCallbacks callbacks_;
  const Timing timing_;
  PairingWindow window_;
  bool byCode_ = false;
  std::optional<PairingToken> token_;
  std::list<std::unique_ptr<PairingExchange>> exchanges_;  // oldest first
  PairingExchange* current_ = nullptr;                     // the one of them that has begun
  PairingStatus status_;
};

}  // namespace tunevale::link
