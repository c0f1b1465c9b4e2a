#include "link/TlsEngine.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include <openssl/err.h>

#include "link/PairingSecrets.h"

namespace tunevale::link {
namespace {

/// One name as ALPN lists them: its length, then itself.
std::string alpnEntry(std::string_view name) {
  return static_cast<char>(name.size()) + std::string(name);
}

bool offers(std::string_view list, std::string_view name) {
  while (!list.empty()) {
    const auto size = static_cast<unsigned char>(list.front());
    if (list.substr(1, size) == name) return true;
    list.remove_prefix(std::min(list.size(), std::size_t{size} + 1));
  }
  return false;
}

/// What a failure means when it is an alert of the other end.
Refusal meaningOf(int reason) {
  switch (reason - SSL_AD_REASON_OFFSET) {
    case SSL_AD_UNKNOWN_CA:
      return Refusal::notKnown;
    case SSL_AD_NO_APPLICATION_PROTOCOL:
      return Refusal::notPairing;
    default:
      return Refusal::notSecure;
  }
}

const char* wordsFor(Refusal why) {
  switch (why) {
    case Refusal::notPaired:
      return "this end is not paired";
    case Refusal::otherKey:
      return "the other end's key is not the one that is known: somebody else is there, or it has lost its "
             "key";
    case Refusal::ownKey:
      return "the other end shows this end's own key";
    case Refusal::notKnown:
      return "the other end does not know this one: pairing incomplete, pair again";
    case Refusal::notPairing:
      return "the other end is not open for pairing";
    default:
      return "no secure connection";
  }
}

}  // namespace

/// What the library calls back.
struct TlsEngine::Callbacks {
  static TlsEngine& engineOf(const SSL* ssl) {
    return *static_cast<TlsEngine*>(SSL_get_app_data(const_cast<SSL*>(ssl)));
  }

  /// The server's choice among what the client offers.
  static int choose(SSL* ssl, const unsigned char** chosen, unsigned char* size, const unsigned char* offered,
                    unsigned offeredSize, void*) {
    const std::string_view list(reinterpret_cast<const char*>(offered), offeredSize);
    const TlsRules& rules = engineOf(ssl).rules_;
    std::string_view name;
    if (offers(list, kSessionProtocol)) {
      name = kSessionProtocol;
    } else if (offers(list, kPairingProtocol) && rules.isPairing && rules.isPairing()) {
      name = kPairingProtocol;
    } else {
      return SSL_TLSEXT_ERR_ALERT_FATAL;
    }
    *chosen = reinterpret_cast<const unsigned char*>(name.data());
    *size = static_cast<unsigned char>(name.size());
    return SSL_TLSEXT_ERR_OK;
  }

  /// A client that names no application protocol is told so, before anybody looks at its key.
  static int greet(SSL* ssl, int* alert, void*) {
    const unsigned char* list = nullptr;
    std::size_t size = 0;
    constexpr unsigned kAlpn = TLSEXT_TYPE_application_layer_protocol_negotiation;
    if (SSL_client_hello_get0_ext(ssl, kAlpn, &list, &size) == 1) return SSL_CLIENT_HELLO_SUCCESS;
    engineOf(ssl).refusal_ = {Refusal::notSecure, {}, "no secure connection: no application protocol"};
    *alert = SSL_AD_NO_APPLICATION_PROTOCOL;
    return SSL_CLIENT_HELLO_ERROR;
  }

  /// In the place of a chain's verification: the one certificate's key is all that counts, its dates and
  /// names are not.
  static int verify(X509_STORE_CTX* store, void*) {
    const void* data = X509_STORE_CTX_get_ex_data(store, SSL_get_ex_data_X509_STORE_CTX_idx());
    TlsEngine& engine = engineOf(static_cast<const SSL*>(data));
    const X509* leaf = X509_STORE_CTX_get0_cert(store);
    const auto* chain = X509_STORE_CTX_get0_untrusted(store);
    if (leaf != nullptr && sk_X509_num(chain) == 1) engine.peer_ = keyHashOf(*leaf);
    const bool good = engine.judge();
    X509_STORE_CTX_set_error(store, good ? X509_V_OK : X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT);
    return good ? 1 : 0;
  }

  static int read(BIO* bio, char* room, std::size_t most, std::size_t* size) {
    ByteView& input = static_cast<TlsEngine*>(BIO_get_data(bio))->input_;
    BIO_clear_retry_flags(bio);
    *size = std::min(most, input.size());
    if (*size == 0) {
      BIO_set_retry_read(bio);
      return 0;
    }
    std::memcpy(room, input.data(), *size);
    input = input.subspan(*size);
    return 1;
  }

  static int write(BIO* bio, const char* bytes, std::size_t count, std::size_t* size) {
    Bytes& output = static_cast<TlsEngine*>(BIO_get_data(bio))->output_;
    const auto* from = reinterpret_cast<const std::byte*>(bytes);
    output.insert(output.end(), from, from + count);
    *size = count;
    return 1;
  }

  static long control(BIO*, int command, long, void*) { return command == BIO_CTRL_FLUSH ? 1 : 0; }

  /// Made once, for the life of the process.
  static const BIO_METHOD* method() {
    static const BIO_METHOD* const kMethod = [] {
      BIO_METHOD* made = BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "link");
      if (made == nullptr) throw std::runtime_error("cannot prepare TLS: the cryptographic library failed");
      BIO_meth_set_read_ex(made, read);
      BIO_meth_set_write_ex(made, write);
      BIO_meth_set_ctrl(made, control);
      return made;
    }();
    return kMethod;
  }
};

