#include "link/TlsConnection.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>

namespace tunevale::link {
namespace {

namespace asio = boost::asio;
using boost::system::error_code;

constexpr std::size_t kRecord = 16 * 1024;        // the most that TLS puts into one
constexpr std::size_t kPeerReadSize = 64 * 1024;  // of an authenticated end

class TlsStream : public Stream {
 public:
  explicit TlsStream(std::shared_ptr<TlsConnection> connection) : connection_(std::move(connection)) {}
  ~TlsStream() override { connection_->close(); }
  void start(StreamReceiver& receiver) override { connection_->start(receiver); }
  void write(Bytes bytes) override { connection_->write(bytes); }
  void setReading(bool reading) override { connection_->setReading(reading); }
  void close() override { connection_->close(); }

 private:
  const std::shared_ptr<TlsConnection> connection_;
};

}  // namespace

TlsConnection::TlsConnection(asio::ip::tcp::socket socket, SSL_CTX& context, TlsRules rules,
                             const Timing& timing)
    : socket_(std::move(socket)),
      timer_(socket_.get_executor()),
      timing_(timing),
      engine_(context, std::move(rules)),
      incoming_(kMostHandshakeBytes) {
  error_code ignored;  // a stream without it works, only slower
  socket_.set_option(asio::ip::tcp::no_delay(true), ignored);
}

void TlsConnection::begin(Done done) {
  done_ = std::move(done);
  timer_.expires_after(timing_.tls);
  timer_.async_wait([self = shared_from_this()](const error_code& error) {
    if (!error && !self->open_) self->refuse({Refusal::tooSlow, {}, "no handshake in time"});
  });
  asio::post(socket_.get_executor(), [self = shared_from_this()] { self->handshake(); });
}

void TlsConnection::handshake() {
  if (closing_) return;
  const TlsEngine::Step step = engine_.handshake();
  if (step == TlsEngine::Step::failed) {
    refuse(engine_.refusal());
  } else if (step == TlsEngine::Step::done) {
    open();
  } else if (received_ >= kMostHandshakeBytes) {
    refuse({Refusal::tooSlow, {}, "too many bytes before authentication"});
  } else {
    pump();
    read();
  }
}

void TlsConnection::open() {
  open_ = true;
  timer_.cancel();
  plain_.resize(kRecord);
  pump();
  std::exchange(done_, {})(SecureStream{std::make_unique<TlsStream>(shared_from_this()), engine_.peer(),
                                        engine_.isPairing(), engine_.channelKey()},
                           {});
}

void TlsConnection::refuse(Refused why) {
  if (closing_) return;
  sayGoodbye();
  if (done_) std::exchange(done_, {})(std::nullopt, why);
}

void TlsConnection::start(StreamReceiver& receiver) {
  receiver_ = &receiver;
  deliverLater();
}

void TlsConnection::setReading(bool reading) {
  reading_ = reading;
  if (reading_ && receiver_ != nullptr) deliverLater();
}

void TlsConnection::deliverLater() {
  asio::post(socket_.get_executor(), [self = shared_from_this()] { self->deliver(); });
}

void TlsConnection::deliver() {
  while (receiver_ != nullptr && reading_ && !readPending_) {
    std::size_t size = 0;
    const TlsEngine::Step step = engine_.read(plain_, size);
    if (step == TlsEngine::Step::done) {
      receiver_->streamDidRead(ByteView(plain_).first(size));
    } else if (step == TlsEngine::Step::wantsInput) {
      read();
    } else {
      const Refused why = engine_.refusal();
      if (refused_ && why.why != Refusal::unreachable) refused_(why);
      end(why.text);
    }
  }
  if (!closing_) pump();  // an answer to a change of keys
}

void TlsConnection::write(ByteView bytes) {
  if (receiver_ == nullptr) return;
  receiverWrites_ = true;
  if (!engine_.write(bytes)) {
    asio::post(socket_.get_executor(), [self = shared_from_this()] { self->end("no secure connection"); });
    return;
  }
  pump();
}

void TlsConnection::read() {
  if (readPending_ || !engine_.needsInput()) return;
  readPending_ = true;
  if (open_ && incoming_.size() < kPeerReadSize) incoming_.resize(kPeerReadSize);
  const std::size_t most = open_ ? incoming_.size() : kMostHandshakeBytes - received_;
  socket_.async_read_some(
      asio::buffer(incoming_.data(), most),
      [self = shared_from_this()](const error_code& error, std::size_t size) { self->didRead(error, size); });
}

void TlsConnection::didRead(const error_code& error, std::size_t size) {
  readPending_ = false;
  if (error) {
    if (closing_) return shut();
    if (!open_) return refuse({Refusal::unreachable, {}, "the connection broke: " + error.message()});
    end(error == asio::error::eof ? "the connection broke" : error.message());
  } else if (closing_) {
    read();  // what still comes is of no use, but to close on unread bytes could tear ours away
  } else {
    received_ += size;
    engine_.feed(ByteView(incoming_).first(size));
    open_ ? deliver() : handshake();
  }
}

void TlsConnection::pump() {
  if (socketWrites_ || !socket_.is_open()) return;
  outgoing_ = engine_.takeOutput();
  if (outgoing_.empty()) return;
  socketWrites_ = true;
  asio::async_write(
      socket_, asio::buffer(outgoing_.data(), outgoing_.size()),
      [self = shared_from_this()](const error_code& error, std::size_t) { self->didWrite(error); });
}

void TlsConnection::didWrite(const error_code& error) {
  socketWrites_ = false;
  if (error) {
    if (closing_) return shut();
    // What the other end said before it went is still to be read, and then its end; unless nobody reads.
    if (!reading_) end(error.message());
    return;
  }
  pump();
  if (socketWrites_) return;
  if (closing_) return finishSending();
  if (std::exchange(receiverWrites_, false) && receiver_ != nullptr) receiver_->streamDidWrite();
}

void TlsConnection::end(const std::string& reason) {
  if (receiver_ == nullptr) return;
  StreamReceiver& receiver = *std::exchange(receiver_, nullptr);
  sayGoodbye();
  receiver.streamDidEnd(reason);
}

void TlsConnection::close() {
  receiver_ = nullptr;
  if (!closing_) sayGoodbye();
}

void TlsConnection::sayGoodbye() {
  closing_ = true;
  timer_.expires_after(timing_.tlsShutdown);
  timer_.async_wait([self = shared_from_this()](const error_code& error) {
    if (!error) self->shut();
  });
  if (open_) engine_.shutdown();
  pump();
  if (!socketWrites_) finishSending();
}

void TlsConnection::finishSending() {
  if (!socket_.is_open()) return;
  error_code ignored;  // it may be gone already
  socket_.shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
  engine_.feed({});
  read();
}

void TlsConnection::drop() {
  closing_ = true;
  done_ = {};
  receiver_ = nullptr;
  shut();
}

void TlsConnection::shut() {
  timer_.cancel();
  error_code ignored;  // it may be gone already
  socket_.close(ignored);
  if (gone_) std::exchange(gone_, {})();
}

}  // namespace tunevale::link
