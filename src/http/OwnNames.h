#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tunevale::http {

/// The names under which the server may be addressed. A page from elsewhere whose name was made to lead here
/// still sends its own name as `Host`, and a request made by such a page carries its own name as `Origin`.
class OwnNames {
 public:
  /// `given`: the host as it was configured.
  OwnNames(std::string_view given, std::uint16_t port);

  /// Whether a `Host` header names this server. `reached` is the local address of the connection.
  bool isOwnHost(std::string_view host, std::string_view reached) const;
  /// Whether an `Origin` header names one of this server's pages.
  bool isOwnOrigin(std::string_view origin, std::string_view reached) const;

 private:
  bool isNameWithPort(std::string_view text, std::string_view name) const;

  std::vector<std::string> names_;
  std::string port_;
};

/// An address as it stands in a URL: with brackets when it has colons.
std::string inUrl(std::string_view host);

}  // namespace tunevale::http
