#include "tagged/Base64.h"

#include <cstdint>

namespace tunevale {
namespace {

constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string toBase64(ByteView bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      group = group << 8 | (i + k < bytes.size() ? std::to_integer<std::uint32_t>(bytes[i + k]) : 0);
    }
    text += kDigits[group >> 18];
    text += kDigits[group >> 12 & 63];
    text += i + 1 < bytes.size() ? kDigits[group >> 6 & 63] : '=';
    text += i + 2 < bytes.size() ? kDigits[group & 63] : '=';
  }
  return text;
}

std::optional<Bytes> fromBase64(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with("=") ? 1 : 0;
  Bytes bytes;
  bytes.reserve(text.size() / 4 * 3);
  for (std::size_t i = 0; i < text.size(); i += 4) {
    const std::size_t padded = i + 4 == text.size() ? padding : 0;
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 4; ++k) {
      const std::size_t digit = k < 4 - padded ? kDigits.find(text[i + k]) : 0;
      if (digit == std::string_view::npos) return std::nullopt;
      group = group << 6 | static_cast<std::uint32_t>(digit);
    }
    // The bits that padding leaves over are zero.
    if ((group & (padded == 2 ? 0xFFFFU : padded == 1 ? 0xFFU : 0U)) != 0) return std::nullopt;
    for (std::size_t k = 0; k < 3 - padded; ++k)
      bytes.push_back(static_cast<std::byte>(group >> (16 - 8 * k) & 255));
  }
  return bytes;
}

}  // namespace tunevale
