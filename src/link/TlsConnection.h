#pragma once

#include <functional>
#include <memory>
#include <optional>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include "link/LinkLimits.h"
#include "link/TlsEngine.h"

namespace tunevale::link {

/// A TCP socket with TLS over it, from the handshake to the last byte; lives until nothing is under way on
/// it. Its loop only.
class TlsConnection : public std::enable_shared_from_this<TlsConnection> {
 public:
  /// A stream, or why there is none.
  using Done = std::function<void(std::optional<SecureStream>, const Refused&)>;

  TlsConnection(boost::asio::ip::tcp::socket socket, SSL_CTX& context, TlsRules rules, const Timing& timing);

  /// Begins the handshake. Calls back once, never inside the call.
  void begin(Done done);
  /// Called once when the socket is closed; replaces the one before.
  void setGoneHandler(std::function<void()> gone) { gone_ = std::move(gone); }
  /// Called when the other end refuses this one after the handshake.
  void setRefusedHandler(RefusedHandler refused) { refused_ = std::move(refused); }
  /// Closes the socket at once, without a word to anybody but the gone handler.
  void drop();
  /// The other end has begun the handshake as it should, and not failed it.
  bool isPromising() const { return engine_.hasHeard() && !closing_; }

  // The Stream; see there.
  void start(StreamReceiver& receiver);
  void write(ByteView bytes);
  void setReading(bool reading);
  void close();

 private:
  void handshake();
  void open();
  void refuse(Refused why);
  void deliver();
  void deliverLater();
  void read();
  void didRead(const boost::system::error_code& error, std::size_t size);
  void pump();
  void didWrite(const boost::system::error_code& error);
  void end(const std::string& reason);
  void sayGoodbye();
  void finishSending();
  void shut();

  boost::asio::ip::tcp::socket socket_;
  boost::asio::steady_timer timer_;
  const Timing timing_;
  TlsEngine engine_;
  Done done_;
  std::function<void()> gone_;
  RefusedHandler refused_;
  StreamReceiver* receiver_ = nullptr;
  Bytes incoming_;  // as it came
  Bytes plain_;
  Bytes outgoing_;  // on its way
  std::size_t received_ = 0;
  bool open_ = false;  // the handshake is done
  bool reading_ = true;
  bool readPending_ = false;
  bool socketWrites_ = false;
  bool receiverWrites_ = false;
  bool closing_ = false;
};

}  // namespace tunevale::link
