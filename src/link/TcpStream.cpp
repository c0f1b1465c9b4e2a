#include "link/TcpStream.h"

#include <array>

#include <boost/asio/buffer.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>

namespace tunevale::link {
namespace {

namespace asio = boost::asio;
using boost::system::error_code;

constexpr std::size_t kReadSize = 32 * 1024;
// How long a closed stream may take to get its last write out.
constexpr std::chrono::seconds kLinger{1};

/// The socket and what is under way on it; lives until nothing is.
class Socket : public std::enable_shared_from_this<Socket> {
 public:
  explicit Socket(asio::ip::tcp::socket socket)
      : socket_(std::move(socket)), lingerTimer_(socket_.get_executor()) {
    error_code ignored;  // a stream without it works, only slower
    socket_.set_option(asio::ip::tcp::no_delay(true), ignored);
  }

  void start(StreamReceiver& receiver) {
    receiver_ = &receiver;
    read();
  }

  void write(Bytes bytes) {
    if (receiver_ == nullptr) return;
    outgoing_ = std::move(bytes);
    writing_ = true;
    asio::async_write(
        socket_, asio::buffer(outgoing_.data(), outgoing_.size()),
        [self = shared_from_this()](const error_code& error, std::size_t) { self->didWrite(error); });
  }

  void setReading(bool reading) {
    reading_ = reading;
    if (reading_ && receiver_ != nullptr) read();
  }

  void close() {
    if (receiver_ == nullptr && closed_) return;
    closed_ = true;
    receiver_ = nullptr;
    if (!writing_) {
      shut();
      return;
    }
    lingerTimer_.expires_after(kLinger);
    lingerTimer_.async_wait([self = shared_from_this()](const error_code&) { self->shut(); });
  }

 private:
  void read() {
    if (readPending_) return;
    readPending_ = true;
    socket_.async_read_some(asio::buffer(incoming_),
                            [self = shared_from_this()](const error_code& error, std::size_t size) {
                              self->didRead(error, size);
                            });
  }

  void didRead(const error_code& error, std::size_t size) {
    readPending_ = false;
    if (receiver_ == nullptr) return;
    if (error) {
      end(error);
      return;
    }
    receiver_->streamDidRead(ByteView(incoming_).first(size));
    if (receiver_ != nullptr && reading_) read();
  }

  void didWrite(const error_code& error) {
    writing_ = false;
    if (closed_) {
      shut();
    } else if (error) {
      end(error);
    } else if (receiver_ != nullptr) {
      receiver_->streamDidWrite();
    }
  }

  void end(const error_code& error) {
    if (receiver_ == nullptr) return;
    StreamReceiver& receiver = *std::exchange(receiver_, nullptr);
    shut();
    receiver.streamDidEnd(error == asio::error::eof ? "the other end has closed the connection"
                                                    : error.message());
  }

  void shut() {
    closed_ = true;
    lingerTimer_.cancel();
    error_code ignored;  // it may be gone already
    socket_.shutdown(asio::ip::tcp::socket::shutdown_both, ignored);
    socket_.close(ignored);
  }

  asio::ip::tcp::socket socket_;
  asio::steady_timer lingerTimer_;
  StreamReceiver* receiver_ = nullptr;
  std::array<std::byte, kReadSize> incoming_{};
  Bytes outgoing_;
  bool reading_ = true;
  bool readPending_ = false;
  bool writing_ = false;
  bool closed_ = false;
};

class TcpStream : public Stream {
 public:
  explicit TcpStream(asio::ip::tcp::socket socket) : socket_(std::make_shared<Socket>(std::move(socket))) {}
  ~TcpStream() override { socket_->close(); }
  void start(StreamReceiver& receiver) override { socket_->start(receiver); }
  void write(Bytes bytes) override { socket_->write(std::move(bytes)); }
  void setReading(bool reading) override { socket_->setReading(reading); }
  void close() override { socket_->close(); }

 private:
  const std::shared_ptr<Socket> socket_;
};

}  // namespace

std::unique_ptr<Stream> makeTcpStream(asio::ip::tcp::socket socket) {
  return std::make_unique<TcpStream>(std::move(socket));
}

}  // namespace tunevale::link
