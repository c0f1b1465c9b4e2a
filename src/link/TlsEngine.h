#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <openssl/ssl.h>

#include "link/SecureStream.h"
#include "link/TlsContext.h"

namespace tunevale::link {

/// Whom one connection may be with.
struct TlsRules {
  TlsSide side = TlsSide::server;
  KeyHash own{};
  PinSource pin;
  std::function<bool()> isPairing;  // server: whether strangers may pair now
  bool pairs = false;               // client: asks for pairing instead of a session
  std::optional<KeyHash> expected;  // client that pairs: with this key only
};

/// TLS over bytes that somebody else carries. Strand only. The context outlives it.
class TlsEngine {
 public:
  TlsEngine(SSL_CTX& context, TlsRules rules);
  TlsEngine(const TlsEngine&) = delete;
  TlsEngine& operator=(const TlsEngine&) = delete;

  /// Bytes that came; borrowed until all of them are used, or the engine goes. Only when needsInput().
  void feed(ByteView bytes) { input_ = bytes; }
  bool needsInput() const { return input_.empty(); }
  /// Bytes to send.
  Bytes takeOutput() { return std::exchange(output_, {}); }

  enum class Step { wantsInput, done, failed };
  /// Goes on with the handshake; once failed, refusal() tells why and the output holds what the other end is
  /// told.
  Step handshake();
  bool hasHeard() const { return hasHeard_; }  // a whole first flight
  /// After the handshake. Reads up to a record; `failed` is also the end that the other side announced.
  Step read(std::span<std::byte> room, std::size_t& size);
  /// Puts the bytes, encrypted, into the output. False when the connection is broken.
  bool write(ByteView bytes);
  /// Says goodbye.
  void shutdown();

  const KeyHash& peer() const { return peer_.value(); }
  bool isPairing() const;
  Bytes32 channelKey() const;
  const Refused& refusal() const { return refusal_; }

 private:
  struct Callbacks;
  friend struct Callbacks;
  bool judge();
  void fail();

  const TlsRules rules_;
  std::unique_ptr<SSL, FreeWith<SSL_free>> ssl_;
  ByteView input_;
  Bytes output_;
  bool hasHeard_ = false;
  std::optional<KeyHash> peer_;
  Refused refusal_;
};

}  // namespace tunevale::link
