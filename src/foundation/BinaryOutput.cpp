#include "foundation/BinaryOutput.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#include "foundation/Text.h"
#include "foundation/Utf.h"

namespace tunevale {
namespace {

std::size_t sizeFor(std::uint64_t largest) {
  if (largest <= UINT8_MAX) return 1;
  if (largest <= UINT16_MAX) return 2;
  return largest <= UINT32_MAX ? 4 : 8;
}

constexpr std::string_view kMagic = "bplist00";
constexpr std::size_t kTrailer = 32;
constexpr std::size_t kLargestHead = 6;  // a marker, and a count that is a marker and up to 4 bytes

}  // namespace

BinaryOutput::BinaryOutput(std::size_t objects, std::size_t references)
    : room_(kMagic.size() + kTrailer + objects * kLargestHead), refSize_(sizeFor(objects)) {
  room_ += references * refSize_;
  offsets_.reserve(objects);
}

void BinaryOutput::start() {
  bytes_.resize(room_ + sizeFor(room_) * offsets_.capacity());
  at_ = begin();
  bytes(kMagic.data(), kMagic.size());
}

void BinaryOutput::bytes(const char* bytes, std::size_t count) {
  if (count > 0) std::memcpy(at_, bytes, count);
  at_ += count;
}

void BinaryOutput::bigEndian(std::uint64_t value, std::size_t size) {
  for (std::size_t i = size; i-- > 0; value >>= 8) at_[i] = static_cast<unsigned char>(value);
  at_ += size;
}

void BinaryOutput::head(unsigned marker, std::uint64_t count) {
  if (count < 15) {
    byte(marker | static_cast<unsigned>(count));
  } else {
    byte(marker | 15U);
    integer(count);
  }
}

void BinaryOutput::integer(std::uint64_t bits) {
  const std::size_t size = sizeFor(bits);
  byte(0x10U | static_cast<unsigned>(std::countr_zero(size)));
  bigEndian(bits, size);
}

void BinaryOutput::real(double value) {
  const bool fits = std::isinf(value) || std::fabs(value) <= std::numeric_limits<float>::max();
  const float narrow = fits ? static_cast<float>(value) : 0.0F;
  if (fits && static_cast<double>(narrow) == value) {
    byte(0x22);
    bigEndian(std::bit_cast<std::uint32_t>(narrow), 4);
  } else {
    byte(0x23);
    bigEndian(std::bit_cast<std::uint64_t>(value), 8);
  }
}

void BinaryOutput::uid(std::uint64_t value) {
  const std::size_t size = sizeFor(value);
  byte(0x80U | static_cast<unsigned>(size - 1));
  bigEndian(value, size);
}

void BinaryOutput::utf16(std::string_view utf8) {
  head(0x60, utf16Length(utf8));
  while (!utf8.empty()) {
    const Utf8Step step = utf8Step(utf8);
    utf8.remove_prefix(step.length);
    if (step.character < 0x10000) {
      bigEndian(step.character, 2);
    } else {
      bigEndian(0xD800 + ((step.character - 0x10000) >> 10), 2);
      bigEndian(0xDC00 + ((step.character - 0x10000) & 0x3FFU), 2);
    }
  }
}

void BinaryOutput::references(std::span<const std::uint32_t> numbers) {
  for (const std::uint32_t number : numbers) bigEndian(number, refSize_);
}

Bytes BinaryOutput::finish(std::uint64_t root) {
  const auto tableOffset = static_cast<std::uint64_t>(at_ - begin());
  const std::size_t offsetSize = sizeFor(tableOffset);
  for (const std::uint64_t offset : offsets_) bigEndian(offset, offsetSize);
  bigEndian(0, 6);
  byte(static_cast<unsigned>(offsetSize));
  byte(static_cast<unsigned>(refSize_));
  bigEndian(offsets_.size(), 8);
  bigEndian(root, 8);
  bigEndian(tableOffset, 8);
  bytes_.resize(static_cast<std::size_t>(at_ - begin()));
  return std::move(bytes_);
}

}  // namespace tunevale
