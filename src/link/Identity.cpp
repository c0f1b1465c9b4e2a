#include "link/Identity.h"

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <sys/stat.h>
#include <unistd.h>

#include "link/Crypto.h"
#include "link/IdentityKeys.h"

namespace tunevale::link {
namespace {

using BioPtr = std::unique_ptr<BIO, FreeWith<BIO_free_all>>;
constexpr std::size_t kMostIdentityFile = 16 * 1024;  // a key and a certificate take 1 KiB

[[noreturn]] void fail(const std::string& what, const std::string& path) {
  throw std::runtime_error("cannot " + what + " " + path + ": " + std::generic_category().message(errno));
}

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int operator*() const { return number_; }

 private:
  const int number_;
};

/// Signed by itself and without an end: who holds the key is all that counts, and a watch may not know the
/// date.
CertificatePtr certify(EVP_PKEY* key) {
  CertificatePtr certificate(X509_new());
  require(certificate != nullptr);
  X509* raw = certificate.get();
  X509_NAME* name = X509_get_subject_name(raw);
  static constexpr unsigned char kName[] = "Tunevale";
  require(X509_set_version(raw, X509_VERSION_3) == 1 &&
          ASN1_INTEGER_set(X509_get_serialNumber(raw), 1) == 1 &&
          ASN1_TIME_set_string_X509(X509_getm_notBefore(raw), "20000101000000Z") == 1 &&
          // "no well-defined expiration date", RFC 5280, 4.1.2.5
          ASN1_TIME_set_string_X509(X509_getm_notAfter(raw), "99991231235959Z") == 1 &&
          X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, kName, -1, -1, 0) == 1 &&
          X509_set_issuer_name(raw, name) == 1 && X509_set_pubkey(raw, key) == 1 &&
          X509_sign(raw, key, EVP_sha256()) > 0);
  return certificate;
}

std::shared_ptr<Identity::Keys> newKeys() {
  auto keys = std::make_shared<Identity::Keys>();
  char curve[] = "P-256";
  keys->key.reset(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", curve));
  require(keys->key != nullptr);
  keys->certificate = certify(keys->key.get());
  keys->hash = keyHashOf(*keys->certificate).value();
  return keys;
}

Bytes asPem(const Identity::Keys& keys) {
  const BioPtr text(BIO_new(BIO_s_mem()));
  require(text != nullptr &&
          PEM_write_bio_PKCS8PrivateKey(text.get(), keys.key.get(), nullptr, nullptr, 0, nullptr, nullptr) ==
              1 &&
          PEM_write_bio_X509(text.get(), keys.certificate.get()) == 1);
  char* data = nullptr;
  const long size = BIO_get_mem_data(text.get(), &data);
  const ByteView bytes = asBytes({data, static_cast<std::size_t>(size)});
  return {bytes.begin(), bytes.end()};
}

std::shared_ptr<Identity::Keys> fromPem(ByteView pem, const std::string& path) {
  auto keys = std::make_shared<Identity::Keys>();
  const BioPtr text(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
  const auto noPassword = [](char*, int, int, void*) { return -1; };
  keys->key.reset(PEM_read_bio_PrivateKey(text.get(), nullptr, noPassword, nullptr));
  keys->certificate.reset(PEM_read_bio_X509(text.get(), nullptr, noPassword, nullptr));
  const bool sound = keys->key != nullptr && keys->certificate != nullptr &&
                     X509_check_private_key(keys->certificate.get(), keys->key.get()) == 1;
  const std::optional<KeyHash> hash = sound ? keyHashOf(*keys->certificate) : std::nullopt;
  ERR_clear_error();
  if (!hash)
    throw std::runtime_error(path +
                             " is damaged; without it every pairing is lost: remove it and pair again");
  keys->hash = *hash;
  return keys;
}

/// Nothing when there is no such file.
std::optional<Bytes> readSecret(const std::string& path) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  if (*file < 0 && errno == ENOENT) return std::nullopt;
  struct stat status {};
  if (*file < 0 || ::fstat(*file, &status) != 0) fail("read", path);
  if ((status.st_mode & 077U) != 0) {
    throw std::runtime_error("others may read " + path +
                             ": remove it and pair again, or make it private (chmod 600)");
  }
  Bytes bytes(kMostIdentityFile);
  const ssize_t size = ::read(*file, bytes.data(), bytes.size());
  if (size < 0) fail("read", path);
  bytes.resize(static_cast<std::size_t>(size));
  return bytes;
}

/// Whole and synced, or not at all.
void writeSecret(ByteView bytes, const std::string& folder, const std::string& path) {
  const std::string beside = path + ".new";
  const Descriptor file(::open(beside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (*file < 0 || ::fchmod(*file, 0600) != 0 ||
      ::write(*file, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()) ||
      ::fsync(*file) != 0 || ::rename(beside.c_str(), path.c_str()) != 0) {
    fail("write", path);
  }
  const Descriptor parent(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (*parent < 0 || ::fsync(*parent) != 0) fail("write", path);
}

/// One that is there stays as its owner wants it.
void makeFolder(const std::string& folder) {
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(folder).parent_path(), error);
  if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) fail("make", folder);
}

}  // namespace

std::optional<KeyHash> keyHashOf(const X509& certificate) {
  unsigned char* der = nullptr;
  const int size = i2d_X509_PUBKEY(X509_get_X509_PUBKEY(&certificate), &der);
  if (size <= 0) return std::nullopt;
  const KeyHash hash = sha256({{reinterpret_cast<std::byte*>(der), static_cast<std::size_t>(size)}});
  OPENSSL_free(der);
  return hash;
}

Identity Identity::loadOrCreate(const std::string& folder) {
  makeFolder(folder);
  const std::string path = folder + "/identity.pem";
  if (const std::optional<Bytes> pem = readSecret(path)) return Identity(fromPem(*pem, path));
  const auto keys = newKeys();
  Bytes pem = asPem(*keys);
  writeSecret(pem, folder, path);
  OPENSSL_cleanse(pem.data(), pem.size());
  return Identity(keys);
}

Identity Identity::temporary() {
  return Identity(newKeys());
}

const KeyHash& Identity::keyHash() const {
  return keys_->hash;
}

}  // namespace tunevale::link
