#pragma once

#include <optional>

#include "foundation/Bytes.h"
#include "host/Downscaler.h"

// The formats behind ImageCodecs; for its sources only.
namespace tunevale::host {

bool looksLikePng(ByteView data);
bool looksLikeJpeg(ByteView data);

/// The picture as large as it is, or averaged down until no side is longer than mostSide; what is kept on the
/// way is a row, but for interlaced PNG and progressive JPEG. Nothing for what is damaged, cut short or past
/// ImageLimits.h.
/// Every colour type and depth of PNG; colour profiles are not read.
std::optional<Pixels> readPng(ByteView data, std::uint32_t mostSide);
/// JPEG of one (grey), three or four components (CMYK, without the press in mind), turned as its EXIF
/// orientation says.
std::optional<Pixels> readJpeg(ByteView data, std::uint32_t mostSide);

/// Takes width * height * 4 bytes; nothing when it comes out past the limits, so that what is written can be
/// read again.
std::optional<Bytes> writePng(std::uint32_t width, std::uint32_t height, const std::uint8_t* pixels);

}  // namespace tunevale::host
