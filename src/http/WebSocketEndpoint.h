#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>

namespace tunevale::http {

/// One client of a WebSocket. Loop's thread.
class WebSocketClient {
 public:
  virtual ~WebSocketClient() = default;
  /// Queues one text. Does nothing once the client has gone.
  virtual void send(std::shared_ptr<const std::string> text) = 0;
};

/// A path where clients listen to one stream of texts. Each gets the greeting first, then every broadcast. A
/// client that reads too slowly loses what waits for it and gets a fresh greeting once it reads again; so the
/// greeting must say all that counts at that moment, as of the latest broadcast. Loop's thread.
class WebSocketEndpoint {
 public:
  using Greeting = std::function<std::string()>;
  using Received = std::function<void(WebSocketClient&, std::string_view text)>;
  WebSocketEndpoint(Greeting greet, Received receive)
      : greeting(std::move(greet)), received(std::move(receive)) {}
  WebSocketEndpoint(const WebSocketEndpoint&) = delete;
  WebSocketEndpoint& operator=(const WebSocketEndpoint&) = delete;

  void broadcast(std::string text);
  std::size_t clientCount() const { return clients_.size(); }

  /// Sessions only.
  void join(WebSocketClient& client) { clients_.insert(&client); }
  void leave(WebSocketClient& client) { clients_.erase(&client); }
  const Greeting greeting;
  const Received received;

 private:
  std::set<WebSocketClient*> clients_;
};

}  // namespace tunevale::http
