#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "foundation/Bytes.h"

namespace tunevale {

/// The bytes of a binary property list, object by object, then the offset table and the trailer.
class BinaryOutput {
 public:
  BinaryOutput(std::size_t objects, std::size_t references);

  /// Announces an object's contents after its marker and count, before start().
  void expect(std::size_t bytes) { room_ += bytes; }
  void start();

  void startObject() { offsets_.push_back(static_cast<std::uint64_t>(at_ - begin())); }
  void byte(unsigned value) { *at_++ = static_cast<unsigned char>(value); }
  void bytes(const char* bytes, std::size_t count);
  /// A marker with its count, in the marker itself or as an integer after it.
  void head(unsigned marker, std::uint64_t count);
  void integer(std::uint64_t bits);
  void real(double value);
  void uid(std::uint64_t value);
  void utf16(std::string_view utf8);
  void references(std::span<const std::uint32_t> numbers);

  Bytes finish(std::uint64_t root);

 private:
  unsigned char* begin() { return reinterpret_cast<unsigned char*>(bytes_.data()); }
  void bigEndian(std::uint64_t value, std::size_t size);

  Bytes bytes_;
  unsigned char* at_ = nullptr;
  std::size_t room_;
  std::size_t refSize_;
  std::vector<std::uint64_t> offsets_;
};

}  // namespace tunevale
