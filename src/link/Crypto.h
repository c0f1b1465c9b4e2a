#pragma once

#include <array>
#include <initializer_list>
#include <memory>
#include <span>

#include "foundation/Bytes.h"

namespace tunevale::link {

/// 32 bytes: a SHA-256 (FIPS 180-4), an HMAC-SHA-256 (RFC 2104), a nonce or a key.
using Bytes32 = std::array<std::byte, 32>;

/// For calls of the library that fail only for want of memory or entropy: throws std::runtime_error then.
/// Any thread.
void require(bool worked);

/// Of the parts one after the other. All of these throw std::runtime_error only when the library is out of
/// memory or of entropy. Any thread.
Bytes32 sha256(std::initializer_list<ByteView> parts);
Bytes32 hmacSha256(ByteView key, std::initializer_list<ByteView> parts);
/// From the system's generator for keys.
void fillRandom(std::span<std::byte> bytes);
/// Takes equally long wherever the two differ; false when their lengths differ.
bool equalInConstantTime(ByteView left, ByteView right);

/// A SHA-256 taken piece by piece, for files.
class Sha256 {
 public:
  Sha256();
  ~Sha256();
  Sha256(Sha256&&) noexcept;
  Sha256& operator=(Sha256&&) noexcept;
  void add(ByteView bytes);
  /// Once, last.
  Bytes32 finish();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace tunevale::link
