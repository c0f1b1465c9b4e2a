#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "link/Crypto.h"
#include "link/KeyHash.h"
#include "link/Stream.h"

namespace tunevale::link {

/// What a connection is for, as TLS's application protocol (ALPN, RFC 7301).
inline constexpr std::string_view kSessionProtocol = "tunevale-link/1";
inline constexpr std::string_view kPairingProtocol = "tunevale-pair/1";

/// A stream inside TLS, its handshake done, with what that said of the other end.
struct SecureStream {
  std::unique_ptr<Stream> stream;
  KeyHash peer{};          // the key that the other end has proved to hold
  bool isPairing = false;  // kPairingProtocol: the peer is a stranger; else kSessionProtocol, and pinned
  Bytes32 channelKey{};    // known to the two ends of this very connection only; for pairing
};

/// Why a connection did not come to be, or did not last.
enum class Refusal {
  unreachable,  // nobody listens there, or the way broke
  notPaired,    // this end has no pin
  otherKey,     // the peer's key is not the pinned one (or not the one of the address): an alarm, somebody
                // else stands there, or the peer has lost its key; pairing anew is for the person to decide
  ownKey,       // the peer showed this end's own key
  notKnown,     // the peer does not know this end's key: pairing incomplete, pair again
  notPairing,   // the peer takes nobody new at the moment
  notSecure,    // no TLS 1.3, no certificate, no such protocol, or no TLS at all
  tooSlow,      // its time or its room before authentication was up
};

struct Refused {
  Refusal why{};
  std::optional<KeyHash> key;  // the peer's, where it showed one
  std::string text;            // a line for the log
};

/// Called on the loop.
using RefusedHandler = std::function<void(const Refused&)>;
/// The paired peer's key; nothing when this end is not paired. Asked on the loop at each handshake.
using PinSource = std::function<std::optional<KeyHash>()>;

}  // namespace tunevale::link
