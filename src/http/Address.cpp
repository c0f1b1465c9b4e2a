#include "http/Address.h"

#include <charconv>

namespace tunevale::http {

std::optional<Address> parseAddress(std::string_view text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string_view::npos) return std::nullopt;
  std::string_view host = text.substr(0, colon);
  const std::string_view port = text.substr(colon + 1);
  const bool bracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
  if (bracketed) host = host.substr(1, host.size() - 2);
  if (host.empty() || (!bracketed && host.find(':') != std::string_view::npos)) return std::nullopt;
  if (host.find_first_of("[]/ \t\r\n") != std::string_view::npos) return std::nullopt;

  Address address;
  address.host = host;
  const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), address.port);
  if (error != std::errc() || end != port.data() + port.size()) return std::nullopt;
  return address;
}

}  // namespace tunevale::http
