#pragma once

#include <openssl/evp.h>
#include <openssl/x509.h>

#include "link/Identity.h"

namespace tunevale::link {

template <auto free>
struct FreeWith {
  template <class T>
  void operator()(T* object) const {
    free(object);
  }
};
using KeyPtr = std::unique_ptr<EVP_PKEY, FreeWith<EVP_PKEY_free>>;
using CertificatePtr = std::unique_ptr<X509, FreeWith<X509_free>>;

/// What is behind an Identity; for the files that speak to the library.
struct Identity::Keys {
  KeyPtr key;
  CertificatePtr certificate;
  KeyHash hash{};
};

/// Nothing when the certificate's key cannot be written down, which no sound one is.
std::optional<KeyHash> keyHashOf(const X509& certificate);

}  // namespace tunevale::link
