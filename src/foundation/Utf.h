#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

// Encoding forms of Unicode (The Unicode Standard, chapter 3.9); for foundation's own sources.
namespace tunevale {

inline constexpr char32_t kReplacement = 0xFFFD;

/// One decoded character: how many bytes it took, and whether they were well formed. An ill-formed maximal
/// subpart reads as one U+FFFD.
struct Utf8Step {
  char32_t character;
  std::uint32_t length;
  bool wellFormed;
};

/// The character at the start of a text that is not empty.
inline Utf8Step utf8Step(std::string_view text) {
  const auto at = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = at(0);
  if (lead < 0x80) return {lead, 1, true};
  std::uint32_t length = 0;
  unsigned char low = 0x80;
  unsigned char high = 0xBF;  // what the second byte may be (table 3-7)
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;
  } else {
    return {kReplacement, 1, false};
  }
  char32_t character = lead & (0x7FU >> length);
  for (std::uint32_t i = 1; i < length; ++i) {
    if (i >= text.size() || at(i) < low || at(i) > high) return {kReplacement, i, false};
    character = (character << 6) | (at(i) & 0x3FU);
    low = 0x80;
    high = 0xBF;
  }
  return {character, length, true};
}

/// Writes a scalar value as UTF-8 and returns the place after it; at most 4 bytes.
inline char* putUtf8(char* out, char32_t c) {
  if (c < 0x80) {
    *out++ = static_cast<char>(c);
  } else if (c < 0x800) {
    *out++ = static_cast<char>(0xC0 | (c >> 6));
    *out++ = static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    *out++ = static_cast<char>(0xE0 | (c >> 12));
    *out++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    *out++ = static_cast<char>(0x80 | (c & 0x3F));
  } else {
    *out++ = static_cast<char>(0xF0 | (c >> 18));
    *out++ = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    *out++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    *out++ = static_cast<char>(0x80 | (c & 0x3F));
  }
  return out;
}

/// How many characters at the start of a text are ASCII.
inline std::size_t asciiPrefix(std::string_view text) {
  std::size_t i = 0;
  for (; i + 8 <= text.size(); i += 8) {
    std::uint64_t block = 0;
    std::memcpy(&block, text.data() + i, 8);
    if ((block & 0x8080808080808080U) != 0) break;
  }
  while (i < text.size() && static_cast<unsigned char>(text[i]) < 0x80) ++i;
  return i;
}

}  // namespace tunevale
