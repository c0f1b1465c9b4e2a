#include "link/PairingSecrets.h"

namespace tunevale::link {
namespace {

ByteView nameOf(Role role) {
  return asBytes(role == Role::watch ? "watch" : "phone");
}

}  // namespace

Bytes32 pairingCommitment(const PairingChannel& channel, const Bytes32& phoneNonce) {
  return sha256({asBytes("commit"), channel.key, channel.watch, channel.phone, phoneNonce});
}

std::string pairingCode(const PairingChannel& channel, const Bytes32& watchNonce, const Bytes32& phoneNonce) {
  const Bytes32 hash =
      sha256({asBytes("code"), channel.key, channel.watch, channel.phone, watchNonce, phoneNonce});
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < 8; ++i) number = (number << 8) | std::to_integer<std::uint64_t>(hash[i]);
  std::string digits = std::to_string(number % 1'000'000);
  return std::string(6 - digits.size(), '0') + digits;
}

Bytes32 confirmationProof(const PairingChannel& channel, Role role, const Bytes32& watchNonce,
                          const Bytes32& phoneNonce) {
  return hmacSha256(channel.key,
                    {nameOf(role), asBytes("confirm"), channel.watch, channel.phone, watchNonce, phoneNonce});
}

Bytes32 tokenProof(const PairingChannel& channel, Role role, const PairingToken& token) {
  return hmacSha256(token, {nameOf(role), channel.key, channel.watch, channel.phone});
}

std::string codeInWords(const std::string& code) {
  return code.substr(0, 3) + " " + code.substr(std::min<std::size_t>(3, code.size()));
}

}  // namespace tunevale::link
