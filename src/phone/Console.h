#pragma once

#include <filesystem>
#include <memory>

namespace boost::asio {
class io_context;
}

namespace tunevale::http {
class HttpServer;
}

namespace tunevale::phone {

class Phone;

/// The phone's console on a server: `/phone`, `/phone/` and `/common/` are its page, `/phone/state` what it
/// shows, `/phone/artwork/ID` a picture, `/phone/live` a WebSocket. That one sends `{"state": …}` when
/// something has changed and `{"event": …}` for each `done` and `error`, and takes commands.
class Console {
 public:
  /// `loop` is the server's; its thread makes and destroys the console, or it does not run. Make it before
  /// the phone starts; phone and loop outlive it, and it may outlive the server.
  Console(Phone& phone, http::HttpServer& server, boost::asio::io_context& loop,
          const std::filesystem::path& webFolder);
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace tunevale::phone
