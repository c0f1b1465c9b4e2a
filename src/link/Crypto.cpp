#include "link/Crypto.h"

#include <stdexcept>

#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

namespace tunevale::link {
namespace {

unsigned char* raw(std::byte* bytes) {
  return reinterpret_cast<unsigned char*>(bytes);
}

struct FreeMac {
  void operator()(EVP_MAC* mac) const { EVP_MAC_free(mac); }
  void operator()(EVP_MAC_CTX* context) const { EVP_MAC_CTX_free(context); }
};

}  // namespace

void require(bool worked) {
  if (!worked) throw std::runtime_error("the cryptographic library failed");
}

struct Sha256::State {
  State() : context(EVP_MD_CTX_new()) {}
  ~State() { EVP_MD_CTX_free(context); }
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  EVP_MD_CTX* const context;
};

Sha256::Sha256() : state_(std::make_unique<State>()) {
  require(state_->context != nullptr && EVP_DigestInit_ex(state_->context, EVP_sha256(), nullptr) == 1);
}

Sha256::~Sha256() = default;
Sha256::Sha256(Sha256&&) noexcept = default;
Sha256& Sha256::operator=(Sha256&&) noexcept = default;

void Sha256::add(ByteView bytes) {
  require(EVP_DigestUpdate(state_->context, bytes.data(), bytes.size()) == 1);
}

Bytes32 Sha256::finish() {
  Bytes32 digest{};
  require(EVP_DigestFinal_ex(state_->context, raw(digest.data()), nullptr) == 1);
  return digest;
}

Bytes32 sha256(std::initializer_list<ByteView> parts) {
  Sha256 digest;
  for (const ByteView part : parts) digest.add(part);
  return digest.finish();
}

Bytes32 hmacSha256(ByteView key, std::initializer_list<ByteView> parts) {
  const std::unique_ptr<EVP_MAC, FreeMac> mac(EVP_MAC_fetch(nullptr, "HMAC", nullptr));
  require(mac != nullptr);
  const std::unique_ptr<EVP_MAC_CTX, FreeMac> context(EVP_MAC_CTX_new(mac.get()));
  char digest[] = "SHA256";
  const OSSL_PARAM parameters[] = {OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, digest, 0),
                                   OSSL_PARAM_construct_end()};
  require(context != nullptr &&
          EVP_MAC_init(context.get(), reinterpret_cast<const unsigned char*>(key.data()), key.size(),
                       parameters) == 1);
  for (const ByteView part : parts) {
    require(EVP_MAC_update(context.get(), reinterpret_cast<const unsigned char*>(part.data()), part.size()) ==
            1);
  }
  Bytes32 result{};
  std::size_t size = 0;
  require(EVP_MAC_final(context.get(), raw(result.data()), &size, result.size()) == 1 &&
          size == result.size());
  return result;
}

void fillRandom(std::span<std::byte> bytes) {
  require(RAND_priv_bytes(raw(bytes.data()), static_cast<int>(bytes.size())) == 1);
}

bool equalInConstantTime(ByteView left, ByteView right) {
  return left.size() == right.size() && CRYPTO_memcmp(left.data(), right.data(), left.size()) == 0;
}

}  // namespace tunevale::link
