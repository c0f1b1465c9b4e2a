#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "link/Endpoint.h"
#include "link/KeyHash.h"

namespace tunevale::link {

/// Where and with whom to pair: `tunevale-pair://HOST:PORT?key=64 HEX&token=32 HEX`. Without the token, or as
/// HOST:PORT alone, people compare a code.
struct PairingAddress {
  Endpoint endpoint;
  std::optional<KeyHash> key;
  std::optional<PairingToken> token;  // only beside a key
};

/// Nothing when the text is something else. An IPv6 host stands in brackets.
std::optional<PairingAddress> parsePairingAddress(std::string_view text);
/// As the text that reads back. It needs a key.
std::string inWords(const PairingAddress& address);

}  // namespace tunevale::link
