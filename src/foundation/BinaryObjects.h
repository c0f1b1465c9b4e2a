#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>

#include "foundation/Bytes.h"

// The frame of a binary property list, for foundation's own decoders. The format is the one that
// CoreFoundation's CFBinaryPList.c documents: a header, objects, a table of their offsets, a trailer.
namespace tunevale {

class BinaryObjects {
 public:
  enum class Type : std::uint8_t {
    null,
    boolean,
    integer,
    real,
    data,
    ascii,
    utf16,
    uid,
    array,
    dictionary,
    other
  };

  /// One object's head, checked to lie inside the input with all its contents.
  struct Object {
    Type type = Type::other;
    std::uint64_t count = 0;  ///< bytes, UTF-16 units, elements or pairs; for a boolean its value
    const unsigned char* body = nullptr;
  };

  static std::optional<BinaryObjects> open(ByteView input);

  std::size_t inputSize() const { return inputSize_; }
  std::uint64_t size() const { return count_; }
  std::uint64_t root() const { return root_; }
  std::uint64_t refSize() const { return refSize_; }

  /// Fills in the object with a number; false when there is no sound one.
  bool read(std::uint64_t number, Object& object) const;
  /// Whether the object with a number is a reference of an archive, and then to which entry. False for a
  /// broken object too.
  bool readUid(std::uint64_t number, std::uint64_t& entry) const;
  /// The object number at a place in a container's body.
  std::uint64_t refAt(const unsigned char* at) const { return bigEndian(at, refSize_); }
  /// Where the references after the first n start.
  const unsigned char* skip(const unsigned char* refs, std::uint64_t n) const { return refs + n * refSize_; }

  static std::uint64_t bigEndian(const unsigned char* at, std::uint64_t size) {
    switch (size) {
      case 1:
        return at[0];
      case 2:
        return (std::uint64_t{at[0]} << 8) | at[1];
      case 4:
        return (std::uint64_t{at[0]} << 24) | (std::uint64_t{at[1]} << 16) | (std::uint64_t{at[2]} << 8) |
               at[3];
      default: {
        std::uint64_t value = 0;
        for (std::uint64_t i = 0; i < size; ++i) value = (value << 8) | at[i];
        return value;
      }
    }
  }

 private:
  bool readCount(std::uint8_t low, Object& object) const;

  const unsigned char* base_ = nullptr;
  const unsigned char* table_ = nullptr;  // the offset table, where objects must have ended
  std::size_t inputSize_ = 0;
  std::uint64_t count_ = 0;
  std::uint64_t root_ = 0;
  std::uint64_t offsetSize_ = 0;
  std::uint64_t refSize_ = 0;
};

inline bool BinaryObjects::readCount(std::uint8_t low, Object& object) const {
  if (low != 15) {
    object.count = low;
    return true;
  }
  if (object.body == table_) return false;
  const unsigned marker = *object.body++;
  if (marker < 0x10 || marker > 0x13) return false;
  const auto size = std::uint64_t{1} << (marker & 3U);
  if (static_cast<std::uint64_t>(table_ - object.body) < size) return false;
  object.count = bigEndian(object.body, size);
  object.body += size;
  return true;
}

inline bool BinaryObjects::readUid(std::uint64_t number, std::uint64_t& entry) const {
  if (number >= count_) return false;
  const std::uint64_t offset = bigEndian(table_ + number * offsetSize_, offsetSize_);
  if (offset < 8 || offset >= static_cast<std::uint64_t>(table_ - base_)) return false;
  const unsigned char* at = base_ + offset;
  const std::uint64_t size = *at - 0x7FULL;
  if ((*at & 0xF8U) != 0x80 || size >= static_cast<std::uint64_t>(table_ - at)) return false;
  entry = bigEndian(at + 1, size);
  return true;
}

inline bool BinaryObjects::read(std::uint64_t number, Object& object) const {
  if (number >= count_) return false;
  const std::uint64_t offset = bigEndian(table_ + number * offsetSize_, offsetSize_);
  if (offset < 8 || offset >= static_cast<std::uint64_t>(table_ - base_)) return false;
  object.body = base_ + offset + 1;
  const unsigned marker = base_[offset];
  const auto low = static_cast<std::uint8_t>(marker & 15U);
  std::uint64_t unit = 1;  // bytes per count
  switch (marker >> 4) {
    case 0x0:
      object.type = marker == 0 ? Type::null : marker <= 9 ? Type::boolean : Type::other;
      object.count = low & 1U;
      // Null, false, true; two kinds of URL and a UUID have no place in PlistValue and none here.
      return marker == 0 || marker == 8 || marker == 9;
    case 0x1:
      if (low > 4) return false;
      object.type = Type::integer;
      object.count = std::uint64_t{1} << low;
      break;
    case 0x2:
      if (low != 2 && low != 3) return false;
      object.type = Type::real;
      object.count = std::uint64_t{1} << low;
      break;
    case 0x3:
      if (low != 3) return false;
      object.type = Type::other;  // a date
      object.count = 8;
      break;
    case 0x4:
      object.type = Type::data;
      if (!readCount(low, object)) return false;
      break;
    case 0x5:
      object.type = Type::ascii;
      if (!readCount(low, object)) return false;
      break;
    case 0x6:
      object.type = Type::utf16;
      unit = 2;
      if (!readCount(low, object)) return false;
      break;
    case 0x8:
      if (low > 7) return false;
      object.type = Type::uid;
      object.count = low + 1U;
      break;
    case 0xA:
      object.type = Type::array;
      unit = refSize_;
      if (!readCount(low, object)) return false;
      break;
    case 0xB:
    case 0xC:
      object.type = Type::other;  // sets, which PlistValue has not
      unit = refSize_;
      if (!readCount(low, object)) return false;
      break;
    case 0xD:
      object.type = Type::dictionary;
      unit = 2 * refSize_;
      if (!readCount(low, object)) return false;
      break;
    default:
      return false;
  }
  return object.count <= static_cast<std::uint64_t>(table_ - object.body) / unit;
}

}  // namespace tunevale
