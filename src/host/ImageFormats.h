#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "foundation/Bytes.h"

// The formats behind ImageCodecs; for its sources only.
namespace tunevale::host {

/// Rows from the top, red, green, blue, alpha.
struct Pixels {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::vector<std::uint8_t> bytes;
};

bool looksLikePng(ByteView data);
bool looksLikeJpeg(ByteView data);

/// Nothing for what is damaged, cut short or past ImageLimits.h. Every colour type and depth of PNG, colour
/// profiles unread; JPEG of one (grey) or three components, not CMYK, orientation tags unread.
std::optional<Pixels> readPng(ByteView data);
std::optional<Pixels> readJpeg(ByteView data);

/// Takes width * height * 4 bytes; nothing when it comes out past the limits, so that what is written can be
/// read again.
std::optional<Bytes> writePng(std::uint32_t width, std::uint32_t height, const std::uint8_t* pixels);

}  // namespace tunevale::host
