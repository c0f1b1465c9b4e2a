#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tunevale::link {

/// SHA-256 of a public key in its DER form (SubjectPublicKeyInfo, RFC 5280): what an end is known by.
using KeyHash = std::array<std::byte, 32>;

/// 128 random bits that let one phone pair once without anybody to compare a code.
using PairingToken = std::array<std::byte, 16>;

/// Lower case hexadecimal; nothing is read from any other length, or from what is no hexadecimal number.
std::string toHex(const KeyHash& hash);
std::string toHex(const PairingToken& token);
std::optional<KeyHash> keyHashFromHex(std::string_view hex);
std::optional<PairingToken> tokenFromHex(std::string_view hex);

/// As people see a key where all of it is too long: its first 8 bytes, "a1b2 c3d4 e5f6 0718".
std::string fingerprint(const KeyHash& hash);

}  // namespace tunevale::link
