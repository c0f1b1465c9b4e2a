#pragma once

#include <cstdint>
#include <string>

#include "link/Crypto.h"
#include "link/KeyHash.h"
#include "link/Role.h"

namespace tunevale::link {

/// The arithmetic of pairing. A code is only ever compared by people; no key is made of it. The commitment
/// keeps who stands between from choosing a nonce that makes two codes equal.
struct PairingChannel {
  Bytes32 key{};  // what TLS exports under kExporterLabel, without context (RFC 8446, 7.5)
  KeyHash watch{};
  KeyHash phone{};
};
inline constexpr char kExporterLabel[] = "EXPORTER-tunevale-pairing";

Bytes32 pairingCommitment(const PairingChannel& channel, const Bytes32& phoneNonce);
/// Six digits.
std::string pairingCode(const PairingChannel& channel, const Bytes32& watchNonce, const Bytes32& phoneNonce);
/// That the user of the end in this role has said yes.
Bytes32 confirmationProof(const PairingChannel& channel, Role role, const Bytes32& watchNonce,
                          const Bytes32& phoneNonce);
/// That the end in this role knows the token.
Bytes32 tokenProof(const PairingChannel& channel, Role role, const PairingToken& token);

/// Six digits as people read them: "123 456".
std::string codeInWords(const std::string& code);

}  // namespace tunevale::link
