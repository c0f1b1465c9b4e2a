#include "link/OwnAddress.h"

#include <array>
#include <cstring>
#include <memory>
#include <optional>

#include <ifaddrs.h>
#include <net/if.h>

#include "link/TcpAddress.h"

namespace tunevale::link {
namespace {

namespace ip = boost::asio::ip;

/// The address of an interface. An IPv6 one that counts on one wire only (RFC 4291, 2.5.6) is none: it means
/// nothing without the name of the interface.
std::optional<ip::address> addressOf(const sockaddr* raw) {
  if (raw != nullptr && raw->sa_family == AF_INET) {
    sockaddr_in known{};
    std::memcpy(&known, raw, sizeof(known));
    return ip::address_v4(ntohl(known.sin_addr.s_addr));
  }
  if (raw == nullptr || raw->sa_family != AF_INET6) return std::nullopt;
  sockaddr_in6 known{};
  std::memcpy(&known, raw, sizeof(known));
  const ip::address_v6 address(std::to_array(known.sin6_addr.s6_addr));
  return address.is_link_local() ? std::nullopt : std::optional<ip::address>(address);
}

struct FreeAddresses {
  void operator()(ifaddrs* all) const { ::freeifaddrs(all); }
};

}  // namespace

Endpoint endpointForOthers(const Endpoint& listening) {
  const ip::address own = tcpAddress(listening).address();
  if (!own.is_unspecified()) return {own.to_string(), listening.port};
  ifaddrs* all = nullptr;
  if (::getifaddrs(&all) != 0) all = nullptr;  // as if there were none
  const std::unique_ptr<ifaddrs, FreeAddresses> held(all);
  std::optional<ip::address> other;
  for (const ifaddrs* one = all; one != nullptr; one = one->ifa_next) {
    if ((one->ifa_flags & IFF_RUNNING) == 0 || (one->ifa_flags & IFF_LOOPBACK) != 0) continue;
    const std::optional<ip::address> address = addressOf(one->ifa_addr);
    if (!address) continue;
    if (address->is_v4() == own.is_v4()) return {address->to_string(), listening.port};
    if (own.is_v6() && !other) other = address;  // who listens to all of IPv6 is reached by IPv4 too
  }
  if (other) return {other->to_string(), listening.port};
  return {own.is_v4() ? "127.0.0.1" : "::1", listening.port};
}

}  // namespace tunevale::link
