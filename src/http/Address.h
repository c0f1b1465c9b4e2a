#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tunevale::http {

/// Where a server listens. Port 0 lets the system choose.
struct Address {
  std::string host = "127.0.0.1";
  std::uint16_t port = 0;
};

/// Reads `ADDR:PORT`, as `127.0.0.1:8080`, `[::1]:8080` or `localhost:8080`; nothing when it is something
/// else.
std::optional<Address> parseAddress(std::string_view text);

}  // namespace tunevale::http
