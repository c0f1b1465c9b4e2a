#pragma once

#include "link/Endpoint.h"

namespace tunevale::link {

/// Where others find an end that listens there, in numbers. For one that listens on all addresses, the first
/// of an interface that runs and is not only for this machine, of the same family, or of IPv4 for one that
/// listens on all of IPv6; without one, the loopback address. Throws std::runtime_error when the host is no
/// numeric address.
Endpoint endpointForOthers(const Endpoint& listening);

}  // namespace tunevale::link