TlsEngine::TlsEngine(SSL_CTX& context, TlsRules rules) : rules_(std::move(rules)), ssl_(SSL_new(&context)) {
  BIO* bio = BIO_new(Callbacks::method());
  if (ssl_ == nullptr || bio == nullptr) throw std::runtime_error("cannot begin TLS: out of memory");
  BIO_set_data(bio, this);
  BIO_set_init(bio, 1);
  SSL_set_bio(ssl_.get(), bio, bio);
  SSL_set_app_data(ssl_.get(), this);
  SSL_CTX_set_cert_verify_callback(&context, Callbacks::verify, nullptr);
  if (rules_.side == TlsSide::server) {
    SSL_CTX_set_client_hello_cb(&context, Callbacks::greet, nullptr);
    SSL_CTX_set_alpn_select_cb(&context, Callbacks::choose, nullptr);
    SSL_set_accept_state(ssl_.get());
  } else {
    const std::string offer = alpnEntry(rules_.pairs ? kPairingProtocol : kSessionProtocol);
    SSL_set_alpn_protos(ssl_.get(), reinterpret_cast<const unsigned char*>(offer.data()),
                        static_cast<unsigned>(offer.size()));
    SSL_set_connect_state(ssl_.get());
  }
}

TlsEngine::Step TlsEngine::handshake() {
  ERR_clear_error();
  const int result = SSL_do_handshake(ssl_.get());
  hasHeard_ = hasHeard_ || !output_.empty();
  // Asked again: the pin may have gone while the handshake was under way.
  if (result == 1 && judge()) return Step::done;
  if (result != 1 && SSL_get_error(ssl_.get(), result) == SSL_ERROR_WANT_READ) return Step::wantsInput;
  fail();
  return Step::failed;
}

TlsEngine::Step TlsEngine::read(std::span<std::byte> room, std::size_t& size) {
  ERR_clear_error();
  const int result = SSL_read_ex(ssl_.get(), room.data(), room.size(), &size);
  if (result == 1) return Step::done;
  const int error = SSL_get_error(ssl_.get(), result);
  if (error == SSL_ERROR_WANT_READ) return Step::wantsInput;
  if (error == SSL_ERROR_ZERO_RETURN) {
    refusal_ = {Refusal::unreachable, peer_, "the other end has closed the connection"};
  } else {
    fail();
  }
  return Step::failed;
}

bool TlsEngine::write(ByteView bytes) {
  ERR_clear_error();
  output_.reserve(output_.size() + bytes.size() + 256);  // and a few bytes around each 16 KiB
  std::size_t size = 0;
  return bytes.empty() || SSL_write_ex(ssl_.get(), bytes.data(), bytes.size(), &size) == 1;
}

void TlsEngine::shutdown() {
  ERR_clear_error();
  if (SSL_is_init_finished(ssl_.get()) == 1) SSL_shutdown(ssl_.get());
  ERR_clear_error();
}

bool TlsEngine::isPairing() const {
  const unsigned char* name = nullptr;
  unsigned size = 0;
  SSL_get0_alpn_selected(ssl_.get(), &name, &size);
  return std::string_view(reinterpret_cast<const char*>(name), size) == kPairingProtocol;
}

Bytes32 TlsEngine::channelKey() const {
  Bytes32 key{};
  if (SSL_export_keying_material(ssl_.get(), reinterpret_cast<unsigned char*>(key.data()), key.size(),
                                 kExporterLabel, sizeof kExporterLabel - 1, nullptr, 0, 0) != 1) {
    throw std::runtime_error("the cryptographic library exports no key");
  }
  return key;
}

bool TlsEngine::judge() {
  const unsigned char* name = nullptr;
  unsigned size = 0;
  SSL_get0_alpn_selected(ssl_.get(), &name, &size);
  const std::string_view protocol(reinterpret_cast<const char*>(name), size);
  const bool pairs = protocol == kPairingProtocol;
  const auto refuse = [this](Refusal why) {
    refusal_ = {why, peer_, wordsFor(why)};
    return false;
  };
  if (!peer_ || (!pairs && protocol != kSessionProtocol)) return refuse(Refusal::notSecure);
  if (equalInConstantTime(*peer_, rules_.own)) return refuse(Refusal::ownKey);
  if (pairs) {
    if (rules_.side == TlsSide::server && !rules_.isPairing()) return refuse(Refusal::notPairing);
    if (rules_.side == TlsSide::client && !rules_.pairs) return refuse(Refusal::notSecure);
    if (rules_.expected && !equalInConstantTime(*peer_, *rules_.expected)) return refuse(Refusal::otherKey);
    return true;
  }
  const std::optional<KeyHash> pin = rules_.pin ? rules_.pin() : std::nullopt;
  if (!pin) return refuse(Refusal::notPaired);
  return equalInConstantTime(*peer_, *pin) || refuse(Refusal::otherKey);
}

void TlsEngine::fail() {
  if (refusal_.text.empty()) {
    const unsigned long error = ERR_peek_error();
    const Refusal why = meaningOf(ERR_GET_REASON(error));
    const char* reason = ERR_reason_error_string(error);
    refusal_ = {why, peer_, wordsFor(why)};
    if (why == Refusal::notSecure && reason != nullptr) refusal_.text += std::string(": ") + reason;
  }
  ERR_clear_error();
}

}  // namespace tunevale::link
