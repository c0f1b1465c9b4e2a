#include "http/OwnNames.h"

#include <algorithm>

namespace tunevale::http {

namespace {

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lower(x) == lower(y); });
}

}  // namespace

std::string inUrl(std::string_view host) {
  return host.find(':') == std::string_view::npos ? std::string(host) : "[" + std::string(host) + "]";
}

OwnNames::OwnNames(std::string_view given, std::uint16_t port)
    : names_{inUrl(given), "localhost", "127.0.0.1", "[::1]"}, port_(std::to_string(port)) {}

bool OwnNames::isNameWithPort(std::string_view text, std::string_view name) const {
  if (text.size() < name.size() || !equalIgnoringCase(text.substr(0, name.size()), name)) return false;
  const std::string_view rest = text.substr(name.size());
  if (rest.empty()) return port_ == "80";
  return rest.front() == ':' && rest.substr(1) == port_;
}

bool OwnNames::isOwnHost(std::string_view host, std::string_view reached) const {
  return isNameWithPort(host, inUrl(reached)) ||
         std::any_of(names_.begin(), names_.end(),
                     [&](const std::string& name) { return isNameWithPort(host, name); });
}

bool OwnNames::isOwnOrigin(std::string_view origin, std::string_view reached) const {
  constexpr std::string_view kScheme = "http://";
  return origin.starts_with(kScheme) && isOwnHost(origin.substr(kScheme.size()), reached);
}

}  // namespace tunevale::http
