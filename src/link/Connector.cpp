#include "link/Connector.h"

#include <algorithm>

#include "link/Session.h"
#include "link/TcpAddress.h"

namespace tunevale::link {

Timing timingTo(const Endpoint& endpoint, Timing timing) {
  if (!tcpAddress(endpoint).address().is_loopback()) timing.lastReconnect = kLastReconnectFar;
  return timing;
}

struct Connector::State : std::enable_shared_from_this<State> {
  State(Strand& where, Session& end, Dial how, const Timing& times)
      : strand(where), session(end), dial(std::move(how)), timing(times) {}

  void tryNow() {
    retry.reset();
    dialing = dial([weak = weak_from_this()](std::unique_ptr<Stream> stream) {
      if (const auto self = weak.lock()) self->didDial(std::move(stream));
    });
  }

  void didDial(std::unique_ptr<Stream> stream) {
    if (stream == nullptr) {
      tryLater();
      return;
    }
    session.adopt(std::move(stream), true, [weak = weak_from_this()](const std::string&, Duration openFor) {
      const auto self = weak.lock();
      if (self == nullptr) return;
      if (openFor >= self->timing.healthy) self->failures = 0;
      self->tryLater();
    });
  }

  void tryLater() {
    if (!running) return;
    const auto longest = std::min<Duration>(timing.lastReconnect, timing.firstReconnect * (1 << failures));
    failures = std::min(failures + 1, 10);
    const auto share =
        static_cast<double>(strand.random() >> 11) / static_cast<double>(std::uint64_t{1} << 53);
    retry = strand.after(std::chrono::duration_cast<Duration>(longest * share), [this] { tryNow(); });
  }

  Strand& strand;
  Session& session;
  const Dial dial;
  const Timing timing;
  std::unique_ptr<Dialing> dialing;
  std::unique_ptr<Timer> retry;
  int failures = 0;
  bool running = false;
};

Connector::Connector(Strand& strand, Session& session, Dial dial, const Timing& timing)
    : state_(std::make_shared<State>(strand, session, std::move(dial), timing)) {}

Connector::~Connector() = default;

void Connector::start() {
  if (std::exchange(state_->running, true)) return;
  state_->tryNow();
}

void Connector::stop() {
  state_->running = false;
  state_->dialing.reset();
  state_->retry.reset();
  state_->session.disconnect("closed on purpose");
}

}  // namespace tunevale::link
