#pragma once

#include <memory>

#include <openssl/ssl.h>

#include "link/IdentityKeys.h"

namespace tunevale::link {

enum class TlsSide { server, client };

using TlsContextPtr = std::unique_ptr<SSL_CTX, FreeWith<SSL_CTX_free>>;

/// What all connections of an end have in common: TLS 1.3 alone, one kind of key and of signature, both ends
/// with a certificate, no resumption of any kind. Whom to trust is left to each TlsEngine.
TlsContextPtr makeTlsContext(const Identity& identity, TlsSide side);

}  // namespace tunevale::link
