#include "link/TlsListener.h"

#include <algorithm>
#include <list>
#include <stdexcept>

#include "link/LinkLoop.h"
#include "link/TcpAddress.h"
#include "link/TlsConnection.h"

namespace tunevale::link {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;
using Clock = std::chrono::steady_clock;

// After a failed accept, most likely for want of descriptors, so as not to spin.
constexpr std::chrono::milliseconds kRetry{200};

}  // namespace

struct TlsListener::State : std::enable_shared_from_this<State> {
  struct Handshake {
    std::shared_ptr<TlsConnection> connection;
    Clock::time_point since;
  };
  using Handshakes = std::list<Handshake>;

  State(LinkLoop& loop, Identity who, Rules how)
      : acceptor(loop.context()),
        retry(loop.context()),
        identity(std::move(who)),
        rules(std::move(how)),
        context(makeTlsContext(identity, TlsSide::server)) {}

  /// The one that goes when one more comes: of those that have not even begun, and else of all, the oldest.
  Handshakes::iterator leastFar() {
    const auto idle = std::find_if(handshakes.begin(), handshakes.end(),
                                   [](const Handshake& one) { return !one.connection->isPromising(); });
    return idle != handshakes.end() ? idle : handshakes.begin();
  }

  /// Accepts when there is room, or when somebody has had its chance.
  void acceptNext() {
    if (!acceptor.is_open() || accepting) return;
    if (handshakes.size() >= kMostHandshakes) {
      const auto left = leastFar()->since + kHandshakeGrace - Clock::now();
      if (left > left.zero()) return acceptAfter(left);
    }
    accepting = true;
    acceptor.async_accept([self = shared_from_this()](const error_code& error, tcp::socket socket) {
      self->accepting = false;
      if (!self->acceptor.is_open()) return;
      if (error) return self->acceptAfter(kRetry);
      self->take(std::move(socket));
      self->acceptNext();
    });
  }

  void acceptAfter(Clock::duration wait) {
    retry.expires_after(wait);
    retry.async_wait([self = shared_from_this()](const error_code& error) {
      if (!error) self->acceptNext();
    });
  }

  void take(tcp::socket socket) {
    if (handshakes.size() >= kMostHandshakes) leastFar()->connection->drop();
    const auto connection = std::make_shared<TlsConnection>(
        std::move(socket), *context,
        TlsRules{TlsSide::server, identity.keyHash(), rules.pin, rules.isPairing, false, {}}, rules.timing);
    const auto place = handshakes.insert(handshakes.end(), {connection, Clock::now()});
    const auto leave = [weak = weak_from_this(), place] {
      if (const auto self = weak.lock()) self->handshakes.erase(place);
    };
    connection->setGoneHandler(leave);
    connection->begin([weak = weak_from_this(), raw = connection.get(), leave](
                          std::optional<SecureStream> stream, const Refused& why) {
      const auto self = weak.lock();
      if (self == nullptr) return;
      if (stream) {
        raw->setGoneHandler({});
        leave();
        self->accepted(std::move(*stream));
      } else if (self->rules.refused) {
        self->rules.refused(why);
      }
    });
  }

  tcp::acceptor acceptor;
  asio::steady_timer retry;
  const Identity identity;
  const Rules rules;
  const TlsContextPtr context;
  Accepted accepted;
  Handshakes handshakes;  // also those that were refused, until their sockets are closed; oldest first
  bool accepting = false;
};

TlsListener::TlsListener(LinkLoop& loop, const Endpoint& endpoint, Identity identity, Rules rules)
    : state_(std::make_shared<State>(loop, std::move(identity), std::move(rules))) {
  const tcp::endpoint address = tcpAddress(endpoint);
  try {
    state_->acceptor.open(address.protocol());
    state_->acceptor.set_option(tcp::acceptor::reuse_address(true));
    state_->acceptor.bind(address);
    state_->acceptor.listen();
  } catch (const boost::system::system_error& error) {
    throw std::runtime_error("cannot listen on " + inWords(endpoint) + ": " + error.code().message());
  }
}

TlsListener::~TlsListener() {
  error_code ignored;  // there is nothing to be done about it
  state_->acceptor.close(ignored);
  state_->retry.cancel();
  while (!state_->handshakes.empty()) state_->handshakes.front().connection->drop();
}

void TlsListener::start(Accepted accepted) {
  state_->accepted = std::move(accepted);
  state_->acceptNext();
}

std::uint16_t TlsListener::port() const {
  return state_->acceptor.local_endpoint().port();
}

std::size_t TlsListener::handshakes() const {
  return state_->handshakes.size();
}

}  // namespace tunevale::link
