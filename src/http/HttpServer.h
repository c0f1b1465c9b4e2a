#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "http/Address.h"
#include "http/HttpMessages.h"
#include "http/WebSocketEndpoint.h"

namespace boost::asio {
class io_context;
}

namespace tunevale::http {

struct ServerState;

/// A small HTTP/1.1 and WebSocket server for pages of our own. It answers only to its own address as `Host`
/// (the address that the client reached, as it was given, or a name of the loopback, with its port) and to
/// its own pages as `Origin`; everybody else gets 403. Everything runs on the loop's thread and nothing
/// blocks it.
class HttpServer {
 public:
  /// Listens at once. Throws std::runtime_error with a reason of one line when the address cannot be used.
  HttpServer(boost::asio::io_context& loop, const Address& address);
  /// Closes every connection; handlers are not called any more. The loop may go on.
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  /// As `http://127.0.0.1:8080`, with the port that the system chose.
  const std::string& url() const { return url_; }
  std::uint16_t port() const { return port_; }

  /// Routes: an exact path, or every path under a prefix that ends with a slash. Exact ones win, then the
  /// longest prefix. A later route of the same path and method replaces the earlier one.
  void get(const std::string& path, Handler handler);
  void post(const std::string& path, Handler handler);
  /// The files under a directory, read at each request. Every part of a path is of letters, digits, `.`, `_`
  /// and
  /// `-` and does not begin with a dot, and the extension is one that a page of ours has; else 404.
  void folder(const std::string& prefix, const std::filesystem::path& directory);
  void webSocket(const std::string& path, std::shared_ptr<WebSocketEndpoint> endpoint);

 private:
  std::shared_ptr<ServerState> state_;
  std::uint16_t port_ = 0;
  std::string url_;
};

/// One file as a folder route would answer it, or 404. The name is relative, with slashes.
Response fileResponse(const std::filesystem::path& directory, std::string_view name);

}  // namespace tunevale::http
