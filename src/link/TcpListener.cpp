#include "link/TcpListener.h"

#include <stdexcept>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include "link/LinkLoop.h"
#include "link/TcpAddress.h"
#include "link/TcpStream.h"

namespace tunevale::link {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

// After a failed accept, most likely for want of descriptors, so as not to spin.
constexpr std::chrono::milliseconds kRetry{200};

}  // namespace

struct TcpListener::State : std::enable_shared_from_this<State> {
  explicit State(asio::io_context& context) : acceptor(context), retry(context) {}

  void accept() {
    acceptor.async_accept([self = shared_from_this()](const error_code& error, tcp::socket socket) {
      self->didAccept(error, std::move(socket));
    });
  }

  void didAccept(const error_code& error, tcp::socket socket) {
    if (!acceptor.is_open()) return;
    if (!error) {
      accepted(makeTcpStream(std::move(socket)));
      accept();
      return;
    }
    retry.expires_after(kRetry);
    retry.async_wait([self = shared_from_this()](const error_code&) {
      if (self->acceptor.is_open()) self->accept();
    });
  }

  tcp::acceptor acceptor;
  asio::steady_timer retry;
  Accepted accepted;
};

TcpListener::TcpListener(LinkLoop& loop, const Endpoint& endpoint)
    : state_(std::make_shared<State>(loop.context())) {
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

TcpListener::~TcpListener() {
  error_code ignored;  // there is nothing to be done about it
  state_->acceptor.close(ignored);
  state_->retry.cancel();
}

void TcpListener::start(Accepted accepted) {
  state_->accepted = std::move(accepted);
  state_->accept();
}

std::uint16_t TcpListener::port() const {
  return state_->acceptor.local_endpoint().port();
}

}  // namespace tunevale::link
