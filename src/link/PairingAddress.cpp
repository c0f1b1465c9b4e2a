#include "link/PairingAddress.h"

#include <charconv>

namespace tunevale::link {
namespace {

constexpr std::string_view kScheme = "tunevale-pair://";

std::optional<Endpoint> parseEndpoint(std::string_view text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string_view::npos) return std::nullopt;
  std::string_view host = text.substr(0, colon);
  const std::string_view digits = text.substr(colon + 1);
  const bool bracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
  if (bracketed) host = host.substr(1, host.size() - 2);
  if (host.empty() || (!bracketed && host.find(':') != std::string_view::npos)) return std::nullopt;
  if (host.find_first_of("/?&@[] ") != std::string_view::npos) return std::nullopt;
  std::uint16_t port = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
  if (error != std::errc() || end != digits.data() + digits.size() || port == 0) return std::nullopt;
  return Endpoint{std::string(host), port};
}

}  // namespace

std::optional<PairingAddress> parsePairingAddress(std::string_view text) {
  PairingAddress address;
  std::string_view query;
  if (text.starts_with(kScheme)) {
    text.remove_prefix(kScheme.size());
    const std::size_t mark = text.find('?');
    if (mark != std::string_view::npos) query = text.substr(mark + 1);
    text = text.substr(0, mark);
  }
  const std::optional<Endpoint> endpoint = parseEndpoint(text);
  if (!endpoint) return std::nullopt;
  address.endpoint = *endpoint;
  while (!query.empty()) {
    const std::string_view part = query.substr(0, query.find('&'));
    query.remove_prefix(std::min(query.size(), part.size() + 1));
    if (part.starts_with("key=") && !address.key) {
      address.key = keyHashFromHex(part.substr(4));
      if (!address.key) return std::nullopt;
    } else if (part.starts_with("token=") && !address.token) {
      address.token = tokenFromHex(part.substr(6));
      if (!address.token) return std::nullopt;
    } else {
      return std::nullopt;
    }
  }
  if (address.token && !address.key) return std::nullopt;
  return address;
}

std::string inWords(const PairingAddress& address) {
  const std::string& host = address.endpoint.host;
  std::string text(kScheme);
  text += host.find(':') == std::string::npos ? host : "[" + host + "]";
  text += ":" + std::to_string(address.endpoint.port) + "?key=" + toHex(address.key.value());
  if (address.token) text += "&token=" + toHex(*address.token);
  return text;
}

}  // namespace tunevale::link
