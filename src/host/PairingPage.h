#pragma once

#include <string_view>

#include <boost/json/fwd.hpp>

#include "host/PairingControl.h"

namespace tunevale::http {
class HttpServer;
}

namespace tunevale::host {

/// PAIRING, as docs/display-api.md describes it.
boost::json::object pairingJson(const PairingView& view);

/// Does what a body of `POST /api/pairing` says; why not, in a line, when it is no such body or cannot be
/// done.
struct PairingRefusal {
  int status = 0;  // of HTTP; 0: done
  std::string why;
};
PairingRefusal obeyPairing(PairingControl& control, std::string_view body);

/// Adds `/api/pairing` and the QR code of the address to a server. The control outlives the server.
void addPairingRoutes(http::HttpServer& server, PairingControl& control);

}  // namespace tunevale::host
