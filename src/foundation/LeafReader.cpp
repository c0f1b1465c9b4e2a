#include "foundation/LeafReader.h"

#include "foundation/Storage.h"
#include "foundation/Utf.h"

namespace tunevale {
namespace {

std::string_view characters(const BinaryObjects::Object& object) {
  return {reinterpret_cast<const char*>(object.body), static_cast<std::size_t>(object.count)};
}

PlistString fromUtf16(const unsigned char* body, std::size_t units) {
  const auto unitAt = [&](std::size_t i) {
    return static_cast<char32_t>((body[2 * i] << 8) | body[2 * i + 1]);
  };
  const auto isHigh = [](char32_t unit) { return (unit & 0xFC00U) == 0xD800; };
  const auto isLow = [](char32_t unit) { return (unit & 0xFC00U) == 0xDC00; };
  std::size_t size = 0;
  for (std::size_t i = 0; i < units; ++i) {
    const char32_t unit = unitAt(i);
    if (isHigh(unit) && i + 1 < units && isLow(unitAt(i + 1))) {
      size += 4;
      ++i;
    } else {
      size += unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3;
    }
  }
  if (size == 0) return {};
  auto* rep = StorageAccess::StringRep::allocate(size);
  char* out = rep->text();
  for (std::size_t i = 0; i < units; ++i) {
    char32_t unit = unitAt(i);
    if (isHigh(unit) && i + 1 < units && isLow(unitAt(i + 1))) {
      unit = 0x10000 + ((unit & 0x3FFU) << 10) + (unitAt(++i) & 0x3FFU);
    } else if (isHigh(unit) || isLow(unit)) {
      unit = kReplacement;
    }
    out = putUtf8(out, unit);
  }
  return StorageAccess::adopt(rep);
}

}  // namespace

PlistValue integerLeaf(const BinaryObjects::Object& object) {
  if (object.count <= 8)
    return static_cast<std::int64_t>(BinaryObjects::bigEndian(object.body, object.count));
  const auto high = static_cast<std::int64_t>(BinaryObjects::bigEndian(object.body, 8));
  const auto low = static_cast<std::int64_t>(BinaryObjects::bigEndian(object.body + 8, 8));
  if (high != (low < 0 ? -1 : 0)) return {};
  return low;
}

PlistValue realLeaf(const BinaryObjects::Object& object) {
  const std::uint64_t bits = BinaryObjects::bigEndian(object.body, object.count);
  if (object.count == 4) return static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
  return std::bit_cast<double>(bits);
}

PlistString textLeaf(const BinaryObjects::Object& object) {
  if (object.type == BinaryObjects::Type::utf16) {
    return fromUtf16(object.body, static_cast<std::size_t>(object.count));
  }
  const std::string_view text = characters(object);
  return asciiPrefix(text) == text.size() ? PlistString::unchecked(text) : PlistString(text);
}

PlistValue dataLeaf(const BinaryObjects::Object& object) {
  return StorageAccess::bytes(PlistString::unchecked(characters(object)));
}

}  // namespace tunevale
