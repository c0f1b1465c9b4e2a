#pragma once

#include <deque>
#include <memory>
#include <string>

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/websocket/stream.hpp>

#include "http/ServerState.h"

namespace tunevale::http {

/// One WebSocket client. Loop's thread; it keeps itself alive while something is under way.
class WebSocketSession : public Connection,
                         public WebSocketClient,
                         public std::enable_shared_from_this<WebSocketSession> {
 public:
  using Upgrade = boost::beast::http::request<boost::beast::http::string_body>;

  WebSocketSession(boost::beast::tcp_stream stream, std::shared_ptr<ServerState> state,
                   std::shared_ptr<WebSocketEndpoint> endpoint);
  ~WebSocketSession() override;
  void accept(Upgrade request);
  void send(std::shared_ptr<const std::string> text) override;
  void stop() override;

 private:
  void readNext();
  void textDidArrive();
  void writeNext();
  void textDidLeave();
  void leave();

  std::shared_ptr<ServerState> state_;
  std::shared_ptr<WebSocketEndpoint> endpoint_;
  boost::beast::websocket::stream<boost::beast::tcp_stream> stream_;
  Upgrade request_;
  boost::beast::flat_buffer buffer_;
  // The first one is being written. A client that falls behind keeps only that one, then gets the greeting.
  std::deque<std::shared_ptr<const std::string>> queue_;
  std::size_t queuedBytes_ = 0;
  bool behind_ = false;
  bool reading_ = false;
  bool open_ = false;
};

}  // namespace tunevale::http
