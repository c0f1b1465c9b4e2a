#include "link/TlsContext.h"

#include <stdexcept>

namespace tunevale::link {

TlsContextPtr makeTlsContext(const Identity& identity, TlsSide side) {
  TlsContextPtr context(SSL_CTX_new(side == TlsSide::server ? TLS_server_method() : TLS_client_method()));
  SSL_CTX* raw = context.get();
  const Identity::Keys& keys = identity.keys();
  char groups[] = "X25519:P-256";  // the library's macros take no constants
  char signatures[] = "ECDSA+SHA256";
  const bool worked =
      raw != nullptr && SSL_CTX_set_min_proto_version(raw, TLS1_3_VERSION) == 1 &&
      SSL_CTX_set_max_proto_version(raw, TLS1_3_VERSION) == 1 &&
      SSL_CTX_set_ciphersuites(raw, "TLS_AES_128_GCM_SHA256:TLS_CHACHA20_POLY1305_SHA256") == 1 &&
      SSL_CTX_set1_groups_list(raw, groups) == 1 && SSL_CTX_set1_sigalgs_list(raw, signatures) == 1 &&
      SSL_CTX_use_certificate(raw, keys.certificate.get()) == 1 &&
      SSL_CTX_use_PrivateKey(raw, keys.key.get()) == 1 && SSL_CTX_set_num_tickets(raw, 0) == 1;
  if (!worked) throw std::runtime_error("cannot prepare TLS: the cryptographic library failed");
  SSL_CTX_set_options(raw, SSL_OP_NO_TICKET);
  SSL_CTX_set_session_cache_mode(raw, SSL_SESS_CACHE_OFF);
  SSL_CTX_set_verify(raw, SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);
  SSL_CTX_set_mode(raw, SSL_MODE_RELEASE_BUFFERS);  // 32 KiB less for an idle connection
  return context;
}

}  // namespace tunevale::link
