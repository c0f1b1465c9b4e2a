#pragma once

#include <optional>
#include <string>

#include "link/Connector.h"
#include "link/LinkLoop.h"
#include "link/MemoryStore.h"
#include "link/Session.h"
#include "link/SqliteStore.h"
#include "link/TlsDial.h"
#include "link/TlsListener.h"

namespace tunevale::link {

using namespace std::chrono_literals;

/// One end on a loop of its own, with its store and its spool in a folder.
struct TlsEnd {
  /// `deliver` is the loop's own turn where it is empty.
  TlsEnd(Role which, const std::string& folder, Identity key, const Timing& times, SessionDelegate& app,
         Executor deliver = {})
      : role(which),
        timing(times),
        identity(std::move(key)),
        store({folder + "/link.sqlite", ""}, newEpoch(loop)) {
    const auto turn = [this](Block block) { loop.post(std::move(block)); };
    session.emplace(loop, store,
                    SessionOptions{.role = role, .spoolFolder = folder + "/spool", .timing = timing}, app,
                    deliver ? deliver : turn, turn);
    session->activate();
  }
  /// Reconnects soon, so that many faults fit into little time.
  static Timing hasty() {
    Timing timing;
    timing.firstReconnect = 4ms;
    timing.lastReconnect = 20ms;
    timing.stateSpacing = 10ms;
    return timing;
  }
  ~TlsEnd() { loop.stop(); }

  /// The watch listens there, the phone dials; before the loop runs.
  void meet(const KeyHash& peer, std::uint16_t port) {
    store.setPin(peer);
    const Endpoint address{"127.0.0.1", port};
    const PinSource pin = [this] { return store.pin(); };
    if (role == Role::watch) {
      listener.emplace(loop, address, identity, TlsListener::Rules{.pin = pin, .timing = timing});
      listener->start([this](SecureStream stream) { session->adopt(std::move(stream.stream), false); });
    } else {
      connector.emplace(loop, *session, tlsDial(loop, identity, pin, {address, timing, {}}), timing);
      connector->start();
    }
  }

  const Role role;
  const Timing timing;
  const Identity identity;
  LinkLoop loop{"secure-end"};
  SqliteStore store;
  std::optional<Session> session;
  std::optional<TlsListener> listener;
  std::optional<Connector> connector;
};

}  // namespace tunevale::link
