#include "foundation/BinaryWriter.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <stdexcept>

#include "foundation/BinaryOutput.h"
#include "foundation/Utf.h"

namespace tunevale {
namespace {

// Long enough that honest input never reaches it, short enough that texts chosen to collide cost little: past
// it an equal leaf is simply written again.
constexpr std::size_t kMostProbes = 64;

std::uint64_t mix(std::uint64_t hash, std::uint64_t word) {
  hash = (hash ^ word) * 0x9E3779B97F4A7C15U;
  return hash ^ (hash >> 32);
}

std::uint64_t hashOf(std::uint64_t seed, const void* bytes, std::size_t size) {
  const auto* at = static_cast<const char*>(bytes);
  std::uint64_t hash = mix(seed, size);
  std::uint64_t word = 0;
  for (; size >= 8; size -= 8, at += 8) {
    std::memcpy(&word, at, 8);
    hash = mix(hash, word);
  }
  word = 0;
  if (size > 0) std::memcpy(&word, at, size);
  return mix(hash, word);
}

std::uint32_t checkedCount(std::size_t count) {
  if (count > UINT32_MAX) throw std::length_error("property list");
  return static_cast<std::uint32_t>(count);
}

}  // namespace

BinaryWriter::Index BinaryWriter::null() {
  return unique({Type::null}, mix(1, 0));
}

BinaryWriter::Index BinaryWriter::boolean(bool value) {
  return unique({Type::boolean, 0, value ? 1U : 0U}, mix(1, value ? 2 : 1));
}

BinaryWriter::Index BinaryWriter::integer(std::int64_t value) {
  const auto bits = static_cast<std::uint64_t>(value);
  return unique({Type::integer, 0, bits}, mix(2, bits));
}

BinaryWriter::Index BinaryWriter::real(double value) {
  const auto bits = std::bit_cast<std::uint64_t>(value);
  return unique({Type::real, 0, bits}, mix(3, bits));
}

BinaryWriter::Index BinaryWriter::text(std::string_view utf8) {
  const Type type = asciiPrefix(utf8) == utf8.size() ? Type::ascii : Type::utf16;
  return unique({type, checkedCount(utf8.size()), 0, utf8.data()},
                hashOf(static_cast<std::uint64_t>(type), utf8.data(), utf8.size()));
}

BinaryWriter::Index BinaryWriter::data(std::string_view bytes) {
  return unique({Type::data, checkedCount(bytes.size()), 0, bytes.data()},
                hashOf(static_cast<std::uint64_t>(Type::data), bytes.data(), bytes.size()));
}

BinaryWriter::Index BinaryWriter::uid(std::uint32_t value) {
  return add({Type::uid, 0, value});
}

BinaryWriter::Index BinaryWriter::array(std::span<const Index> elements) {
  const std::size_t first = references_.size();
  references_.insert(references_.end(), elements.begin(), elements.end());
  return container(Type::array, elements.size(), first);
}

BinaryWriter::Index BinaryWriter::dictionary(std::span<const Index> keys, std::span<const Index> values) {
  const std::size_t first = references_.size();
  references_.insert(references_.end(), keys.begin(), keys.end());
  references_.insert(references_.end(), values.begin(), values.end());
  return container(Type::dictionary, keys.size(), first);
}

/// A container with the references from the given one on; they are dropped when an equal container is known.
BinaryWriter::Index BinaryWriter::container(Type type, std::size_t count, std::size_t firstReference) {
  const Item item{type, checkedCount(count), firstReference};
  const std::size_t before = items_.size();
  const auto elements = references(item);
  const Index index =
      unique(item, hashOf(static_cast<std::uint64_t>(type), elements.data(), elements.size_bytes()));
  if (items_.size() == before) references_.resize(firstReference);
  return index;
}

std::span<const BinaryWriter::Index> BinaryWriter::references(const Item& container) const {
  const std::size_t count =
      container.type == Type::dictionary ? 2 * std::size_t{container.count} : container.count;
  return std::span(references_).subspan(container.bits, count);
}

BinaryWriter::Index BinaryWriter::add(const Item& item) {
  items_.push_back(item);
  return checkedCount(items_.size()) - 1;
}

bool BinaryWriter::same(const Item& left, const Item& right) const {
  if (left.type != right.type || left.count != right.count) return false;
  if (isContainer(left.type)) return std::ranges::equal(references(left), references(right));
  if (left.bits != right.bits) return false;
  return left.count == 0 || left.bytes == right.bytes ||
         std::memcmp(left.bytes, right.bytes, left.count) == 0;
}

BinaryWriter::Index BinaryWriter::unique(const Item& item, std::uint64_t hash) {
  if (2 * (knownCount_ + 1) > known_.size()) grow();
  const auto shortHash = static_cast<std::uint32_t>(hash >> 32);
  const std::size_t mask = known_.size() - 1;
  std::size_t at = shortHash & mask;
  for (std::size_t probes = 0; probes < kMostProbes; ++probes, at = (at + 1) & mask) {
    Known& known = known_[at];
    if (known.item == 0) {
      known = {shortHash, add(item) + 1};
      ++knownCount_;
      return known.item - 1;
    }
    if (known.hash == shortHash && same(items_[known.item - 1], item)) return known.item - 1;
  }
  return add(item);
}

void BinaryWriter::grow() {
  std::vector<Known> old(known_.empty() ? 64 : 2 * known_.size());
  old.swap(known_);
  const std::size_t mask = known_.size() - 1;
  knownCount_ = 0;
  for (const Known& entry : old) {
    if (entry.item == 0) continue;
    std::size_t at = entry.hash & mask;
    std::size_t probes = 0;
    while (known_[at].item != 0 && probes < kMostProbes) at = (at + 1) & mask, ++probes;
    if (known_[at].item != 0) continue;  // forgotten: an equal leaf may be written again
    known_[at] = entry;
    ++knownCount_;
  }
}

Bytes BinaryWriter::finish(Index root) const {
  BinaryOutput out(items_.size(), references_.size());
  for (const Item& item : items_) {
    if (item.type == Type::integer || item.type == Type::real) out.expect(8);
    if (item.bytes != nullptr)
      out.expect(item.type == Type::utf16 ? 2 * std::size_t{item.count} : item.count);
  }
  out.start();
  for (const Item& item : items_) {
    out.startObject();
    switch (item.type) {
      case Type::null:
        out.byte(0x00);
        break;
      case Type::boolean:
        out.byte(item.bits != 0 ? 0x09 : 0x08);
        break;
      case Type::integer:
        out.integer(item.bits);
        break;
      case Type::real:
        out.real(std::bit_cast<double>(item.bits));
        break;
      case Type::ascii:
        out.head(0x50, item.count);
        out.bytes(item.bytes, item.count);
        break;
      case Type::utf16:
        out.utf16({item.bytes, item.count});
        break;
      case Type::data:
        out.head(0x40, item.count);
        out.bytes(item.bytes, item.count);
        break;
      case Type::uid:
        out.uid(item.bits);
        break;
      case Type::array:
        out.head(0xA0, item.count);
        out.references(references(item));
        break;
      case Type::dictionary:
        out.head(0xD0, item.count);
        out.references(references(item));
        break;
    }
  }
  return out.finish(root);
}

}  // namespace tunevale
