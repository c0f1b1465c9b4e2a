#pragma once

#include <functional>
#include <memory>

#include "link/Endpoint.h"
#include "link/LinkLimits.h"
#include "link/Stream.h"

namespace tunevale::link {

class Session;
class Strand;

/// Tries once to reach the other end. Calls back once, on the strand, never inside the call: with null when
/// it did not work. Destroying what it returns gives up.
using Dialed = std::function<void(std::unique_ptr<Stream>)>;
class Dialing {
 public:
  virtual ~Dialing() = default;
};
using Dial = std::function<std::unique_ptr<Dialing>(Dialed)>;

/// The same times, with longer waits between attempts when the address is not on this machine: there, a wait
/// saves what others need too.
inline constexpr std::chrono::milliseconds kLastReconnectFar{30'000};
Timing timingTo(const Endpoint& endpoint, Timing timing);

/// Keeps a session connected: dials, and dials again some time after a failure or a loss, a random while that
/// doubles with every failure. Strand only.
class Connector {
 public:
  Connector(Strand& strand, Session& session, Dial dial, const Timing& timing);
  ~Connector();
  void start();
  /// Stays away until start().
  void stop();

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace tunevale::link
