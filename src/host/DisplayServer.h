#pragma once

#include <memory>
#include <string>

#include "http/HttpServer.h"

namespace tunevale::host {

class ImageStore;
class InputHandler;
class Publisher;
class Settler;

/// The calls of docs/display-api.md on a server. What is handed in outlives it. Main queue.
class DisplayServer {
 public:
  struct Parts {
    Publisher& publisher;
    InputHandler& inputs;
    Settler& settler;
    ImageStore& images;
    std::string imageFolder;
    std::string webFolder;  // index.html is the page
  };
  /// Adds its routes to the server, whose loop is the main queue's.
  DisplayServer(http::HttpServer& server, const Parts& parts);

  bool hasDisplays() const { return live_->clientCount() > 0; }
  void broadcast(std::string message) { live_->broadcast(std::move(message)); }

 private:
  void answerImage(const std::string& id, const http::Respond& respond);
  void answerInput(const http::Request& request, const http::Respond& respond);
  void takeInput(http::WebSocketClient& client, std::string_view text);

  const Parts parts_;
  std::shared_ptr<http::WebSocketEndpoint> live_;
};

}  // namespace tunevale::host
