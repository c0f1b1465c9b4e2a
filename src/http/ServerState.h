#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "http/HttpMessages.h"
#include "http/OwnNames.h"
#include "http/WebSocketEndpoint.h"

namespace tunevale::http {

/// One open connection, counted while it lives.
class Connection {
 public:
  virtual ~Connection() = default;
  /// Closes the socket; no handler of a route is called any more.
  virtual void stop() = 0;
};

/// What answers one path.
struct Route {
  Handler get;
  Handler post;
  std::shared_ptr<WebSocketEndpoint> webSocket;
  std::string allowed() const;  // for an Allow header
};

/// What the server and its connections share; a connection may outlive the server. Loop's thread.
struct ServerState {
  explicit ServerState(OwnNames ownNames) : names(std::move(ownNames)) {}
  /// The route of a path, or null.
  const Route* routeOf(std::string_view path) const;
  void stop();

  OwnNames names;
  std::map<std::string, Route, std::less<>> exact;
  std::map<std::string, Route, std::less<>> prefixes;
  std::set<Connection*> connections;
  bool stopped = false;
};

/// The path of a request target, percent-decoded; nothing when it is not a path in UTF-8 without controls.
std::optional<std::string> decodedPath(std::string_view path);

}  // namespace tunevale::http
