#pragma once

#include <optional>
#include <string>

#include "foundation/PlistValue.h"
#include "link/FrameReader.h"
#include "link/LinkLimits.h"
#include "link/PairingSecrets.h"
#include "link/SecureStream.h"
#include "link/Strand.h"

namespace tunevale::link {

/// How one exchange came out. Only the first two leave a pin.
enum class PairingOutcome {
  paired,      // both ends have pinned
  incomplete,  // pinned here; the connection ended before the other end said the same
  failed,      // a user said no, proofs or frames were wrong, or the other end went or took too long
};

class PairingExchange;

/// Whoever runs exchanges. Strand only; it may answer from inside these calls.
class PairingOwner {
 public:
  virtual ~PairingOwner() = default;
  /// The phone's first frame has come (watch only). Text: why not, and the exchange ends with it.
  virtual std::optional<std::string> objectionToAttempt(PairingExchange& exchange, bool byToken) = 0;
  /// Whether `proved` holds for the token that is to be proved now, which is then used up (watch only).
  virtual bool takeToken(const std::function<bool(const PairingToken&)>& proved) = 0;
  /// Show these six digits and call confirm() with the user's answer.
  virtual void compare(const std::string& code) = 0;
  virtual bool pin(const KeyHash& peer) = 0;
  /// The last call. The exchange may be destroyed once this turn is over.
  virtual void exchangeDidEnd(PairingExchange& exchange, PairingOutcome outcome,
                              const std::string& reason) = 0;
};

/// One attempt to pair, over one connection; the phone begins. Strand only. Destroying it ends it, without a
/// word to the owner.
class PairingExchange : private StreamReceiver {
 public:
  struct Options {
    Role role = Role::watch;
    KeyHash own{};
    std::optional<PairingToken> token;  // the phone's, when it has one; else a code is compared
    Timing timing{};
    std::function<void(std::span<std::byte>)> random = fillRandom;  // for the nonce
  };
  PairingExchange(Strand& strand, SecureStream stream, Options options, PairingOwner& owner);
  ~PairingExchange() override;
  void start();

  /// The user's answer to the code; the first counts, and only after compare(). False when it came too early,
  /// too late or twice.
  bool confirm(bool yes);
  /// Tells the other end why and ends. The owner hears of it.
  void cancel(const std::string& reason);
  const KeyHash& peer() const { return stream_.peer; }

 private:
  enum class Phase { first, nonce, reveal, compare, token, done, over };

  void streamDidRead(ByteView bytes) override;
  void streamDidWrite() override;
  void streamDidEnd(const std::string& reason) override;
  void take(const Frame& frame);
  void takeCommit(const Frame& frame);
  void takeNonce(const Frame& frame);
  void takeReveal(const Frame& frame);
  void takeProof(const Frame& frame);
  void takeToken(const Frame& frame);
  void takeFail(const Frame& frame);
  void startComparing();
  void pinWhenProved();
  void expect(Phase phase, Duration limit);
  void send(FrameType type, const char* key, const PlistValue& value);
  void flush();
  void end(PairingOutcome outcome, const std::string& reason);

  Strand& strand_;
  SecureStream stream_;
  const Options options_;
  PairingOwner& owner_;
  PairingChannel channel_;
  Phase phase_ = Phase::first;
  FrameReader reader_;
  std::size_t received_ = 0;
  Bytes outgoing_;
  bool writing_ = false;
  Bytes32 commitment_{};
  Bytes32 watchNonce_{};
  Bytes32 phoneNonce_{};
  bool said_ = false;    // the own user has said yes
  bool proved_ = false;  // the other end has proved that its user has
  bool pinned_ = false;
  std::unique_ptr<Timer> timer_;
};

}  // namespace tunevale::link
