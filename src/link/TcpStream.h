#pragma once

#include <memory>

#include <boost/asio/ip/tcp.hpp>

#include "link/Stream.h"

namespace tunevale::link {

/// A stream over a connected TCP socket. Its handlers run on the socket's own loop.
std::unique_ptr<Stream> makeTcpStream(boost::asio::ip::tcp::socket socket);

}  // namespace tunevale::link
