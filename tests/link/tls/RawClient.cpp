#include "link/tls/RawClient.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include <arpa/inet.h>
#include <openssl/err.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace tunevale::link {

RawClient::RawClient(std::uint16_t port) : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const timeval limit{2, 0};
  ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  if (::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw std::runtime_error("nobody listens");
  }
}

RawClient::~RawClient() {
  ::close(socket_);
}

bool RawClient::handshake(const Identity* identity, std::string_view protocol,
                          const std::function<void(SSL_CTX&)>& spoil) {
  context_.reset(SSL_CTX_new(TLS_client_method()));
  if (identity != nullptr) {
    SSL_CTX_use_certificate(context_.get(), identity->keys().certificate.get());
    SSL_CTX_use_PrivateKey(context_.get(), identity->keys().key.get());
  }
  if (spoil) spoil(*context_);
  ssl_.reset(SSL_new(context_.get()));
  in_ = BIO_new(BIO_s_mem());
  out_ = BIO_new(BIO_s_mem());
  SSL_set_bio(ssl_.get(), in_, out_);
  if (!protocol.empty()) {
    const std::string offer = static_cast<char>(protocol.size()) + std::string(protocol);
    SSL_set_alpn_protos(ssl_.get(), reinterpret_cast<const unsigned char*>(offer.data()),
                        static_cast<unsigned>(offer.size()));
  }
  while (true) {
    const int result = SSL_connect(ssl_.get());
    const bool wantsMore = SSL_get_error(ssl_.get(), result) == SSL_ERROR_WANT_READ;
    flush();
    if (result == 1) return true;
    if (!wantsMore) alert_ = std::max(0, ERR_GET_REASON(ERR_peek_last_error()) - SSL_AD_REASON_OFFSET);
    if (!wantsMore || !readSome()) return false;
  }
}

void RawClient::flush() {
  std::array<char, 4096> bytes{};
  while (out_ != nullptr) {
    const int size = BIO_read(out_, bytes.data(), static_cast<int>(bytes.size()));
    if (size <= 0) return;
    sendPlain({bytes.data(), static_cast<std::size_t>(size)});
  }
}

void RawClient::sendPlain(std::string_view bytes) {
  sent_ += bytes;
  if (::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL) < 0) closed_ = true;
}

void RawClient::sendInside(std::string_view bytes) {
  SSL_write(ssl_.get(), bytes.data(), static_cast<int>(bytes.size()));
  flush();
}

bool RawClient::readSome() {
  std::array<char, 4096> bytes{};
  const ssize_t size = ::recv(socket_, bytes.data(), bytes.size(), 0);
  if (size <= 0) {
    closed_ = closed_ || size == 0 || errno != EAGAIN;
    return false;
  }
  plain_.append(bytes.data(), static_cast<std::size_t>(size));
  if (in_ != nullptr) BIO_write(in_, bytes.data(), static_cast<int>(size));
  return true;
}

std::string RawClient::readToEnd() {
  std::string inside;
  std::array<char, 4096> bytes{};
  do {
    while (ssl_ != nullptr) {
      const int size = SSL_read(ssl_.get(), bytes.data(), static_cast<int>(bytes.size()));
      if (size <= 0) break;
      inside.append(bytes.data(), static_cast<std::size_t>(size));
    }
  } while (readSome());
  return inside;
}

}  // namespace tunevale::link
