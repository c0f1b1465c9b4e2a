#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "link/Endpoint.h"
#include "link/Identity.h"
#include "link/LinkLimits.h"
#include "link/SecureStream.h"

namespace tunevale::link {

class LinkLoop;

/// Takes connections on a TCP address and hands over those that have proved who they are. What has not is
/// held to kMostHandshakes, kMostHandshakeBytes and `timing.tls`: one socket more closes the one that is
/// least far. Made and destroyed on the loop, or while it does not run.
class TlsListener {
 public:
  struct Rules {
    PinSource pin;                    // who may hold sessions
    std::function<bool()> isPairing;  // whether strangers may pair now; empty: never
    RefusedHandler refused;           // of those who came that far; may be empty
    Timing timing{};
  };
  using Accepted = std::function<void(SecureStream)>;

  /// Listens at once; connections wait until start(). Throws std::runtime_error with a reason of one line
  /// when the address cannot be used.
  TlsListener(LinkLoop& loop, const Endpoint& endpoint, Identity identity, Rules rules);
  ~TlsListener();

  /// Hands over each connection, unread. On the loop.
  void start(Accepted accepted);
  std::uint16_t port() const;
  /// Connections in their handshake. On the loop.
  std::size_t handshakes() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace tunevale::link
