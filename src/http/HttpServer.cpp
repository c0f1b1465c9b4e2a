#include "http/HttpServer.h"

#include <stdexcept>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include "http/HttpLimits.h"
#include "http/HttpSession.h"

namespace tunevale::http {

using boost::asio::ip::tcp;
using boost::system::error_code;

namespace {

tcp::acceptor listeningAt(boost::asio::io_context& loop, const Address& address) {
  const std::string where = inUrl(address.host) + ":" + std::to_string(address.port);
  error_code error;
  const auto fail = [&] { throw std::runtime_error("cannot listen at " + where + ": " + error.message()); };
  tcp::resolver resolver(loop);
  const auto found = resolver.resolve(address.host, std::to_string(address.port),
                                      tcp::resolver::passive | tcp::resolver::numeric_service, error);
  if (error) fail();
  const tcp::endpoint endpoint = found.begin()->endpoint();
  tcp::acceptor acceptor(loop);
  if (acceptor.open(endpoint.protocol(), error)) fail();
  if (acceptor.set_option(tcp::acceptor::reuse_address(true), error)) fail();
  if (acceptor.bind(endpoint, error)) fail();
  if (acceptor.listen(tcp::acceptor::max_listen_connections, error)) fail();
  return acceptor;
}

/// Tells one client too many so, without waiting for it.
void turnAway(tcp::socket socket) {
  static constexpr std::string_view kBusy =
      "HTTP/1.1 503 Service Unavailable\r\nConnection: close\r\nContent-Length: 0\r\n\r\n";
  error_code ignored;
  socket.non_blocking(true, ignored);
  socket.write_some(boost::asio::buffer(kBusy), ignored);
}

}  // namespace

/// Accepts connections. It keeps itself alive while it waits for one.
class Listener : public Connection, public std::enable_shared_from_this<Listener> {
 public:
  Listener(tcp::acceptor acceptor, std::shared_ptr<ServerState> state)
      : acceptor_(std::move(acceptor)), pause_(acceptor_.get_executor()), state_(std::move(state)) {
    state_->connections.insert(this);
  }
  ~Listener() override { state_->connections.erase(this); }

  void accept() {
    acceptor_.async_accept([self = shared_from_this()](error_code error, tcp::socket socket) {
      if (self->state_->stopped) return;
      if (error) return self->acceptLater();
      if (self->state_->connections.size() > kMaxConnections) {
        turnAway(std::move(socket));
      } else {
        error_code ignored;
        socket.set_option(tcp::no_delay(true), ignored);
        std::make_shared<HttpSession>(std::move(socket), self->state_)->readRequest();
      }
      self->accept();
    });
  }

  void stop() override {
    error_code ignored;
    acceptor_.close(ignored);
    pause_.cancel();
  }

 private:
  /// Out of descriptors, most likely; trying again at once would only spin.
  void acceptLater() {
    pause_.expires_after(std::chrono::seconds(1));
    pause_.async_wait([self = shared_from_this()](error_code) {
      if (!self->state_->stopped) self->accept();
    });
  }

  tcp::acceptor acceptor_;
  boost::asio::steady_timer pause_;
  std::shared_ptr<ServerState> state_;
};

HttpServer::HttpServer(boost::asio::io_context& loop, const Address& address) {
  tcp::acceptor acceptor = listeningAt(loop, address);
  port_ = acceptor.local_endpoint().port();
  url_ = "http://" + inUrl(address.host) + ":" + std::to_string(port_);
  state_ = std::make_shared<ServerState>(OwnNames(address.host, port_));
  std::make_shared<Listener>(std::move(acceptor), state_)->accept();
}

HttpServer::~HttpServer() {
  state_->stop();
}

void HttpServer::get(const std::string& path, Handler handler) {
  (path.ends_with('/') && path.size() > 1 ? state_->prefixes : state_->exact)[path].get = std::move(handler);
}

void HttpServer::post(const std::string& path, Handler handler) {
  (path.ends_with('/') && path.size() > 1 ? state_->prefixes : state_->exact)[path].post = std::move(handler);
}

void HttpServer::webSocket(const std::string& path, std::shared_ptr<WebSocketEndpoint> endpoint) {
  state_->exact[path].webSocket = std::move(endpoint);
}

}  // namespace tunevale::http
