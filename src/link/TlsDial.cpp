#include "link/TlsDial.h"

#include "link/LinkLoop.h"
#include "link/TcpAddress.h"
#include "link/TlsConnection.h"

namespace tunevale::link {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

/// One attempt: the address first, then the handshake.
class Attempt : public std::enable_shared_from_this<Attempt> {
 public:
  Attempt(LinkLoop& loop, TlsContextPtr context, TlsRules rules, TlsDialOptions options, PairingDialed dialed)
      : socket_(loop.context()),
        limit_(loop.context()),
        context_(std::move(context)),
        rules_(std::move(rules)),
        options_(std::move(options)),
        dialed_(std::move(dialed)) {}

  void start(const tcp::endpoint& address) {
    limit_.expires_after(options_.timing.connect);
    limit_.async_wait([self = shared_from_this()](const error_code& error) {
      error_code ignored;  // the handler of the attempt hears of it
      if (!error) self->socket_.close(ignored);
    });
    socket_.async_connect(address, [self = shared_from_this()](const error_code& error) {
      self->limit_.cancel();
      if (!self->dialed_) return;
      error ? self->finish(std::nullopt, {Refusal::unreachable, {}, "cannot connect: " + error.message()})
            : self->handshake();
    });
  }

  void giveUp() {
    dialed_ = {};
    limit_.cancel();
    error_code ignored;  // the handler hears of it, if there is one still
    socket_.close(ignored);
    if (connection_ != nullptr) connection_->drop();
  }

  void finish(std::optional<SecureStream> stream, const Refused& why) {
    connection_.reset();
    if (!dialed_) return;
    if (!stream && options_.refused) options_.refused(why);
    if (dialed_) std::exchange(dialed_, {})(std::move(stream));
  }

 private:
  void handshake() {
    connection_ = std::make_shared<TlsConnection>(std::move(socket_), *context_, rules_, options_.timing);
    connection_->setRefusedHandler(options_.refused);
    connection_->begin([self = shared_from_this()](std::optional<SecureStream> stream, const Refused& why) {
      self->finish(std::move(stream), why);
    });
  }

  tcp::socket socket_;
  asio::steady_timer limit_;
  const TlsContextPtr context_;
  const TlsRules rules_;
  const TlsDialOptions options_;
  PairingDialed dialed_;
  std::shared_ptr<TlsConnection> connection_;
};

class TlsDialing : public Dialing {
 public:
  explicit TlsDialing(std::shared_ptr<Attempt> attempt) : attempt_(std::move(attempt)) {}
  ~TlsDialing() override { attempt_->giveUp(); }

 private:
  const std::shared_ptr<Attempt> attempt_;
};

}  // namespace

Dial tlsDial(LinkLoop& loop, Identity identity, PinSource pin, TlsDialOptions options) {
  const tcp::endpoint address = tcpAddress(options.endpoint);
  return [&loop, address, identity = std::move(identity), pin = std::move(pin),
          options = std::move(options)](Dialed dialed) {
    const auto attempt =
        std::make_shared<Attempt>(loop, makeTlsContext(identity, TlsSide::client),
                                  TlsRules{TlsSide::client, identity.keyHash(), pin, {}, false, {}}, options,
                                  [dialed = std::move(dialed)](std::optional<SecureStream> stream) {
                                    dialed(stream ? std::move(stream->stream) : nullptr);
                                  });
    if (pin && pin()) {
      attempt->start(address);
    } else {
      loop.post([attempt] {
        attempt->finish(std::nullopt, {Refusal::notPaired, {}, "this end is not paired"});
      });
    }
    return std::make_unique<TlsDialing>(attempt);
  };
}

std::unique_ptr<Dialing> dialForPairing(LinkLoop& loop, Identity identity, std::optional<KeyHash> expected,
                                        TlsDialOptions options, PairingDialed dialed) {
  const tcp::endpoint address = tcpAddress(options.endpoint);
  const auto attempt =
      std::make_shared<Attempt>(loop, makeTlsContext(identity, TlsSide::client),
                                TlsRules{TlsSide::client, identity.keyHash(), {}, {}, true, expected},
                                std::move(options), std::move(dialed));
  attempt->start(address);
  return std::make_unique<TlsDialing>(attempt);
}

}  // namespace tunevale::link
