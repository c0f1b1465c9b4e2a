#pragma once

#include <memory>
#include <optional>
#include <string>

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

#include "http/ServerState.h"

namespace tunevale::http {

/// One HTTP connection: reads a request, has it answered, writes the answer, and again. Loop's thread; it
/// keeps itself alive while something is under way.
class HttpSession : public Connection, public std::enable_shared_from_this<HttpSession> {
 public:
  HttpSession(boost::asio::ip::tcp::socket socket, std::shared_ptr<ServerState> state);
  ~HttpSession() override;
  void readRequest();
  void stop() override;

 private:
  using Parser = boost::beast::http::request_parser<boost::beast::http::string_body>;

  void requestDidArrive(boost::system::error_code error);
  /// Why the request is none of ours; nothing when it is.
  std::optional<Response> refusalOf(const Parser::value_type& message) const;
  void dispatch();
  void call(const Handler& handler, const std::string& path, std::string_view query);
  void write(const Response& response, std::string_view allow = {});
  void refuseAndClose(int status, std::string_view reason);
  void upgrade(std::shared_ptr<WebSocketEndpoint> endpoint);
  /// Ends our side and reads on for a moment, so that the answer is not lost to a reset.
  void linger();
  void discard();

  std::shared_ptr<ServerState> state_;
  boost::beast::tcp_stream stream_;
  std::string reached_;  // the local address
  boost::beast::flat_buffer buffer_;
  std::optional<Parser> parser_;
};

}  // namespace tunevale::http
