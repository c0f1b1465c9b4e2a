#pragma once

#include <cstdint>
#include <string>

namespace tunevale::link {

/// Where an end listens or connects to: a numeric address, or "localhost".
struct Endpoint {
  std::string host = "127.0.0.1";
  std::uint16_t port = 0;
};

}  // namespace tunevale::link
