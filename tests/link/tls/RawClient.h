#pragma once

#include <functional>
#include <string>

#include <openssl/ssl.h>

#include "link/IdentityKeys.h"

namespace tunevale::link {

/// A client that does as the test says, over a blocking socket and the library itself.
class RawClient {
 public:
  explicit RawClient(std::uint16_t port);
  ~RawClient();
  RawClient(const RawClient&) = delete;
  RawClient& operator=(const RawClient&) = delete;

  /// Goes through a handshake, TLS 1.3 with any server; what is wrong with it `spoil` sets.
  bool handshake(const Identity* identity, std::string_view protocol,
                 const std::function<void(SSL_CTX&)>& spoil = {});
  void sendPlain(std::string_view bytes);
  void sendInside(std::string_view bytes);
  /// Reads until the other end closes, two seconds at most: what came inside TLS, or plainly without a
  /// handshake.
  std::string readToEnd();
  bool wasClosed() const { return closed_; }
  /// The alert that ended the handshake; 0 for none.
  int alert() const { return alert_; }
  const std::string& sent() const { return sent_; }  // all bytes, as they went over the socket

 private:
  bool readSome();
  void flush();

  int socket_;
  std::unique_ptr<SSL_CTX, FreeWith<SSL_CTX_free>> context_;
  std::unique_ptr<SSL, FreeWith<SSL_free>> ssl_;
  BIO* in_ = nullptr;
  BIO* out_ = nullptr;
  bool closed_ = false;
  int alert_ = 0;
  std::string sent_;
  std::string plain_;
};

}  // namespace tunevale::link
