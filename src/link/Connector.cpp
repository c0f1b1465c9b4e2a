#include "link/Connector.h"

#include <algorithm>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include "link/LinkLoop.h"
#include "link/Session.h"
#include "link/TcpAddress.h"
#include "link/TcpStream.h"

namespace tunevale::link {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

class TcpDialing : public Dialing {
 public:
  TcpDialing(LinkLoop& loop, const tcp::endpoint& address, std::chrono::milliseconds limit, Dialed dialed)
      : attempt_(std::make_shared<Attempt>(loop.context(), std::move(dialed))) {
    attempt_->limit.expires_after(limit);
    attempt_->limit.async_wait([attempt = attempt_](const error_code& error) {
      if (!error) attempt->cancel();
    });
    attempt_->socket.async_connect(address, [attempt = attempt_](const error_code& error) {
      attempt->limit.cancel();
      if (!attempt->dialed) return;
      std::exchange(attempt->dialed, {})(error ? nullptr : makeTcpStream(std::move(attempt->socket)));
    });
  }
  ~TcpDialing() override {
    attempt_->dialed = {};
    attempt_->cancel();
  }

 private:
  struct Attempt {
    Attempt(asio::io_context& context, Dialed whenDialed)
        : socket(context), limit(context), dialed(std::move(whenDialed)) {}
    void cancel() {
      limit.cancel();
      error_code ignored;  // the handler hears of it, if there is one still
      socket.close(ignored);
    }
    tcp::socket socket;
    asio::steady_timer limit;
    Dialed dialed;
  };
  const std::shared_ptr<Attempt> attempt_;
};

}  // namespace

Dial tcpDial(LinkLoop& loop, const Endpoint& endpoint, const Timing& timing) {
  const tcp::endpoint address = tcpAddress(endpoint);
  return [&loop, address, limit = timing.connect](Dialed dialed) {
    return std::make_unique<TcpDialing>(loop, address, limit, std::move(dialed));
  };
}

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
