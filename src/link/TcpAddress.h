#pragma once

#include <stdexcept>
#include <string>

#include <boost/asio/ip/tcp.hpp>

#include "link/Endpoint.h"

namespace tunevale::link {

/// Throws std::runtime_error when the host is no numeric address.
inline boost::asio::ip::tcp::endpoint tcpAddress(const Endpoint& endpoint) {
  boost::system::error_code error;
  const auto address =
      boost::asio::ip::make_address(endpoint.host == "localhost" ? "127.0.0.1" : endpoint.host, error);
  if (error) throw std::runtime_error(endpoint.host + " is not a numeric address");
  return {address, endpoint.port};
}

inline std::string inWords(const Endpoint& endpoint) {
  return endpoint.host + ":" + std::to_string(endpoint.port);
}

}  // namespace tunevale::link
