#pragma once

#include "link/Connector.h"
#include "link/Identity.h"
#include "link/SecureStream.h"

namespace tunevale::link {

class LinkLoop;

/// How a connection is made to an end that is known, or is to be.
struct TlsDialOptions {
  Endpoint endpoint;
  Timing timing{};         // connect, tls
  RefusedHandler refused;  // may be empty; called on the loop
};

/// For a Connector: sessions with the pinned peer and nobody else. That a stream was made does not mean yet
/// that the other end wants this one: its refusal comes after (Refusal::notKnown), before any byte of it.
/// Throws std::runtime_error when the host is no numeric address.
Dial tlsDial(LinkLoop& loop, Identity identity, PinSource pin, TlsDialOptions options);

/// One connection for pairing with whoever is there, or only with the holder of `expected`. Calls back once,
/// on the loop, never inside the call: with nothing after `refused` has told why. Destroying what it returns
/// gives up.
using PairingDialed = std::function<void(std::optional<SecureStream>)>;
std::unique_ptr<Dialing> dialForPairing(LinkLoop& loop, Identity identity, std::optional<KeyHash> expected,
                                        TlsDialOptions options, PairingDialed dialed);

}  // namespace tunevale::link
