#include "http/WebSocketSession.h"

#include <boost/asio/buffer.hpp>
#include <boost/beast/core/buffers_to_string.hpp>

#include "http/HttpLimits.h"

namespace tunevale::http {

namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;
using boost::system::error_code;

void WebSocketEndpoint::broadcast(std::string text) {
  const auto shared = std::make_shared<const std::string>(std::move(text));
  for (WebSocketClient* client : clients_) client->send(shared);
}

WebSocketSession::WebSocketSession(beast::tcp_stream stream, std::shared_ptr<ServerState> state,
                                   std::shared_ptr<WebSocketEndpoint> endpoint)
    : state_(std::move(state)), endpoint_(std::move(endpoint)), stream_(std::move(stream)) {
  state_->connections.insert(this);
}

WebSocketSession::~WebSocketSession() {
  leave();
  state_->connections.erase(this);
}

void WebSocketSession::accept(Upgrade request) {
  request_ = std::move(request);
  websocket::stream_base::timeout timeout{};
  timeout.handshake_timeout = kRequestTime;
  timeout.idle_timeout = kSilenceTime;
  timeout.keep_alive_pings = true;
  stream_.set_option(timeout);
  stream_.read_message_max(kMaxBodyBytes);
  stream_.text(true);
  stream_.async_accept(request_, [self = shared_from_this()](error_code error) {
    if (error || self->state_->stopped) return;
    self->open_ = true;
    // The greeting may make the others hear what it already says, so joining comes after it.
    self->send(std::make_shared<const std::string>(self->endpoint_->greeting()));
    self->endpoint_->join(*self);
    self->readNext();
  });
}

void WebSocketSession::stop() {
  leave();
  beast::get_lowest_layer(stream_).close();
}

void WebSocketSession::leave() {
  open_ = false;
  endpoint_->leave(*this);
}

void WebSocketSession::send(std::shared_ptr<const std::string> text) {
  if (!open_ || behind_) return;
  if (queue_.size() >= kMaxQueuedTexts || queuedBytes_ + text->size() > kMaxQueuedBytes) {
    // One text alone may be larger than the bound; it goes out when nothing else waits.
    if (!queue_.empty()) {
      behind_ = true;
      queue_.resize(1);
      return;
    }
  }
  queuedBytes_ += text->size();
  queue_.push_back(std::move(text));
  if (queue_.size() == 1) writeNext();
}

void WebSocketSession::writeNext() {
  stream_.async_write(boost::asio::buffer(*queue_.front()),
                      [self = shared_from_this()](error_code error, std::size_t) {
                        if (error || self->state_->stopped) return self->leave();
                        self->textDidLeave();
                      });
}

void WebSocketSession::textDidLeave() {
  if (behind_) {
    auto greeting = std::make_shared<const std::string>(endpoint_->greeting());
    behind_ = false;
    queue_.clear();
    queuedBytes_ = 0;
    send(std::move(greeting));
  } else {
    queuedBytes_ -= queue_.front()->size();
    queue_.pop_front();
    if (!queue_.empty()) writeNext();
  }
  if (!reading_) readNext();
}

void WebSocketSession::readNext() {
  // Who does not take answers is not asked for more.
  if (behind_ || reading_ || !open_) return;
  reading_ = true;
  stream_.async_read(buffer_, [self = shared_from_this()](error_code error, std::size_t) {
    self->reading_ = false;
    if (error || self->state_->stopped) return self->leave();
    self->textDidArrive();
  });
}

void WebSocketSession::textDidArrive() {
  if (!stream_.got_text()) {
    leave();
    stream_.async_close(websocket::close_code::unknown_data, [self = shared_from_this()](error_code) {});
    return;
  }
  const std::string text = beast::buffers_to_string(buffer_.data());
  buffer_.clear();
  if (endpoint_->received) endpoint_->received(*this, text);
  readNext();
}

}  // namespace tunevale::http
