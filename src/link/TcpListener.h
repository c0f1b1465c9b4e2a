#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "link/Stream.h"

namespace tunevale::link {

class LinkLoop;

/// Where an end listens or connects to: a numeric address, or "localhost".
struct Endpoint {
  std::string host = "127.0.0.1";
  std::uint16_t port = 0;
};

/// Takes connections on a TCP address. Made and destroyed on the loop, or while it does not run.
class TcpListener {
 public:
  using Accepted = std::function<void(std::unique_ptr<Stream>)>;
  /// Listens at once, so that nobody else takes the port; connections wait until start(). Throws
  /// std::runtime_error with a reason of one line when the address cannot be used.
  TcpListener(LinkLoop& loop, const Endpoint& endpoint);
  ~TcpListener();

  /// Hands over each connection. On the loop.
  void start(Accepted accepted);
  /// The one that the system chose when 0 was asked for.
  std::uint16_t port() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace tunevale::link
